// Bytes as a plan file of mvdpctl, as a table and as a JSON document: what is read of it, how it is refused,
// and the plan that is made of it for six panels that were found.

#include "csvreader.h"
#include "fuzztarget.h"
#include "harmlesstext.h"
#include "plan.h"
#include "planfile.h"
#include "plantable.h"
#include "tablemodel.h"
#include "terminal.h"
#include "toolerror.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace
{

// What a plan has for a panel; without the place.
struct Wanted {
    MacAddress mac = {};
    std::optional<std::uint32_t> address;
    std::optional<std::uint32_t> netmask;
    std::optional<std::uint32_t> gateway;
    QString name;
    QString remark;
    QJsonObject unknown;

    bool operator==(const Wanted &other) const
    {
        return mac == other.mac && address == other.address && netmask == other.netmask &&
               gateway == other.gateway && name == other.name && remark == other.remark &&
               unknown == other.unknown;
    }
};

using Settings = std::map<QString, QString>;        // by column
using Outcome = std::optional<std::vector<Wanted>>; // nothing: refused

const QStringList Columns = {"mac", "address", "netmask", "gateway", "name", "remark"};
const QStringList Overlooked = {"prefix",        "version",  "description", "source",        "interface",
                                "way",           "marks",    "result",      "wantedaddress", "wantednetmask",
                                "wantedgateway", "seconds",  "command",     "time",          "event",
                                "sent",          "answered", "lost",        "altered",       "duplicates",
                                "leastms",       "meanms",   "mostms",      "type",          "bytes"};

std::vector<Wanted> withoutPlaces(const std::vector<PlanEntry> &entries)
{
    std::vector<Wanted> result;
    for (const PlanEntry &entry : entries)
        result.push_back({entry.mac, entry.wanted.address, entry.wanted.netmask, entry.wanted.gateway,
                          entry.label.name, entry.label.remark, entry.columns});
    return result;
}

// The entries; none for a plan that is refused, with a text that any terminal can show.
std::vector<PlanEntry> readOrRefused(const QByteArray &bytes, PlanFormat format)
{
    try {
        const std::vector<PlanEntry> entries = parsePlan(bytes, format, QStringLiteral("plan")).entries;
        REQUIRE(!entries.empty());
        return entries;
    } catch (const ToolError &error) {
        REQUIRE(error.kind == ToolError::BadPlan && error.details.size() <= 20 && error.advice.isEmpty());
        for (const QString &line : QStringList(error.message) + error.details)
            REQUIRE(line.startsWith(QStringLiteral("plan:")) && line.size() < 300 &&
                    isHarmless(printable(line)));
    }
    return {};
}

// --- The expected reading, written from the manual.

// The panels of the rows; nothing when a row has a mistake.
class ExpectedPlan
{
public:
    void add(const Settings &settings, const QJsonObject &unknown)
    {
        Wanted wanted;
        wanted.unknown = unknown;
        const auto mac = value(settings, "mac", macFromText);
        addAddress(settings, wanted);
        wanted.gateway = value(settings, "gateway", ipv4FromText);
        wanted.mac = mac.value_or(MacAddress{});
        wanted.name = settings.count("name") > 0 ? settings.at("name") : QString();
        wanted.remark = settings.count("remark") > 0 ? expectedCell(settings.at("remark")) : QString();
        for (auto member = unknown.begin(); member != unknown.end(); ++member)
            m_titles.insert(member.key());
        if ((!wanted.name.isEmpty() && !isFitName(wanted.name)) || m_titles.size() > 64)
            refuse();
        const bool isAnythingSet = wanted.address || wanted.netmask || wanted.gateway;
        if (isZero(wanted.mac) || !isAnythingSet || !m_macs.insert(wanted.mac).second)
            refuse();
        m_panels.push_back(wanted);
    }
    void refuse() { m_isRefused = true; }
    Outcome outcome() const { return m_isRefused || m_panels.empty() ? Outcome() : Outcome(m_panels); }

private:
    void addAddress(const Settings &settings, Wanted &wanted)
    {
        Settings parts = settings;
        const QString address = settings.count("address") > 0 ? settings.at("address") : QString();
        if (address.contains('/')) {
            parts["address"] = address.section('/', 0, 0);
            parts["prefix"] = address.section('/', 1);
            if (parts["address"].isEmpty() || parts["prefix"].isEmpty() || parts["prefix"].startsWith('/'))
                refuse();
        } else {
            parts.erase("prefix");
        }
        wanted.address = value(parts, "address", ipv4FromText);
        wanted.netmask = value(parts, "netmask", netmaskFromText);
        const auto behind = value(parts, "prefix", netmaskFromText);
        if (behind && wanted.netmask.value_or(*behind) != *behind)
            refuse();
        if (behind)
            wanted.netmask = behind;
    }

    template <typename Read>
    auto value(const Settings &settings, const char *column, Read read) -> decltype(read(QString()))
    {
        const auto found = settings.find(QLatin1String(column));
        if (found == settings.end() || found->second.isEmpty())
            return std::nullopt;
        const auto result = read(found->second);
        if (!result)
            refuse();
        return result;
    }

    std::vector<Wanted> m_panels;
    std::set<MacAddress> m_macs;
    std::set<QString> m_titles;
    bool m_isRefused = false;
};

Outcome expectedOfTable(const QByteArray &bytes)
{
    const auto rows = expectedRows(bytes);
    QStringList headings;
    if (!rows || !isExpectedTable(*rows, headings))
        return {};
    ExpectedPlan plan;
    for (std::size_t i = 1; i < rows->size(); ++i) {
        Settings settings;
        QJsonObject unknown;
        for (int column = 0; column < static_cast<int>(headings.size()); ++column) {
            const QString &heading = headings.at(column);
            if (heading.isEmpty())
                continue;
            if (!Columns.contains(heading) && !Overlooked.contains(heading))
                unknown.insert(expectedCell(rows->front().at(column)), expectedCell(rows->at(i).at(column)));
            settings[heading] = rows->at(i).at(column).trimmed();
        }
        plan.add(settings, unknown);
    }
    return plan.outcome();
}

// Of values of other kinds it is only checked that they are harmless.
QJsonValue expectedValue(const QJsonValue &value)
{
    return value.isString() ? QJsonValue(expectedCell(value.toString())) : value;
}

// JSON itself is Qt's; what the plan may be made of is checked.
Outcome expectedOfDocument(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QJsonValue panels = document.object().value(QStringLiteral("panels"));
    if (!document.isArray() && !panels.isArray())
        return {};
    ExpectedPlan plan;
    for (const QJsonValue panel : document.isArray() ? document.array() : panels.toArray()) {
        if (!panel.isObject())
            return {};
        Settings settings;
        QJsonObject unknown;
        const QJsonObject object = panel.toObject();
        // Not by name: Qt 6 finds no name with a byte order mark in front, and tells it without.
        for (auto member = object.begin(); member != object.end(); ++member) {
            const QString name = expectedCell(member.key()).toLower();
            const QJsonValue value = member.value();
            if (Overlooked.contains(name))
                continue;
            if (name.isEmpty() || settings.count(name) > 0)
                return {};
            if (!Columns.contains(name)) {
                unknown.insert(expectedCell(member.key()), expectedValue(value));
            } else if (value.isDouble() && name == QLatin1String("netmask")) {
                const double number = value.toDouble();
                if (!(number >= 0 && number <= 32) || number != static_cast<int>(number))
                    return {};
                settings[name] = QString::number(static_cast<int>(number));
            } else if (value.isString() || value.isNull()) {
                settings[name] = value.toString().trimmed();
            } else {
                return {};
            }
        }
        plan.add(settings, unknown);
    }
    return plan.outcome();
}

Outcome expectedPlan(const QByteArray &bytes, PlanFormat format)
{
    const auto text = expectedText(bytes);
    if (!text)
        return {};
    return format == PlanFormat::Csv ? expectedOfTable(*text) : expectedOfDocument(*text);
}

// --- Written again, in both forms.

QString textOf(const std::optional<std::uint32_t> &value)
{
    return value ? ipv4Text(*value) : QString();
}

// The unknown columns are those of the first panel: a table has the same for all.
QByteArray asTable(const std::vector<Wanted> &panels)
{
    const QStringList titles = panels.front().unknown.keys();
    QString table = QStringLiteral("gateway;description;MAC;Name;netmask;remark;address");
    for (const QString &title : titles)
        table += ';' + csvField(title);
    for (const Wanted &panel : panels) {
        table += QStringLiteral("\r\n") + textOf(panel.gateway) + QStringLiteral(";\"a \"\"b;\"\"\n\";") +
                 macText(panel.mac) + ';' + csvField(panel.name) + ';' + textOf(panel.netmask) + ';' +
                 csvField(panel.remark) + ';' + textOf(panel.address);
        for (const QString &title : titles)
            table += ';' + csvField(panel.unknown.value(title).toString());
    }
    return table.toUtf8();
}

QByteArray asDocument(const std::vector<Wanted> &panels)
{
    QJsonArray list;
    for (const Wanted &panel : panels) {
        QJsonObject object = panel.unknown;
        object.insert(QStringLiteral("mac"), macText(panel.mac).remove(QLatin1Char(':')));
        object.insert(QStringLiteral("marks"), QJsonArray{1, "x"});
        object.insert(QStringLiteral("Remark"), panel.remark);
        object.insert(QStringLiteral("name"), panel.name);
        const auto prefix = panel.netmask ? prefixLength(*panel.netmask) : std::nullopt;
        const bool isBehind = panel.address && prefix && *prefix % 2 == 0;
        if (isBehind)
            object.insert(QStringLiteral("address"), addressWithNetmask(*panel.address, *panel.netmask));
        else
            object.insert(QStringLiteral("address"),
                          panel.address ? QJsonValue(ipv4Text(*panel.address)) : QJsonValue());
        if (panel.gateway)
            object.insert(QStringLiteral("gateway"), ipv4Text(*panel.gateway));
        if (prefix && !isBehind)
            object.insert(QStringLiteral("netmask"), *prefix);
        else if (panel.netmask && !isBehind)
            object.insert(QStringLiteral("netmask"), ipv4Text(*panel.netmask));
        list.append(object);
    }
    return QJsonDocument(QJsonObject{{"panels", list}}).toJson();
}

// --- The plan for what was found.

// 02:00:5e:10:00:01 to 06, at 10.0.0.1 to 6. Two answer from another address than they tell.
PanelList foundPanels()
{
    PanelList panels;
    for (std::uint8_t last = 1; last <= 6; ++last) {
        Panel panel;
        panel.mac = {0x02, 0x00, 0x5E, 0x10, 0x00, last};
        panel.address = 0x0A000000u | last;
        panel.netmask = 0xFF000000;
        panel.gateway = 0x0A0000FE;
        panel.source = last > 4 ? panel.address + 16 : panel.address;
        panel.interfaceIndex = 2;
        panels.add(panel);
    }
    return panels;
}

bool isWhereItTells(const Panel &panel)
{
    return panel.source == panel.address;
}

bool holds(const Panel &panel, std::uint32_t address)
{
    return address != 0 && (panel.address == address || panel.source == address);
}

// Whether the panel of this step, or of a later one, still has the address that the step gives away.
bool isTaken(const std::vector<PlanStep> &steps, std::size_t number)
{
    return std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(number) + 1, steps.end(),
                       [address = steps[number].wanted.address](const PlanStep &later) {
                           return later.isChange() && holds(*later.now, address);
                       });
}

