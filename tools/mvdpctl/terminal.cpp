#include "terminal.h"

#include "textfile.h"

namespace
{

// Short enough for a person not to notice.
const int LookMilliseconds = 100;

} // namespace

Terminal::Terminal(CharacterSet characterSet)
    : m_characterSet(characterSet)
{
}

Terminal::~Terminal()
{
    clearProgress();
}

void Terminal::setColor(ColorUse use)
{
    const bool isUnwanted = !qEnvironmentVariableIsEmpty("NO_COLOR");
    m_color = use == ColorUse::Always || (use == ColorUse::Auto && !isUnwanted && canColor(stdout));
}

void Terminal::print(const QString &line)
{
    write(stdout, line);
}

void Terminal::say(const QString &sentence)
{
    const QString safe = printable(sentence);
    print(columns() > 0 ? wrapped(safe, columns()) : safe);
}

void Terminal::printUtf8(const QByteArray &lines)
{
    clearProgress();
    std::fwrite(lines.constData(), 1, static_cast<std::size_t>(lines.size()), stdout);
    std::fflush(stdout);
}

void Terminal::error(const QString &line)
{
    writeMessage(QStringLiteral("mvdpctl: ") + line);
}

void Terminal::warn(const QString &line)
{
    if (!m_quiet)
        error(line);
}

void Terminal::note(const QString &line)
{
    if (!m_quiet)
        writeMessage(line);
}

void Terminal::hint(const QString &line)
{
    if (isTerminal(stderr))
        note(line);
}

void Terminal::noteTable(const QStringList &lines, bool evenIfQuiet)
{
    if (m_quiet && !evenIfQuiet)
        return;
    for (const QString &line : lines)
        write(stderr, printable(line));
}

void Terminal::trace(const QString &lines)
{
    if (m_verbose)
        write(stderr, lines);
}

void Terminal::progress(const QString &line)
{
    if (m_quiet || m_verbose || !isTerminal(stderr) || (m_progressColumns > 0 && line == m_progressLine))
        return;
    clearProgress();
    m_progressLine = line;
    // A wrapped line could not be erased.
    const QString shown = printable(m_progressPrefix + line).left(terminalColumns(stderr) - 1);
    std::fputs(encode(shown).constData(), stderr);
    std::fflush(stderr);
    m_progressColumns = static_cast<int>(shown.size());
}

bool Terminal::canAsk() const
{
    return isTerminal(stdin) && isTerminal(stderr);
}

bool Terminal::ask(const QString &question)
{
    clearProgress();
    const QString text = printable(question) + QStringLiteral(" [y/N] ");
    std::fputs(encode(wrapped(text, terminalColumns(stderr))).constData(), stderr);
    std::fflush(stderr);
    char answer[16] = {};
    if (std::fgets(answer, sizeof answer, stdin) == nullptr) {
        // Later output starts on a line of its own.
        std::fputc('\n', stderr);
        return false;
    }
    const QByteArray word = QByteArray(answer).trimmed().toLower();
    return word == "y" || word == "yes";
}

std::optional<QString> Terminal::readLine(const QString &prompt, const std::function<bool()> &isInterrupted)
{
    clearProgress();
    std::fputs(encode(printable(prompt)).constData(), stderr);
    std::fflush(stderr);
    QByteArray bytes;
    char piece[256];
    // Once the terminal has a line, it has all of it.
    while (!isInterrupted() && !waitForInput(LookMilliseconds)) {
    }
    while (!bytes.endsWith('\n')) {
        if (isInterrupted() || std::fgets(piece, sizeof piece, stdin) == nullptr) {
            std::fputc('\n', stderr);
            return std::nullopt;
        }
        bytes.append(piece);
    }
    return (m_characterSet == CharacterSet::Latin1 ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes))
        .trimmed();
}

bool Terminal::canPrint() const
{
    return std::ferror(stdout) == 0;
}

int Terminal::columns() const
{
    return isTerminal(stdout) ? terminalColumns(stdout) : 0;
}

QByteArray Terminal::encode(const QString &text) const
{
    switch (m_characterSet) {
    case CharacterSet::Utf8:
        return text.toUtf8();
    case CharacterSet::Latin1:
        return text.toLatin1();
    case CharacterSet::Ascii:
        break;
    }
    return toAscii(text);
}

void Terminal::write(FILE *stream, const QString &line)
{
    clearProgress();
    std::fputs(encode(line + QLatin1Char('\n')).constData(), stream);
    std::fflush(stream);
}

void Terminal::writeMessage(const QString &line)
{
    const QString safe = printable(line);
    write(stderr, isTerminal(stderr) ? wrapped(safe, terminalColumns(stderr)) : safe);
}

void Terminal::clearProgress()
{
    if (m_progressColumns == 0)
        return;
    // Blanks instead of an escape sequence: every terminal has them.
    const QByteArray blanks(m_progressColumns, ' ');
    std::fprintf(stderr, "\r%s\r", blanks.constData());
    std::fflush(stderr);
    m_progressColumns = 0;
}

QString printable(const QString &line)
{
    QString text = line;
    for (QChar &character : text) {
        if (isControl(character))
            character = QLatin1Char('?');
    }
    return text;
}

QByteArray toAscii(const QString &text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar character : text)
        bytes.append(character.unicode() < 0x80 ? static_cast<char>(character.unicode()) : '?');
    return bytes;
}

QString wrapped(const QString &line, int columns)
{
    QString text;
    QString current;
    for (const QString &word : line.split(QLatin1Char(' '))) {
        if (current.isEmpty()) {
            current = word;
        } else if (current.size() + 1 + word.size() <= columns) {
            current += QLatin1Char(' ') + word;
        } else {
            text += current + QLatin1Char('\n');
            current = QStringLiteral("  ") + word;
        }
    }
    return text + current;
}
