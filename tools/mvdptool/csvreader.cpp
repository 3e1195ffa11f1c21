#include "csvreader.h"

#include "toolerror.h"

#include <algorithm>

namespace
{

// More fields than a plan needs. Bounds the memory for a file that consists of separators.
const int FieldLimit = 64;
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

// Reads character by character; one object reads one text.
class CsvReader
{
public:
    explicit CsvReader(const QString &text)
        : m_text(text)
        , m_separator(separatorOf(text))
    {
    }

    std::vector<CsvRecord> read();

private:
    bool atEnd() const { return m_at >= m_text.size(); }
    bool isNext(char character) const { return !atEnd() && m_text.at(m_at) == QLatin1Char(character); }
    bool atLineEnd() const { return atEnd() || isNext('\n') || isNext('\r'); }
    void passLineEnd();
    void passSeparatorLine();
    QString field();
    QString quotedField();
    [[noreturn]] static void fail(int line, const char *what);

    const QString &m_text;
    QChar m_separator;
    decltype(QString().size()) m_at = 0;
    int m_line = 1;
};

std::vector<CsvRecord> CsvReader::read()
{
    std::vector<CsvRecord> records;
    passSeparatorLine();
    while (!atEnd()) {
        CsvRecord record = {m_line, {field()}};
        while (!atLineEnd()) {
            if (record.fields.size() >= FieldLimit)
                fail(m_line, "more fields than any table of panels");
            ++m_at; // the separator
            record.fields << field();
        }
        passLineEnd();
        const bool isBlank = std::all_of(record.fields.cbegin(), record.fields.cend(),
                                         [](const QString &text) { return text.trimmed().isEmpty(); });
        if (records.size() >= RecordLimit)
            fail(m_line, "more panels before it than any network holds");
        if (!isBlank)
            records.push_back(std::move(record));
    }
    return records;
}

void CsvReader::passLineEnd()
{
    if (atEnd())
        return;
    const bool isPair = isNext('\r') && m_at + 1 < m_text.size() && m_text.at(m_at + 1) == QLatin1Char('\n');
    m_at += isPair ? 2 : 1;
    ++m_line;
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
        fail(m_line, "text behind its separator");
    passLineEnd();
}

QString CsvReader::field()
{
    if (isNext('"'))
        return quotedField();
    const auto start = m_at;
    while (!atLineEnd() && m_text.at(m_at) != m_separator) {
        if (isNext('"'))
            fail(m_line, "a quotation mark in the middle of a field");
        ++m_at;
    }
    return m_text.mid(start, m_at - start);
}

QString CsvReader::quotedField()
{
    const int firstLine = m_line;
    QString text;
    for (++m_at;; ++m_at) {
        if (atEnd())
            fail(firstLine, "a quotation mark without its partner");
        if (isNext('"')) {
            ++m_at;
            if (!isNext('"'))
                break;
        }
        if (isNext('\n'))
            ++m_line;
        text += m_text.at(m_at);
    }
    if (!atLineEnd() && m_text.at(m_at) != m_separator)
        fail(m_line, "text behind a closing quotation mark");
    return text;
}

void CsvReader::fail(int line, const char *what)
{
    throw ToolError{ToolError::BadInput, QStringLiteral("line %1 has %2").arg(line).arg(QLatin1String(what)),
                    QStringLiteral("A field that holds quotation marks is written \"like \"\"this\"\"\".")};
}

} // namespace

std::vector<CsvRecord> csvRecords(const QString &text)
{
    return CsvReader(text).read();
}
