#ifndef TERMINAL_H
#define TERMINAL_H

#include "platform.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdio>

// Standard output, standard error and the question to the user. Results go to standard output and nothing
// else does, so that they can be piped; the rest goes to standard error.
class Terminal
{
public:
    explicit Terminal(CharacterSet characterSet);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void setQuiet(bool quiet) { m_quiet = quiet; }
    void setVerbose(bool verbose) { m_verbose = verbose; }
    bool isVerbose() const { return m_verbose; }

    void print(const QString &line);         // result
    void say(const QString &sentence);       // result; on a terminal broken between words
    void printUtf8(const QByteArray &lines); // result, UTF-8 in every locale
    void error(const QString &line);         // "mvdpctl: line", always
    void warn(const QString &line);          // "mvdpctl: line", not when quiet
    void note(const QString &line);          // plain, not when quiet
    void trace(const QString &lines);        // plain, only when verbose
    // For whoever sits in front of it: like a note, but only on a terminal.
    void hint(const QString &line);
    // A table that belongs to a question or to progress: on standard error, not wrapped.
    void noteTable(const QStringList &lines, bool evenIfQuiet);
    // What is going on, in one line that the next output replaces; only on a terminal.
    void progress(const QString &line);
    // Stands before each line of progress from now on: which of many panels it is.
    void setProgressPrefix(const QString &prefix) { m_progressPrefix = prefix; }

    // True when there is a person to ask.
    bool canAsk() const;
    // True when the answer was "yes" or "y".
    bool ask(const QString &question);

    // False once a result could not be written: nobody reads it any more, or the disk is full.
    bool canPrint() const;

    // Columns of standard output; 0 when it is no terminal, that is, when nothing need be cut.
    int columns() const;

private:
    QByteArray encode(const QString &text) const;
    void write(FILE *stream, const QString &line);
    void writeMessage(const QString &line);
    void clearProgress();

    CharacterSet m_characterSet;
    QString m_progressPrefix;
    bool m_quiet = false;
    bool m_verbose = false;
    bool m_progressShown = false;
};

// The line without characters that steer a terminal, change the direction of text or begin a line of their
// own; they become '?'. The last guard for texts from the command line and from files.
QString printable(const QString &line);

// The text in a character set that can be less than Unicode: what it lacks becomes '?'.
QByteArray toAscii(const QString &text);

// Breaks a line between words. What follows the first line is indented, so that text from the network cannot
// pass for a line of its own.
QString wrapped(const QString &line, int columns);

#endif // TERMINAL_H