void checkPlan(const std::vector<PlanEntry> &entries)
{
    NetworkInterface own;
    own.index = 2;
    own.name = QStringLiteral("eth0");
    own.addresses = {{0x0A000064, 0xFF000000}}; // 10.0.0.100/8
    const PanelList panels = foundPanels();
    const Plan plan = makePlan(entries, panels, {own}, isWhereItTells);
    REQUIRE(plan.steps.size() == entries.size());
    REQUIRE(areHarmless(plan.objections));

    std::set<MacAddress> macs;
    std::multiset<std::uint32_t> given;
    bool anyChange = false;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const PlanStep &step = plan.steps[i];
        REQUIRE(macs.insert(step.entry.mac).second);
        const Panel *panel = panels.find(step.entry.mac);
        REQUIRE(step.isFound() == (panel != nullptr));
        const Panel before = panel ? *panel : Panel();
        REQUIRE(step.wanted.address == step.entry.wanted.address.value_or(before.address));
        REQUIRE(step.wanted.netmask == step.entry.wanted.netmask.value_or(before.netmask));
        REQUIRE(step.wanted.gateway == step.entry.wanted.gateway.value_or(before.gateway));
        const bool isAsPlanned = panel && isWhereItTells(before) && hasSettings(before, step.wanted);
        REQUIRE(step.isChange() == (panel && !isAsPlanned));
        anyChange = anyChange || step.isChange();
        REQUIRE(step.isChange() == anyChange); // the changes come last
        if (!step.isChange())
            continue;
        given.insert(step.wanted.address);
        const bool isKept = isWhereItTells(before) && step.wanted.address == before.address;
        REQUIRE(isKept || step.opensCircle == isTaken(plan.steps, i));
    }
    for (const std::uint32_t address : given)
        REQUIRE(address == 0 || given.count(address) == 1 || !plan.objections.isEmpty());

    for (const int columns : {0, 80, 50}) {
        const QStringList lines = planLines(plan, columns);
        REQUIRE(areHarmless(lines) && static_cast<std::size_t>(lines.size()) >= plan.steps.size());
        const int longestWord = 64 + 2; // of a remark: any
        for (const QString &line : lines)
            REQUIRE(columns == 0 || line.size() <= std::max(columns, longestWord) ||
                    !line.trimmed().contains(' '));
    }
}

