#include "csvreader.h"

#include <algorithm>

namespace
{

// More fields than a list of panels needs. Bounds the memory for a file that consists of separators.
const std::size_t FieldLimit = 64;
const std::size_t RecordLimit = 10000;

bool isSeparator(QChar character)
{
    return character == QLatin1Char(',') || character == QLatin1Char(';') || character == QLatin1Char('\t');
}

QChar separatorOf(const QString &text)
{
    for (const QChar character : text) {
        if (isSeparator(character))
            return character;
        if (character == QLatin1Char('\n') || character == QLatin1Char('\r'))
            break;
    }
    return QLatin1Char(',');
}

// Spreadsheets take such a text for a formula. Further apostrophes in front are those of the text itself.
bool isFormula(const QString &text)
{
    static const QString starts = QStringLiteral("=+-@");
    const auto first = std::find_if(text.cbegin(), text.cend(),
                                    [](QChar character) { return character != QLatin1Char('\''); });
    return first != text.cend() && starts.contains(*first);
}

bool isBlank(const CsvRecord &record)
{
    return std::all_of(record.begin(), record.end(),
                       [](const CsvField &field) { return field.text.trimmed().isEmpty(); });
}

// Thrown where the rest of the text cannot be read; the mistake is then in the file.
struct Unreadable {
};

// Reads character by character; one object reads one text.
class CsvReader
{
public:
    explicit CsvReader(TextFile &file)
        : m_file(file)
        , m_text(file.text())
        , m_separator(separatorOf(m_text))
    {
    }

    QChar separator() const { return m_separator; }
    std::vector<CsvRecord> read();

private:
    bool atEnd() const { return m_at >= m_text.size(); }
    bool isNext(char character) const { return !atEnd() && m_text.at(m_at) == QLatin1Char(character); }
    bool atLineEnd() const { return atEnd() || isNext('\n') || isNext('\r'); }
    void passLineEnd();
    void passSeparatorLine();
    CsvRecord record();
    CsvField field();
    QString plainText();
    QString quotedText();
    [[noreturn]] void fail(TextFile::Offset at, const char *what);

    TextFile &m_file;
    const QString &m_text;
    QChar m_separator;
    TextFile::Offset m_at = 0;
};

std::vector<CsvRecord> CsvReader::read()
{
    std::vector<CsvRecord> records;
    try {
        passSeparatorLine();
        while (!atEnd()) {
            const auto start = m_at;
            CsvRecord next = record();
            if (records.size() >= RecordLimit)
                fail(start, "there are more panels above than any network holds");
            if (!isBlank(next))
                records.push_back(std::move(next));
        }
    } catch (const Unreadable &) {
        return records;
    }
    return records;
}

CsvRecord CsvReader::record()
{
    CsvRecord fields = {field()};
    while (!atLineEnd()) {
        if (fields.size() >= FieldLimit)
            fail(m_at, "there are more fields than in any list of panels");
        ++m_at; // the separator
        fields.push_back(field());
    }
    passLineEnd();
    return fields;
}

void CsvReader::passLineEnd()
{
    const bool isPair = isNext('\r') && m_at + 1 < m_text.size() && m_text.at(m_at + 1) == QLatin1Char('\n');
    m_at += atEnd() ? 0 : isPair ? 2 : 1;
}

// Some spreadsheets write the separator into a line before the first record.
void CsvReader::passSeparatorLine()
{
    const QString start = QStringLiteral("sep=");
    const bool isThere =
        m_text.startsWith(start) && m_text.size() > start.size() && m_text.at(start.size()) == m_separator;
    if (!isThere)
        return;
    m_at = start.size() + 1;
    if (!atLineEnd())
        fail(m_at, "there is text behind the separator");
    passLineEnd();
}

CsvField CsvReader::field()
{
    CsvField result;
    result.at = m_at;
    result.text = isNext('"') ? quotedText() : plainText();
    result.end = m_at;
    if (result.text.startsWith(QLatin1Char('\'')) && isFormula(result.text))
        result.text.remove(0, 1);
    return result;
}

QString CsvReader::plainText()
{
    const auto start = m_at;
    while (!atLineEnd() && m_text.at(m_at) != m_separator) {
        if (isNext('"'))
            fail(m_at, "a quotation mark in the middle of a field: write the field \"like \"\"this\"\"\"");
        ++m_at;
    }
    return m_text.mid(start, m_at - start);
}

QString CsvReader::quotedText()
{
    const auto start = m_at;
    QString text;
    for (++m_at;; ++m_at) {
        if (atEnd())
            fail(start, "a quotation mark without its partner");
        if (isNext('"')) {
            ++m_at;
            if (!isNext('"'))
                break;
        }
        text += m_text.at(m_at);
    }
    if (!atLineEnd() && m_text.at(m_at) != m_separator)
        fail(m_at, "text behind a closing quotation mark: write the field \"like \"\"this\"\"\"");
    return text;
}

void CsvReader::fail(TextFile::Offset at, const char *what)
{
    m_file.addMistake(at, QLatin1String(what));
    throw Unreadable();
}

void readHeadings(const CsvRecord &header, CsvTable &table, TextFile &file)
{
    for (const CsvField &field : header) {
        const QString title = oneLine(field.text);
        const QString heading = title.toLower();
        if (!heading.isEmpty() && table.headings.contains(heading))
            file.addMistake(field.at, QStringLiteral("there are two columns %1").arg(quoted(heading)));
        table.titles << title;
        table.headings << heading;
    }
    if (table.column("mac") < 0)
        file.addMistake(header.front().at, QStringLiteral("there is no column 'mac'"));
}

bool isRowRight(const CsvRecord &row, const CsvTable &table, TextFile &file)
{
    const auto width = static_cast<std::size_t>(table.headings.size());
    if (row.size() != width) {
        file.addMistake(
            row.size() > width ? row[width].at : row.back().end,
            QStringLiteral("%1 fields under %2 headings").arg(row.size()).arg(table.headings.size()));
        return false;
    }
    for (std::size_t column = 0; column < width; ++column) {
        const QString text = row[column].text.trimmed();
        if (!text.isEmpty() && table.headings.at(static_cast<int>(column)).isEmpty()) {
            file.addMistake(row[column].at, QStringLiteral("%1 stands under no heading").arg(quoted(text)));
            return false;
        }
    }
    return true;
}

} // namespace

CsvTable csvTable(TextFile &file)
{
    CsvReader reader(file);
    std::vector<CsvRecord> records = reader.read();
    CsvTable table;
    table.separator = reader.separator();
    if (records.empty())
        return table;
    table.header = records.front();
    readHeadings(table.header, table, file);
    for (auto record = std::next(records.begin()); record != records.end(); ++record) {
        if (isRowRight(*record, table, file))
            table.rows.push_back(std::move(*record));
    }
    return table;
}

QString csvField(const QString &text)
{
    QString field = isFormula(text) ? QLatin1Char('\'') + text : text;
    const bool needsQuotes = std::any_of(field.cbegin(), field.cend(), [](QChar character) {
        return isSeparator(character) || character == QLatin1Char('"') || character < QLatin1Char(' ');
    });
    if (!needsQuotes)
        return field;
    field.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + field + QLatin1Char('"');
}
