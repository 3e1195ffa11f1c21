#include "platform.h"

#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace
{

const int DefaultColumns = 80;

// By the locale that prepareStreams() has set.
bool isLatin1()
{
    return std::strcmp(nl_langinfo(CODESET), "ISO-8859-1") == 0;
}

} // namespace

CharacterSet prepareStreams()
{
    // Only for the character set; numbers do not depend on the locale.
    std::setlocale(LC_CTYPE, "");
    const char *name = nl_langinfo(CODESET);
    if (std::strcmp(name, "UTF-8") == 0)
        return CharacterSet::Utf8;
    return isLatin1() ? CharacterSet::Latin1 : CharacterSet::Ascii;
}

bool isTerminal(std::FILE *stream)
{
    return isatty(fileno(stream)) != 0;
}

bool canColor(std::FILE *stream)
{
    const char *name = std::getenv("TERM");
    return isTerminal(stream) && name != nullptr && *name != '\0' && std::strcmp(name, "dumb") != 0;
}

int terminalColumns(std::FILE *stream)
{
    winsize size = {};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : DefaultColumns;
}

bool waitForInput(int milliseconds)
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, milliseconds) > 0;
}

QStringList commandLineWords(int argc, char *argv[])
{
    QStringList words;
    for (int index = 1; index < argc; ++index)
        words << (isLatin1() ? QString::fromLatin1(argv[index]) : QString::fromUtf8(argv[index]));
    return words;
}

SignalHandler catchNextSignal(int number, SignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // without SA_RESTART, so that a blocked write ends
    struct sigaction before = {};
    sigaction(number, &action, &before);
    return before.sa_handler;
}
