#include "textfile.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cstdio>

namespace
{

const qint64 LargestFile = 4 << 20; // as many panels as discover can find, as JSON
const std::size_t MostMistakes = 20;
const int LongestQuote = 40;

std::vector<TextFile::Offset> lineStartsOf(const QString &text)
{
    std::vector<TextFile::Offset> starts = {0};
    for (TextFile::Offset at = 0; at < text.size(); ++at) {
        const bool isPair =
            text.at(at) == QLatin1Char('\r') && at + 1 < text.size() && text.at(at + 1) == QLatin1Char('\n');
        if (!isPair && (text.at(at) == QLatin1Char('\n') || text.at(at) == QLatin1Char('\r')))
            starts.push_back(at + 1);
    }
    return starts;
}

// Qt would leave out a byte order mark at the start, and Qt 5 what is behind a zero.
QString decoded(const QByteArray &bytes)
{
    const QByteArray all = '.' + bytes;
    return QString::fromUtf8(all.constData(), all.size()).mid(1);
}

// A character beyond 16 bits is a pair in the text and counts once.
int charactersIn(const QString &text, TextFile::Offset from, TextFile::Offset to)
{
    const auto begin = text.cbegin();
    return static_cast<int>(
        std::count_if(begin + from, begin + to, [](QChar character) { return !character.isLowSurrogate(); }));
}

QByteArray contentOf(QFile &file, const QString &what)
{
    QByteArray bytes;
    QByteArray part;
    // A pipe gives one part after the other.
    do {
        part = file.isOpen() ? file.read(LargestFile) : QByteArray();
        bytes += part;
    } while (!part.isEmpty() && bytes.size() <= LargestFile);
    if (file.error() != QFileDevice::NoError)
        throw ToolError{ToolError::BadInput,
                        QStringLiteral("%1 cannot be read: %2").arg(what, file.errorString()),
                        QStringLiteral("Give the name of a file that you may read.")};
    if (bytes.size() > LargestFile)
        throw ToolError{ToolError::BadInput, QStringLiteral("%1 is larger than 4 MiB").arg(what),
                        QStringLiteral("That is no list of panels: 40 panels take 4 kB.")};
    return bytes;
}

} // namespace

TextFile::TextFile(const QByteArray &bytes, const QString &name, ToolError::Kind kind, const QString &advice)
    : m_hasByteOrderMark(bytes.startsWith("\xEF\xBB\xBF"))
    , m_name(name)
    , m_kind(kind)
    , m_advice(advice)
    , m_lineStarts({0})
{
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
        throwMistake(QStringLiteral("the file is in UTF-16: save it as UTF-8"));
    const QByteArray content = m_hasByteOrderMark ? bytes.mid(3) : bytes;
    m_text = decoded(content);
    m_lineStarts = lineStartsOf(m_text);
    // Qt 5's JSON would read up to the first zero and take that for the whole file.
    const auto zero = m_text.indexOf(QChar(0));
    if (zero >= 0) {
        addMistake(zero, QStringLiteral("the file has zero bytes in it, so it is no text"));
        throwMistakes();
    }
    const QByteArray again = m_text.toUtf8();
    if (again == content)
        return;
    const auto wrong = std::mismatch(content.cbegin(), content.cend(), again.cbegin(), again.cend()).first;
    const QByteArray good = content.left(static_cast<int>(wrong - content.cbegin()));
    addMistake(decoded(good).size(), QStringLiteral("here the file is not in UTF-8: save it as UTF-8"));
    throwMistakes();
}

QByteArray TextFile::bytesOf(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return contentOf(file, QStringLiteral("'%1'").arg(path));
}

QByteArray TextFile::bytesOfStandardInput()
{
    QFile file;
    file.open(stdin, QIODevice::ReadOnly);
    return contentOf(file, QStringLiteral("standard input"));
}

int TextFile::lineOf(Offset at) const
{
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), at);
    return static_cast<int>(next - m_lineStarts.begin());
}

QString TextFile::linePlace(Offset at) const
{
    return QStringLiteral("%1:%2").arg(m_name).arg(lineOf(at));
}

QString TextFile::place(Offset at) const
{
    const Offset start = m_lineStarts.at(static_cast<std::size_t>(lineOf(at)) - 1);
    return QStringLiteral("%1:%2").arg(linePlace(at)).arg(charactersIn(m_text, start, at) + 1);
}

void TextFile::addMistake(Offset at, const QString &what)
{
    m_mistakes.emplace_back(at, what);
}

void TextFile::throwMistakes() const
{
    if (m_mistakes.empty())
        return;
    auto mistakes = m_mistakes;
    std::stable_sort(mistakes.begin(), mistakes.end(),
                     [](const auto &one, const auto &other) { return one.first < other.first; });
    QStringList lines;
    for (std::size_t index = 0; index < mistakes.size() && index < MostMistakes; ++index)
        lines << place(mistakes[index].first) + QStringLiteral(": ") + mistakes[index].second;
    if (mistakes.size() > MostMistakes)
        lines << QStringLiteral("%1: %2 more mistakes").arg(m_name).arg(mistakes.size() - MostMistakes);
    throw ToolError{m_kind, lines.takeFirst(), m_advice, lines};
}

void TextFile::throwMistake(const QString &what) const
{
    throwMistakes();
    throw ToolError{m_kind, m_name + QStringLiteral(": ") + what, m_advice};
}

bool isControl(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString oneLine(const QString &text)
{
    QString line = text;
    std::replace_if(line.begin(), line.end(), isControl, QLatin1Char(' '));
    return line.trimmed();
}

QString quoted(const QString &text)
{
    const bool isLong = text.size() > LongestQuote;
    // Half a character cannot be written.
    const int kept = isLong && text.at(LongestQuote - 1).isHighSurrogate() ? LongestQuote - 1 : LongestQuote;
    return QStringLiteral("'%1'").arg(isLong ? text.left(kept) + QStringLiteral("...") : text);
}
