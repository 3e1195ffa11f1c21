#include "platform.h"

// shellapi.h needs windows.h before it.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on
#include <fcntl.h>
#include <io.h>

#include <csignal>

namespace
{

const int DefaultColumns = 80;

HANDLE handleOf(std::FILE *stream)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

} // namespace

CharacterSet prepareStreams()
{
    // Lines end in a line feed alone, as on the other systems.
    _setmode(_fileno(stdout), _O_BINARY);
    return GetConsoleOutputCP() == CP_UTF8 ? CharacterSet::Utf8 : CharacterSet::Ascii;
}

bool isTerminal(std::FILE *stream)
{
    return _isatty(_fileno(stream)) != 0;
}

bool canColor(std::FILE *stream)
{
    DWORD mode = 0;
    return isTerminal(stream) && GetConsoleMode(handleOf(stream), &mode) &&
           SetConsoleMode(handleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

int terminalColumns(std::FILE *stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    return GetConsoleScreenBufferInfo(handleOf(stream), &info) ? info.srWindow.Right - info.srWindow.Left + 1
                                                               : DefaultColumns;
}

bool waitForInput(int milliseconds)
{
    return WaitForSingleObject(GetStdHandle(STD_INPUT_HANDLE), static_cast<DWORD>(milliseconds)) ==
           WAIT_OBJECT_0;
}

QStringList commandLineWords(int, char *[])
{
    // argv lacks characters outside of the code page.
    int count = 0;
    wchar_t **words = CommandLineToArgvW(GetCommandLineW(), &count);
    QStringList result;
    for (int index = 1; words != nullptr && index < count; ++index)
        result << QString::fromWCharArray(words[index]);
    LocalFree(words);
    return result;
}

SignalHandler catchNextSignal(int number, SignalHandler handler)
{
    // std::signal() resets the handler after one signal here. A write cannot be interrupted.
    return std::signal(number, handler);
}
