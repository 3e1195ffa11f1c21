#ifndef PLATFORM_H
#define PLATFORM_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdio>

// Functions that differ between operating systems and that Qt does not provide: the standard streams, the
// command line and the signals. platform_posix.cpp and platform_windows.cpp each implement all of them.

// The characters that a terminal can show. These three are enough, because the texts are Latin-1 at most.
enum class CharacterSet { Utf8, Latin1, Ascii };

// Sets up the standard streams. To be called once and first: it reads the locale, which Qt changes later.
CharacterSet prepareStreams();

bool isTerminal(std::FILE *stream);
// True for a terminal that shows colors.
bool canColor(std::FILE *stream);
// 80 when the width is unknown.
int terminalColumns(std::FILE *stream);

// True when a line or the end of standard input, a terminal, arrives within so many milliseconds.
bool waitForInput(int milliseconds);

// The arguments after the program's name.
QStringList commandLineWords(int argc, char *argv[]);

using SignalHandler = void (*)(int);
// Installs the handler for the next signal of this number only; that signal also interrupts a blocked write.
// After it the signal has its default action again. Returns the previous handler, for std::signal().
SignalHandler catchNextSignal(int number, SignalHandler handler);

#endif // PLATFORM_H
