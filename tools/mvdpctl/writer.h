#ifndef WRITER_H
#define WRITER_H

#include "arguments.h"
#include "terminal.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

// The result of a command on its way to standard output. A command hands over its result twice: as records
// for scripts and as text for people. Each format takes the one and drops the other, so that commands need
// not know which it is. The manual page promises the shapes of JSON and CSV to scripts.
//
// CSV is a table with a line of `columns` and a line for each record. There the members of a record's "panel"
// are members of the record itself; what is missing or null is an empty field. In JSON a record is an object.
class Writer
{
public:
    virtual ~Writer() = default;

    // The only record of a result.
    virtual void record(const QStringList & /*columns*/, const QJsonObject & /*record*/) {}

    // Records as they come. In JSON each is a line.
    virtual void begin(const QStringList & /*columns*/) {}
    // Records of a list. In JSON they are the member `name` of one document, printed at the end.
    virtual void beginList(const QStringList & /*columns*/, const QString & /*name*/) {}
    virtual void add(const QJsonObject & /*record*/) {}
    virtual void endList(int /*ignored*/) {} // how many datagrams were dropped

    virtual void print(const QStringList & /*lines*/) {}
    virtual void say(const QString & /*sentence*/) {} // broken between words on a terminal
    virtual void note(const QString & /*line*/) {}    // explains the text, on standard error
};

// As --json, --csv or neither wants it. Throws Failure with ExitCode::Usage when both are there. The terminal
// must outlive the writer.
std::unique_ptr<Writer> makeWriter(const Arguments &arguments, Terminal &terminal);

#endif // WRITER_H
