#ifndef TERMINAL_H
#define TERMINAL_H

#include "platform.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdio>
#include <functional>
#include <optional>

// When results are colored. Auto: on a terminal that has colors, unless the environment has NO_COLOR.
enum class ColorUse { Auto, Always, Never };

// Standard output, standard error and questions to the user. Only results go to standard output, so that they
// can be piped; the rest goes to standard error.
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
    void setColor(ColorUse use);
    // True when results may be colored.
    bool hasColor() const { return m_color; }

    void print(const QString &line);         // result
    void say(const QString &sentence);       // result; on a terminal broken between words
    void printUtf8(const QByteArray &lines); // result, UTF-8 in every locale
    void error(const QString &line);         // "mvdpctl: line", always
    void warn(const QString &line);          // "mvdpctl: line", not when quiet
    void note(const QString &line);          // plain, not when quiet
    void trace(const QString &lines);        // plain, only when verbose
    // Like a note, but only when standard error is a terminal.
    void hint(const QString &line);
    // A table that belongs to a question or to progress: on standard error, not wrapped.
    void noteTable(const QStringList &lines, bool evenIfQuiet);
    // The current activity, in one line that the next output replaces; only on a terminal.
    void progress(const QString &line);
    // The start of each later line of progress, for example which of many panels it is about.
    void setProgressPrefix(const QString &prefix)
    {
        m_progressPrefix = prefix;
        m_progressLine.clear();
    }

    // True when the user can be asked.
    bool canAsk() const;
    // True when the answer was "yes" or "y".
    bool ask(const QString &question);
    // A line before a question, also when quiet.
    void question(const QString &line) { writeMessage(line); }
    // The next line of standard input, without blanks at its ends; nothing at its end, and soon after
    // `isInterrupted` is true. A signal alone does not end a read that begins just after it.
    std::optional<QString> readLine(const QString &prompt, const std::function<bool()> &isInterrupted);

    // False once a result could not be written, because the reader closed the pipe or the disk is full.
    bool canPrint() const;

    // Columns of standard output; 0, that is, no limit, when it is no terminal.
    int columns() const;

private:
    QByteArray encode(const QString &text) const;
    void write(FILE *stream, const QString &line);
    void writeMessage(const QString &line);
    void clearProgress();

    CharacterSet m_characterSet;
    QString m_progressPrefix;
    QString m_progressLine; // without the prefix
    bool m_quiet = false;
    bool m_verbose = false;
    bool m_color = false;
    int m_progressColumns = 0; // of the line that is shown
};

// Replaces by '?' the characters that control a terminal, change the direction of text or start a new line.
// The last check of texts from the command line and from files.
QString printable(const QString &line);

// The text in a character set smaller than Unicode; characters that it lacks become '?'.
QByteArray toAscii(const QString &text);

// Breaks a line between words. All lines but the first are indented, so that text from the network cannot
// look like a line of its own.
QString wrapped(const QString &line, int columns);

#endif // TERMINAL_H
