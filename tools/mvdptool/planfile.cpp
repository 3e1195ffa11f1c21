#include "planfile.h"

#include "csvreader.h"
#include "discovery.h"
#include "jsonplaces.h"
#include "textfile.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>

#include <map>

namespace
{

// As many as a table can have. Bounds the size of an output that has them all.
const int MostUnknownColumns = 64;

struct Cell {
    QString text;
    TextFile::Offset at;
};

// One panel's cells by their headings.
struct Row {
    TextFile::Offset at; // where it begins
    std::map<QString, Cell> cells;
    QJsonObject unknown; // by their titles
};

bool isUsed(const QString &heading)
{
    static const QSet<QString> headings = {QStringLiteral("mac"),     QStringLiteral("address"),
                                           QStringLiteral("netmask"), QStringLiteral("gateway"),
                                           QStringLiteral("name"),    QStringLiteral("remark")};
    return headings.contains(heading);
}

// The other headings of what this program prints. They are neither used nor kept.
bool isOverlooked(const QString &heading)
{
    static const QSet<QString> headings = {
        // of a panel
        QStringLiteral("prefix"),
        QStringLiteral("version"),
        QStringLiteral("description"),
        QStringLiteral("source"),
        QStringLiteral("interface"),
        QStringLiteral("way"),
        QStringLiteral("marks"),
        // of settings and commands
        QStringLiteral("result"),
        QStringLiteral("wantedaddress"),
        QStringLiteral("wantednetmask"),
        QStringLiteral("wantedgateway"),
        QStringLiteral("word"),
        QStringLiteral("seconds"),
        QStringLiteral("command"),
        // of watch
        QStringLiteral("time"),
        QStringLiteral("event"),
        // of echoes
        QStringLiteral("sent"),
        QStringLiteral("answered"),
        QStringLiteral("lost"),
        QStringLiteral("altered"),
        QStringLiteral("duplicates"),
        QStringLiteral("leastms"),
        QStringLiteral("meanms"),
        QStringLiteral("mostms"),
        // of raw
        QStringLiteral("type"),
        QStringLiteral("bytes"),
    };
    return headings.contains(heading);
}

// Collects the entries, and the mistakes in the file.
class PlanBuilder
{
public:
    explicit PlanBuilder(TextFile &file)
        : m_file(file)
    {
    }

    void addUnknownColumn(const QString &title, TextFile::Offset at);
    void add(const Row &row);
    // Throws ToolError when there were mistakes.
    PlanContent content() const;

private:
    template <typename Value, typename Read>
    std::optional<Value> value(const Row &row, const char *column, const char *what, Read read);
    void readAddress(const Row &row, WantedSettings &wanted);
    PanelLabel label(const Row &row);
    QString mistakeIn(const PlanEntry &entry) const;

