// Replies as mvdpctl hears them: which of them answer its request, and what it then prints. An input is
//   1  command of the request
//   1  bit 0: the request is for one MAC address, 02:00:5e:10:00:01
//   1  how many bytes of it were sent, less 8 (for the commands that are answered by the request)
// and any number of datagrams, each of
//   4  where it came from, in the order of the dotted text
//   1  the port there: 0 is the protocol's, anything else another
//   1  number of the interface, and in the two highest bits how it was addressed
//   2  length as it travelled, low byte first
// and as many bytes as that, up to 256; what the input lacks of them is zero.

#include "csvreader.h"
#include "csvrow.h"
#include "dump.h"
#include "fuzztarget.h"
#include "harmlesstext.h"
#include "marklines.h"
#include "marks.h"
#include "output.h"
#include "panel.h"
#include "request.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <utility>

namespace
{

// The input, taken from its beginning; zeros once it is used up.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    bool isEmpty() const { return m_size == 0; }
    std::uint8_t byte()
    {
        std::uint8_t value = 0;
        bytes(&value, 1);
        return value;
    }
    void bytes(std::uint8_t *target, std::size_t count)
    {
        const std::size_t taken = std::min(count, m_size);
        std::copy_n(m_data, taken, target);
        std::fill(target + taken, target + count, std::uint8_t(0));
        m_data += taken;
        m_size -= taken;
    }

private:
    const std::uint8_t *m_data;
    std::size_t m_size;
};

Request takeRequest(Input &input)
{
    const MvdpCommand command = static_cast<MvdpCommand>(input.byte());
    const bool forOneMac = (input.byte() & 1) != 0;
    Request request =
        forOneMac ? Request::toMac(command, {0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}) : Request::toAll(command);
    request.length = 8 + input.byte() % (MvdpDatagram::Size - 7);
    return request;
}

Received takeReceived(Input &input)
{
    Received received;
    for (int i = 0; i < 4; ++i)
        received.source = received.source << 8 | input.byte();
    received.sourcePort = input.byte() == 0 ? 58553 : 49152;
    const std::uint8_t arrival = input.byte();
    received.interfaceIndex = arrival & 0x3F;
    received.way = static_cast<Way>(std::min(arrival >> 6, 2));
    received.length = input.byte();
    received.length += std::size_t(256) * input.byte();
    input.bytes(received.datagram.data(), std::min<std::size_t>(received.length, MvdpDatagram::Size));
    return received;
}

// Written from the protocol and not from the code.
bool isExpectedAnswer(const Request &request, const Received &received)
{
    const std::uint8_t *sent = request.datagram.data();
    const std::uint8_t *bytes = received.datagram.data();
    const std::uint8_t magic[] = {0x5E, 0x13, 0x06, 0x03};
    if (received.length != 256 || received.sourcePort != 58553 || bytes[6] != sent[6])
        return false;
    if (sent[6] == 2)
        return std::memcmp(bytes, sent, request.length) == 0;
    if (sent[6] == 14 || sent[6] == 15)
        return bytes[5] == 2 && std::memcmp(bytes, sent, 5) == 0 &&
               std::memcmp(bytes + 6, sent + 6, request.length - 6) == 0;
    return std::memcmp(bytes, magic, sizeof magic) == 0 && bytes[4] == 4 &&
           (bytes[5] == 2 || (bytes[5] == 3 && sent[6] == 5)) &&
           (!request.forOneMac || std::memcmp(bytes + 20, sent + 20, 6) == 0);
}

QString interfaceName(unsigned index)
{
    return QStringLiteral("eth%1").arg(index);
}

void checkTrace(const Received &received)
{
    const std::size_t shown = std::min<std::size_t>(received.length, MvdpDatagram::Size);
    REQUIRE(areHarmless(fieldLines(received.datagram, shown).split(QLatin1Char('\n'))));
    REQUIRE(areHarmless(hexLines(received.datagram.data(), shown).split(QLatin1Char('\n'))));
}

