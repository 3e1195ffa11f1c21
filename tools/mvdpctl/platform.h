#ifndef PLATFORM_H
#define PLATFORM_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdio>

// What operating systems do differently and Qt does not even out: the streams of a terminal program, its
// command line and its signals. platform_posix.cpp and platform_windows.cpp each have all of it.

// What a terminal can show. More than these three need not be told apart: the texts are Latin-1 at most.
enum class CharacterSet { Utf8, Latin1, Ascii };

// Sets up the standard streams, once and before anything else: reads the locale, which Qt changes later on.
CharacterSet prepareStreams();

bool isTerminal(std::FILE *stream);
// 80 when the terminal does not tell.
int terminalColumns(std::FILE *stream);

// The words behind the program's name.
QStringList commandLineWords(int argc, char *argv[]);

using SignalHandler = void (*)(int);
// Has the handler take the next signal of this number and cut short a write that waits for its reader; the
// one after that is again what it is to every program. Returns the handler before, for std::signal().
SignalHandler catchNextSignal(int number, SignalHandler handler);

#endif // PLATFORM_H