    TextFile &m_file;
    PlanContent m_content;
    std::map<MacAddress, TextFile::Offset> m_places;
};

void PlanBuilder::addUnknownColumn(const QString &title, TextFile::Offset at)
{
    if (m_content.unknownColumns.contains(title))
        return;
    if (m_content.unknownColumns.size() == MostUnknownColumns)
        m_file.addMistake(at, QStringLiteral("there are more columns than in any list of panels"));
    if (m_content.unknownColumns.size() <= MostUnknownColumns)
        m_content.unknownColumns << title;
}

template <typename Value, typename Read>
std::optional<Value> PlanBuilder::value(const Row &row, const char *column, const char *what, Read read)
{
    const auto cell = row.cells.find(QLatin1String(column));
    if (cell == row.cells.end() || cell->second.text.isEmpty())
        return std::nullopt;
    std::optional<Value> result = read(cell->second.text);
    if (!result)
        m_file.addMistake(cell->second.at,
                          QStringLiteral("%1 is no %2").arg(quoted(cell->second.text), QLatin1String(what)));
    return result;
}

// The netmask may stand behind the address, in a column of its own, or in both.
void PlanBuilder::readAddress(const Row &row, WantedSettings &wanted)
{
    const auto address = value<AddressWithNetmask>(row, "address", "address", addressWithPrefixFromText);
    wanted.netmask = value<std::uint32_t>(row, "netmask", "netmask", netmaskFromText);
    if (!address)
        return;
    wanted.address = address->address;
    if (address->netmask && wanted.netmask && *address->netmask != *wanted.netmask) {
        const Cell &netmask = row.cells.at(QStringLiteral("netmask"));
        m_file.addMistake(netmask.at, QStringLiteral("%1 is another netmask than that of %2")
                                          .arg(quoted(netmask.text),
                                               addressWithNetmask(address->address, *address->netmask)));
    }
    if (address->netmask)
        wanted.netmask = address->netmask;
}

PanelLabel PlanBuilder::label(const Row &row)
{
    PanelLabel label;
    const auto name = row.cells.find(QStringLiteral("name"));
    if (name != row.cells.end() && !name->second.text.isEmpty()) {
        label.name = name->second.text;
        const QString mistake = PanelNames::nameMistake(label.name);
        if (!mistake.isEmpty())
            m_file.addMistake(name->second.at, mistake);
    }
    const auto remark = row.cells.find(QStringLiteral("remark"));
    if (remark != row.cells.end())
        label.remark = oneLine(remark->second.text);
    return label;
}

QString PlanBuilder::mistakeIn(const PlanEntry &entry) const
{
    if (isZero(entry.mac))
        return QStringLiteral("the MAC address of zeros names no panel");
    if (!entry.wanted.address && !entry.wanted.netmask && !entry.wanted.gateway)
        return QStringLiteral("there is nothing to set");
    const auto other = m_places.find(entry.mac);
    if (other != m_places.end())
        return QStringLiteral("%1 is in the plan already, in line %2")
            .arg(macText(entry.mac))
            .arg(m_file.lineOf(other->second));
    if (m_content.entries.size() >= PanelLimit)
        return QStringLiteral("the plan has more than %1 panels").arg(PanelLimit);
    return QString();
}

void PlanBuilder::add(const Row &row)
{
    const auto before = m_file.mistakeCount();
    const auto mac = value<MacAddress>(row, "mac", "MAC address", macFromText);
    PlanEntry entry;
    entry.place = m_file.linePlace(row.at);
    readAddress(row, entry.wanted);
    entry.wanted.gateway = value<std::uint32_t>(row, "gateway", "gateway", ipv4FromText);
    entry.label = label(row);
    entry.columns = row.unknown;
    if (m_file.mistakeCount() > before)
        return;
    entry.mac = mac.value_or(MacAddress());
    const QString mistake = mac ? mistakeIn(entry) : QStringLiteral("there is no MAC address");
    if (!mistake.isEmpty())
        return m_file.addMistake(row.at, mistake);
    m_places.insert({entry.mac, row.at});
    m_content.entries.push_back(entry);
}

PlanContent PlanBuilder::content() const
{
    m_file.throwMistakes();
    if (m_content.entries.empty())
        m_file.throwMistake(QStringLiteral("the plan has no panel"));
    return m_content;
}

PlanContent fromCsv(TextFile &file)
{
    const CsvTable table = csvTable(file);
    const int width = static_cast<int>(table.headings.size());
    if (width == 0)
        file.throwMistake(QStringLiteral("the plan is empty"));
    PlanBuilder builder(file);
    std::vector<bool> isUnknown;
    for (int column = 0; column < width; ++column) {
        const QString &heading = table.headings.at(column);
        isUnknown.push_back(!heading.isEmpty() && !isUsed(heading) && !isOverlooked(heading));
        if (isUnknown.back())
            builder.addUnknownColumn(table.titles.at(column),
                                     table.header[static_cast<std::size_t>(column)].at);
    }
    const bool canRead = table.column("mac") >= 0;
    for (std::size_t index = 0; canRead && index < table.rows.size(); ++index) {
        const CsvRecord &record = table.rows[index];
        Row row = {record.front().at, {}, {}};
        for (int column = 0; column < width; ++column) {
            const CsvField &field = record[static_cast<std::size_t>(column)];
            if (isUnknown[static_cast<std::size_t>(column)])
                row.unknown.insert(table.titles.at(column), oneLine(field.text));
            else
                row.cells[table.headings.at(column)] = {field.text.trimmed(), field.at};
        }
        builder.add(row);
    }
    return builder.content();
}

// For values that a setting or a label can have in JSON (null, a text, or as a netmask a prefix length):
// true, and the cell's text.
bool cellOf(const QJsonValue &value, bool isNetmask, QString &text)
{
    if (isNetmask && value.isDouble()) {
        // 33 is no prefix length; toInt() returns it for fractions and for numbers beyond an integer.
        const int length = value.toInt(33);
        text = QString::number(length);
        return length >= 0 && length <= 32;
    }
    text = value.toString().trimmed();
    return value.isString() || value.isNull();
}

// The same value with a blank in place of each control character.
QJsonValue withoutControls(const QJsonValue &value)
{
    if (value.isString())
        return oneLine(value.toString());
    if (value.isArray()) {
        QJsonArray list;
        for (const QJsonValue each : value.toArray())
            list.append(withoutControls(each));
        return list;
    }
    if (!value.isObject())
        return value;
    QJsonObject clean;
    const QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member)
        clean.insert(oneLine(member.key()), withoutControls(member.value()));
    return clean;
}

