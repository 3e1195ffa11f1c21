#include "planfile.h"

#include "csvreader.h"
#include "discovery.h"
#include "jsonplaces.h"
#include "textfile.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

#include <map>

namespace
{

struct Cell {
    QString text;
    TextFile::Offset at;
};

using Cells = std::map<QString, Cell>;

const QStringList &settingColumns()
{
    static const QStringList columns = {QStringLiteral("mac"), QStringLiteral("address"),
                                        QStringLiteral("netmask"), QStringLiteral("gateway")};
    return columns;
}

// The other columns of 'discover'. A plan may keep them; they are ignored.
bool isOverlooked(const QString &column)
{
    static const QSet<QString> columns = {
        QStringLiteral("prefix"), QStringLiteral("version"),   QStringLiteral("description"),
        QStringLiteral("source"), QStringLiteral("interface"), QStringLiteral("way"),
        QStringLiteral("marks"),
    };
    return columns.contains(column);
}

// Collects the entries, and the mistakes in the file.
class PlanBuilder
{
public:
    explicit PlanBuilder(TextFile &file)
        : m_file(file)
    {
    }

    // `at` is where the entry begins.
    void add(TextFile::Offset at, const Cells &cells);
    // Throws ToolError when there were mistakes.
    std::vector<PlanEntry> entries() const;

private:
    template <typename Value, typename Read>
    std::optional<Value> value(const Cells &cells, const char *column, Read read);

    TextFile &m_file;
    std::vector<PlanEntry> m_entries;
    std::map<MacAddress, TextFile::Offset> m_places;
};

template <typename Value, typename Read>
std::optional<Value> PlanBuilder::value(const Cells &cells, const char *column, Read read)
{
    const auto cell = cells.find(QLatin1String(column));
    if (cell == cells.end() || cell->second.text.isEmpty())
        return std::nullopt;
    std::optional<Value> result = read(cell->second.text);
    if (!result)
        m_file.addMistake(cell->second.at,
                          QStringLiteral("%1 is no %2")
                              .arg(quoted(cell->second.text), column == settingColumns().first()
                                                                  ? QStringLiteral("MAC address")
                                                                  : QLatin1String(column)));
    return result;
}

void PlanBuilder::add(TextFile::Offset at, const Cells &cells)
{
    const auto before = m_file.mistakeCount();
    const auto mac = value<MacAddress>(cells, "mac", macFromText);
    PlanEntry entry;
    entry.place = m_file.linePlace(at);
    entry.wanted.address = value<std::uint32_t>(cells, "address", ipv4FromText);
    entry.wanted.netmask = value<std::uint32_t>(cells, "netmask", netmaskFromText);
    entry.wanted.gateway = value<std::uint32_t>(cells, "gateway", ipv4FromText);
    if (m_file.mistakeCount() > before)
        return;
    if (!mac)
        return m_file.addMistake(at, QStringLiteral("there is no MAC address"));
    entry.mac = *mac;
    if (isZero(entry.mac))
        return m_file.addMistake(at, QStringLiteral("the MAC address of zeros names no panel"));
    if (!entry.wanted.address && !entry.wanted.netmask && !entry.wanted.gateway)
        return m_file.addMistake(at, QStringLiteral("there is nothing to set"));
    const auto added = m_places.insert({entry.mac, at});
    if (!added.second)
        return m_file.addMistake(at, QStringLiteral("%1 is in the plan already, in line %2")
                                         .arg(macText(entry.mac))
                                         .arg(m_file.lineOf(added.first->second)));
    if (m_entries.size() == PanelLimit)
        return m_file.addMistake(at, QStringLiteral("the plan has more than %1 panels").arg(PanelLimit));
    m_entries.push_back(entry);
}

std::vector<PlanEntry> PlanBuilder::entries() const
{
    m_file.throwMistakes();
    if (m_entries.empty())
        m_file.throwMistake(QStringLiteral("the plan has no panel"));
    return m_entries;
}

std::vector<PlanEntry> fromCsv(TextFile &file)
{
    const CsvTable table = csvTable(file);
    if (table.headings.isEmpty())
        file.throwMistake(QStringLiteral("the plan is empty"));
    for (int column = 0; column < static_cast<int>(table.headings.size()); ++column) {
        const QString &heading = table.headings.at(column);
        if (!settingColumns().contains(heading) && !isOverlooked(heading))
            file.addMistake(table.header.at(static_cast<std::size_t>(column)).at,
                            QStringLiteral("there is no column %1").arg(quoted(heading)));
    }
    PlanBuilder builder(file);
    const bool canRead = table.column("mac") >= 0;
    for (std::size_t index = 0; canRead && index < table.rows.size(); ++index) {
        const CsvRecord &row = table.rows[index];
        Cells cells;
        for (int column = 0; column < static_cast<int>(table.headings.size()); ++column) {
            const CsvField &field = row[static_cast<std::size_t>(column)];
            cells[table.headings.at(column)] = {field.text.trimmed(), field.at};
        }
        builder.add(row.front().at, cells);
    }
    return builder.entries();
}

// For values that a setting can have in JSON (null, a text, or a prefix length): true, and the cell's text.
bool cellOf(const QJsonValue &value, QString &text)
{
    if (value.isDouble()) {
        // 33 is no prefix length; toInt() returns it for fractions and for numbers beyond an integer.
        const int length = value.toInt(33);
        text = QString::number(length);
        return length >= 0 && length <= 32;
    }
    text = value.toString().trimmed();
    return value.isString() || value.isNull();
}

void addObject(const QJsonObject &object, const JsonPlace &place, TextFile &file, PlanBuilder &builder)
{
    Cells cells;
    const auto before = file.mistakeCount();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const auto found = place.members.find(member.key());
        const TextFile::Offset at = found == place.members.end() ? place.at : found->second;
        const bool isKnown = settingColumns().contains(member.key());
        if (!isKnown && isOverlooked(member.key()))
            continue;
        Cell cell = {QString(), at};
        if (!isKnown || !cellOf(member.value(), cell.text))
            file.addMistake(at,
                            QStringLiteral("%1 is unknown or of the wrong kind").arg(quoted(member.key())));
        cells[member.key()] = cell;
    }
    if (file.mistakeCount() == before)
        builder.add(place.at, cells);
}

// The place in the text of this byte of its UTF-8 form.
TextFile::Offset offsetOfByte(const QString &text, int byte)
{
    return QString::fromUtf8(text.toUtf8().left(byte)).size();
}

std::vector<PlanEntry> fromJson(TextFile &file)
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
    return builder.entries();
}

} // namespace

std::vector<PlanEntry> parsePlan(const QByteArray &bytes, PlanFormat format, const QString &fileName)
{
    TextFile file(bytes, fileName, ToolError::BadPlan, QString());
    return format == PlanFormat::Json ? fromJson(file) : fromCsv(file);
}

std::vector<PlanEntry> readPlan(const QString &path)
{
    const bool isJson = path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive);
    if (!isJson && !path.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive))
        throw ToolError{ToolError::BadInput, QStringLiteral("'%1' ends in neither .csv nor .json").arg(path),
                        QStringLiteral("The end of its name says how a plan is written.")};
    return parsePlan(TextFile::bytesOf(path), isJson ? PlanFormat::Json : PlanFormat::Csv, path);
}
