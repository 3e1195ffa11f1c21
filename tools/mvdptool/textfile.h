#ifndef TEXTFILE_H
#define TEXTFILE_H

#include "toolerror.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <utility>
#include <vector>

// A text that the user edits in a file, and what is wrong with it. Mistakes are collected, so that the user
// sees all of them at once.
class TextFile
{
public:
    using Offset = decltype(QString().size());

    // `name` is the file's, for messages; `kind` and `advice` are those of the errors. Throws ToolError for
    // bytes that are no UTF-8, for UTF-16 and for zero bytes.
    TextFile(const QByteArray &bytes, const QString &name, ToolError::Kind kind, const QString &advice);

    // The content of a file of 4 MiB at most. Throws ToolError.
    static QByteArray bytesOf(const QString &path);
    static QByteArray bytesOfStandardInput(); // the same

    const QString &text() const { return m_text; } // without the byte order mark
    bool hasByteOrderMark() const { return m_hasByteOrderMark; }

    // Counted from 1. Lines end in line feed, carriage return or both.
    int lineOf(Offset at) const;
    // "plan.csv:5" and "plan.csv:5:12". The second number counts the characters of the line from 1, as
    // editors do.
    QString linePlace(Offset at) const;
    QString place(Offset at) const;

    void addMistake(Offset at, const QString &what);
    std::size_t mistakeCount() const { return m_mistakes.size(); }
    // Throws ToolError when there are mistakes: the first twenty, in their order, one in each line. The first
    // is the message and the others are its details.
    void throwMistakes() const;
    // The same with one mistake of the file as a whole, when there is no other.
    [[noreturn]] void throwMistake(const QString &what) const;

private:
    QString m_text;
    bool m_hasByteOrderMark = false;
    QString m_name;
    ToolError::Kind m_kind;
    QString m_advice;
    std::vector<Offset> m_lineStarts;
    std::vector<std::pair<Offset, QString>> m_mistakes;
};

// True for characters that control a terminal, change the direction of text or start a new line.
bool isControl(QChar character);

// Without blanks at its ends, and with a blank in place of each such character.
QString oneLine(const QString &text);

// In quotation marks, and cut when it is long: for messages.
QString quoted(const QString &text);

#endif // TEXTFILE_H
