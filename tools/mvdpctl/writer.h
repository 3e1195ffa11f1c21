#ifndef WRITER_H
#define WRITER_H

#include "arguments.h"
#include "terminal.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

// Writes the result of a command to standard output. A command passes its result twice: as records for
// scripts and as text for people. Each format uses one of them and ignores the other, so that commands do not
// depend on the format. The manual page promises the shapes of JSON and CSV to scripts.
//
// CSV is a table with a line of `columns` and a line for each record. The members of a record's "panel" are
// columns of the record itself; a missing or null value is an empty field. In JSON a record is an object.
class Writer
{
public:
    virtual ~Writer() = default;

    // The result when it is one record.
    virtual void record(const QStringList & /*columns*/, const QJsonObject & /*record*/) {}

    // Records written as they come. In JSON each is one line.
    virtual void begin(const QStringList & /*columns*/) {}
    // Records of a list. In JSON they are the member `name` of one document, printed at the end.
    virtual void beginList(const QStringList & /*columns*/, const QString & /*name*/) {}
    virtual void add(const QJsonObject & /*record*/) {}
    virtual void endList(int /*ignored*/) {} // how many datagrams were dropped

    virtual void print(const QStringList & /*lines*/) {}
    virtual void say(const QString & /*sentence*/) {} // broken between words on a terminal
    virtual void note(const QString & /*line*/) {}    // explains the text, on standard error
};

// By --json and --csv; text without them. Throws Failure with ExitCode::Usage when both are given. The
// terminal must outlive the writer.
std::unique_ptr<Writer> makeWriter(const Arguments &arguments, Terminal &terminal);

#endif // WRITER_H