bool isAsExpected(Wanted panel, const Wanted &expected)
{
    QJsonObject unknown = expected.unknown;
    for (const QString &title : panel.unknown.keys()) {
        const QJsonValue value = panel.unknown.value(title);
        REQUIRE(
            isHarmless(QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact))));
        if (value.isArray() || value.isObject()) {
            REQUIRE(unknown.value(title).type() == value.type());
            unknown.insert(title, value);
        }
    }
    panel.unknown = unknown == panel.unknown ? expected.unknown : panel.unknown;
    return panel == expected;
}

void check(const QByteArray &bytes, PlanFormat format)
{
    const std::vector<PlanEntry> entries = readOrRefused(bytes, format);
    const Outcome expected = expectedPlan(bytes, format);
    const std::vector<Wanted> panels = withoutPlaces(entries);
    REQUIRE(panels.size() == expected.value_or(std::vector<Wanted>()).size());
    for (std::size_t i = 0; i < panels.size(); ++i)
        REQUIRE(isAsExpected(panels[i], expected->at(i)));
    if (panels.empty())
        return;
    for (const PlanEntry &entry : entries)
        REQUIRE(entry.place.startsWith(QStringLiteral("plan:")) && entry.place.section(':', 1).toInt() > 0);
    if (format == PlanFormat::Csv)
        REQUIRE(withoutPlaces(readOrRefused(asTable(panels), PlanFormat::Csv)) == panels);
    REQUIRE(withoutPlaces(readOrRefused(asDocument(panels), PlanFormat::Json)) == panels);
    checkPlan(entries);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    check(bytes, PlanFormat::Csv);
    check(bytes, PlanFormat::Json);
    return 0;
}
