#include "terminal.h"

#include <QtCore/QStringList>

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>

namespace
{

const int DefaultColumns = 80;

} // namespace

Terminal::Terminal()
    : m_characterSet(CharacterSet::Ascii)
{
    const char *name = nl_langinfo(CODESET);
    if (std::strcmp(name, "UTF-8") == 0)
        m_characterSet = CharacterSet::Utf8;
    else if (std::strcmp(name, "ISO-8859-1") == 0)
        m_characterSet = CharacterSet::Latin1;
}

Terminal::~Terminal()
{
    clearProgress();
}

void Terminal::print(const QString &line)
{
    write(stdout, line);
}

void Terminal::printJson(const QByteArray &json)
{
    clearProgress();
    std::fwrite(json.constData(), 1, static_cast<std::size_t>(json.size()), stdout);
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

void Terminal::trace(const QString &lines)
{
    if (m_verbose)
        write(stderr, lines);
}

void Terminal::progress(const QString &line)
{
    if (m_quiet || m_verbose || isatty(STDERR_FILENO) == 0)
        return;
    clearProgress();
    std::fputs(encode(line).constData(), stderr);
    std::fflush(stderr);
    m_progressShown = true;
}

bool Terminal::canAsk() const
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

bool Terminal::ask(const QString &question)
{
    clearProgress();
    std::fputs(encode(question + QStringLiteral(" [y/N] ")).constData(), stderr);
    std::fflush(stderr);
    char answer[16] = {};
    if (std::fgets(answer, sizeof answer, stdin) == nullptr)
        return false;
    const QByteArray word = QByteArray(answer).trimmed().toLower();
    return word == "y" || word == "yes";
}

int Terminal::columns() const
{
    winsize size = {};
    if (isatty(STDOUT_FILENO) == 0)
        return 0;
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : DefaultColumns;
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
    winsize size = {};
    const bool isTerminal = isatty(STDERR_FILENO) != 0;
    const bool knowsSize = isTerminal && ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    write(stderr, isTerminal ? wrapped(line, knowsSize ? size.ws_col : DefaultColumns) : line);
}

void Terminal::clearProgress()
{
    if (!m_progressShown)
        return;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    m_progressShown = false;
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