void addObject(const QJsonObject &object, const JsonPlace &place, TextFile &file, PlanBuilder &builder)
{
    Row row = {place.at, {}, {}};
    const auto before = file.mistakeCount();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const auto found = place.members.find(member.key());
        const TextFile::Offset at = found == place.members.end() ? place.at : found->second;
        const QString title = oneLine(member.key());
        const QString heading = title.toLower();
        if (isOverlooked(heading))
            continue;
        if (heading.isEmpty()) {
            file.addMistake(at, QStringLiteral("a member has no name"));
            continue;
        }
        if (!isUsed(heading)) {
            builder.addUnknownColumn(title, at);
            row.unknown.insert(title, withoutControls(member.value()));
            continue;
        }
        Cell cell = {QString(), at};
        if (row.cells.count(heading) > 0)
            file.addMistake(at, QStringLiteral("there are two members %1").arg(quoted(heading)));
        else if (!cellOf(member.value(), heading == QLatin1String("netmask"), cell.text))
            file.addMistake(at, QStringLiteral("%1 is of the wrong kind").arg(quoted(title)));
        row.cells[heading] = cell;
    }
    if (file.mistakeCount() == before)
        builder.add(row);
}

// The place in the text of this byte of its UTF-8 form.
TextFile::Offset offsetOfByte(const QString &text, int byte)
{
    return QString::fromUtf8(text.toUtf8().left(byte)).size();
}

PlanContent fromJson(TextFile &file)
{
    QJsonParseError error = {};
    const QJsonDocument document = QJsonDocument::fromJson(file.text().toUtf8(), &error);
    if (document.isNull()) {
        file.addMistake(offsetOfByte(file.text(), error.offset),
                        QStringLiteral("this is no JSON: %1").arg(error.errorString()));
        file.throwMistakes();
    }
    const QString member = QStringLiteral("panels");
    const QJsonValue list =
        document.isArray() ? QJsonValue(document.array()) : document.object().value(member);
    if (!list.isArray())
        file.throwMistake(QStringLiteral("the plan is neither a list nor an object with a list 'panels'"));
    PlanBuilder builder(file);
    const QJsonArray panels = list.toArray();
    std::vector<JsonPlace> places = placesInList(file.text(), member);
    places.resize(static_cast<std::size_t>(panels.size()));
    for (int index = 0; index < static_cast<int>(panels.size()); ++index) {
        const JsonPlace &place = places[static_cast<std::size_t>(index)];
        if (panels.at(index).isObject())
            addObject(panels.at(index).toObject(), place, file, builder);
        else
            file.addMistake(place.at, QStringLiteral("this is no object"));
    }
    return builder.content();
}

} // namespace

PlanContent parsePlan(const QByteArray &bytes, PlanFormat format, const QString &fileName)
{
    TextFile file(bytes, fileName, ToolError::BadPlan, QString());
    return format == PlanFormat::Json ? fromJson(file) : fromCsv(file);
}

std::optional<PlanFormat> planFormatOf(const QString &path)
{
    if (path.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive))
        return PlanFormat::Csv;
    if (path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive))
        return PlanFormat::Json;
    return std::nullopt;
}