void checkPanel(const Panel &panel, const Received &reply)
{
    const std::uint8_t *bytes = reply.datagram.data();
    REQUIRE(std::memcmp(panel.mac.data(), bytes + 20, 6) == 0);
    REQUIRE(panel.source == reply.source && panel.way == reply.way);
    REQUIRE(isHarmless(panel.description) && panel.description.size() <= 64);
    REQUIRE(!panel.description.endsWith(QLatin1Char(' ')));
    REQUIRE(macFromText(macText(panel.mac)) == panel.mac);
    REQUIRE(ipv4FromText(ipv4Text(panel.address)) == panel.address);
    REQUIRE(panel.versionText().isEmpty() == (panel.partitionVersion == 0));
}

// The output for scripts: JSON with the panel's values, and CSV with the same values.
void checkForScripts(const Panel &panel)
{
    const QJsonObject object = panelJson(panel, interfaceName);
    QJsonParseError error;
    const QJsonDocument again = QJsonDocument::fromJson(QJsonDocument(object).toJson(), &error);
    REQUIRE(error.error == QJsonParseError::NoError && again.object() == object);
    REQUIRE(object.value(QStringLiteral("description")).toString() == panel.description);
    REQUIRE(netmaskFromText(object.value(QStringLiteral("netmask")).toString()) == panel.netmask);

    const QStringList columns = panelColumns();
    const QStringList fields = csvFields(object, columns);
    const QString line = csvLine(fields);
    REQUIRE(line.endsWith(QLatin1Char('\n')) && isHarmless(line.chopped(1)));
    TextFile file((csvLine(columns) + line).toUtf8(), QStringLiteral("panels.csv"), ToolError::BadInput, {});
    const CsvTable table = csvTable(file);
    file.throwMistakes();
    REQUIRE(table.headings == columns && table.rows.size() == 1);
    for (int i = 0; i < fields.size(); ++i)
        REQUIRE(table.rows[0].at(static_cast<std::size_t>(i)).text == fields.at(i));
}

void checkForPeople(const PanelList &panels)
{
    NetworkInterface own;
    own.index = 2;
    own.addresses = {{0xC0A80A02, 0xFFFFFF00}}; // 192.168.10.2/24
    const std::vector<Panel> sorted = panels.sorted();
    const std::vector<Marks> marks = marksOf(panels, {own});
    REQUIRE(sorted.size() == panels.size() && marks.size() == sorted.size());
    std::vector<PanelRow> rows;
    for (std::size_t index = 0; index < sorted.size(); ++index)
        rows.push_back({sorted[index], marks[index], QString()});
    for (const int columns : {0, 50, 80}) {
        const QStringList table = panelTable(rows, {columns, false}).lines;
        REQUIRE(static_cast<std::size_t>(table.size()) == sorted.size() + 1 && areHarmless(table));
    }
    REQUIRE(areHarmless(markLines(markNotes(panels, {own}))));
    for (const Panel &panel : sorted)
        REQUIRE(areHarmless(panelDetails(panel, {}, interfaceName)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const Request request = takeRequest(input);
    PanelList panels;
    // A MAC address identifies a panel; without one the source does.
    std::set<std::pair<MacAddress, std::uint32_t>> expectedPanels;
    while (!input.isEmpty()) {
        const Received received = takeReceived(input);
        checkTrace(received);
        const bool answers = judge(request, received) == Verdict::Answer;
        REQUIRE(answers == isExpectedAnswer(request, received));
        if (!answers)
            continue;
        const Panel panel = Panel::fromReply(received);
        checkPanel(panel, received);
        checkForScripts(panel);
        const bool isNew = expectedPanels.insert({panel.mac, isZero(panel.mac) ? panel.source : 0}).second;
        REQUIRE(panels.add(panel) == isNew);
    }
    REQUIRE(panels.size() == expectedPanels.size());
    checkForPeople(panels);
    return 0;
}
