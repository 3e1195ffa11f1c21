#ifndef RECORDREADING_H
#define RECORDREADING_H

#include "support/messagecatcher.h"

#include <json/elements.h>

#include <QString>
#include <QStringList>

inline QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

// How a record's reading of a text ended.
struct RecordReading {
    QString result; // "true", "false", or what a json::Exception said
    QStringList warnings;
};

template <class Record>
RecordReading readText(Record &record, const QString &text)
{
    MessageCatcher messages;
    QString result;
    try {
        result = latin1(record.fromJsonString(text) ? "true" : "false");
    } catch (const json::Exception &error) {
        result = latin1(error.what());
    }
    return {result, messages.take()};
}

template <class Record>
RecordReading readText(Record &record, const char *text)
{
    return readText(record, latin1(text));
}

#endif // RECORDREADING_H
