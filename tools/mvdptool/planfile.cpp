#include "planfile.h"

#include "csvreader.h"
#include "discovery.h"
#include "toolerror.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

#include <map>

namespace
{

const qint64 LargestFile = 4 << 20; // as many panels as discover can find, as JSON
const int MostMistakes = 20;
const int LongestQuote = 40;

using Cells = std::map<QString, QString>;

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

[[noreturn]] void throwPlan(const QString &mistake)
{
    throw ToolError{ToolError::BadPlan, mistake, {}};
}

[[noreturn]] void throwInput(const QString &message, const QString &advice)
{
    throw ToolError{ToolError::BadInput, message, advice};
}

// Collects mistakes, so that the user sees all of them at once.
class PlanBuilder
{
public:
    void add(const QString &place, const Cells &cells);
    void mistake(const QString &place, const QString &what);
    std::vector<PlanEntry> entries() const;

private:
    template <typename Value, typename Read>
    std::optional<Value> value(const QString &place, const Cells &cells, const char *column, Read read);

    std::vector<PlanEntry> m_entries;
    std::map<MacAddress, QString> m_places;
    QStringList m_mistakes;
};

template <typename Value, typename Read>
std::optional<Value> PlanBuilder::value(const QString &place, const Cells &cells, const char *column,
                                        Read read)
{
    const auto cell = cells.find(QLatin1String(column));
    if (cell == cells.end() || cell->second.isEmpty())
        return std::nullopt;
    std::optional<Value> result = read(cell->second);
    if (!result)
        mistake(place, QStringLiteral("'%1' is no %2")
                           .arg(cell->second.left(LongestQuote), column == settingColumns().first()
                                                                     ? QStringLiteral("MAC address")
                                                                     : QLatin1String(column)));
    return result;
}

void PlanBuilder::add(const QString &place, const Cells &cells)
{
    const auto before = m_mistakes.size();
    const auto mac = value<MacAddress>(place, cells, "mac", macFromText);
    PlanEntry entry;
    entry.place = place;
    entry.wanted.address = value<std::uint32_t>(place, cells, "address", ipv4FromText);
    entry.wanted.netmask = value<std::uint32_t>(place, cells, "netmask", netmaskFromText);
    entry.wanted.gateway = value<std::uint32_t>(place, cells, "gateway", ipv4FromText);
    if (m_mistakes.size() > before)
        return;
    if (!mac)
        return mistake(place, QStringLiteral("there is no MAC address"));
    entry.mac = *mac;
    if (isZero(entry.mac))
        return mistake(place, QStringLiteral("the MAC address of zeros names no panel"));
    if (!entry.wanted.address && !entry.wanted.netmask && !entry.wanted.gateway)
        return mistake(place, QStringLiteral("there is nothing to set"));
    const auto added = m_places.insert({entry.mac, place});
    if (!added.second)
        return mistake(
            place,
            QStringLiteral("%1 is in the plan already, in %2").arg(macText(entry.mac), added.first->second));
    if (m_entries.size() >= PanelLimit)
        throwPlan(QStringLiteral("the plan has more than %1 panels").arg(PanelLimit));
    m_entries.push_back(entry);
}

void PlanBuilder::mistake(const QString &place, const QString &what)
{
    m_mistakes << place + QStringLiteral(": ") + what;
    if (m_mistakes.size() >= MostMistakes)
        throwPlan(QStringLiteral("the plan has mistakes: ") + m_mistakes.join(QStringLiteral("; ")));
}

std::vector<PlanEntry> PlanBuilder::entries() const
{
    if (!m_mistakes.isEmpty())
        throwPlan(QStringLiteral("the plan has mistakes: ") + m_mistakes.join(QStringLiteral("; ")));
    if (m_entries.empty())
        throwPlan(QStringLiteral("the plan has no panel"));
    return m_entries;
}

QStringList headerOf(const CsvRecord &record)
{
    QStringList names;
    for (const QString &field : record.fields) {
        const QString name = field.trimmed().toLower();
        if (!settingColumns().contains(name) && !isOverlooked(name))
            throwPlan(QStringLiteral("line %1: there is no column '%2'")
                          .arg(record.line)
                          .arg(field.left(LongestQuote)));
        if (names.contains(name))
            throwPlan(QStringLiteral("line %1: there are two columns '%2'").arg(record.line).arg(name));
        names << name;
    }
    if (!names.contains(settingColumns().first()))
        throwPlan(QStringLiteral("line %1: there is no column 'mac'").arg(record.line));
    return names;
}

std::vector<PlanEntry> fromCsv(const QString &text)
{
    const std::vector<CsvRecord> records = csvRecords(text);
    if (records.empty())
        throwPlan(QStringLiteral("the plan is empty"));
    const QStringList header = headerOf(records.front());
    PlanBuilder builder;
    for (std::size_t index = 1; index < records.size(); ++index) {
        const CsvRecord &record = records[index];
        const QString place = QStringLiteral("line %1").arg(record.line);
        if (record.fields.size() != header.size()) {
            builder.mistake(
                place,
                QStringLiteral("%1 fields under %2 headings").arg(record.fields.size()).arg(header.size()));
            continue;
        }
        Cells cells;
        for (int column = 0; column < static_cast<int>(header.size()); ++column)
            cells[header.at(column)] = record.fields.at(column).trimmed();
        builder.add(place, cells);
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

std::vector<PlanEntry> fromJson(const QByteArray &bytes)
{
    QJsonParseError error = {};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (document.isNull())
        throwPlan(QStringLiteral("no JSON at byte %1: %2").arg(error.offset).arg(error.errorString()));
    const QJsonValue list =
        document.isArray() ? QJsonValue(document.array()) : document.object().value(QStringLiteral("panels"));
    if (!list.isArray())
        throwPlan(QStringLiteral("the plan is neither a list nor an object with a list 'panels'"));
    PlanBuilder builder;
    const QJsonArray panels = list.toArray();
    for (int index = 0; index < static_cast<int>(panels.size()); ++index) {
        const QString place = QStringLiteral("entry %1").arg(index + 1);
        const QJsonObject object = panels.at(index).toObject();
        Cells cells;
        bool isFit = panels.at(index).isObject();
        if (!isFit)
            builder.mistake(place, QStringLiteral("it is no object"));
        for (auto member = object.begin(); member != object.end(); ++member) {
            const bool isKnown = settingColumns().contains(member.key());
            if (!isKnown && isOverlooked(member.key()))
                continue;
            if (!isKnown || !cellOf(member.value(), cells[member.key()])) {
                builder.mistake(place, QStringLiteral("'%1' is unknown or of the wrong kind")
                                           .arg(member.key().left(LongestQuote)));
                isFit = false;
            }
        }
        if (isFit)
            builder.add(place, cells);
    }
    return builder.entries();
}

} // namespace

std::vector<PlanEntry> parsePlan(const QByteArray &bytes, PlanFormat format)
{
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
        throwPlan(QStringLiteral("the file is in UTF-16: save it as UTF-8"));
    // Qt 5 would read up to the first NUL and take that for the whole plan.
    if (bytes.contains('\0'))
        throwPlan(QStringLiteral("the file has zero bytes in it, so it is no text"));
    const QByteArray content = bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes;
    return format == PlanFormat::Json ? fromJson(content) : fromCsv(QString::fromUtf8(content));
}

std::vector<PlanEntry> readPlan(const QString &path)
{
    const bool isJson = path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive);
    if (!isJson && !path.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive))
        throwInput(QStringLiteral("'%1' ends in neither .csv nor .json").arg(path),
                   QStringLiteral("The end of its name says how a plan is written."));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throwInput(QStringLiteral("'%1' cannot be read: %2").arg(path, file.errorString()),
                   QStringLiteral("Give the name of a file that you may read."));
    const QByteArray bytes = file.read(LargestFile + 1);
    if (bytes.size() > LargestFile)
        throwInput(QStringLiteral("'%1' is larger than 4 MiB").arg(path),
                   QStringLiteral("That is no plan: 40 panels take 4 kB."));
    return parsePlan(bytes, isJson ? PlanFormat::Json : PlanFormat::Csv);
}
