#ifndef RECORDREADING_H
#define RECORDREADING_H

#include "support/messagecatcher.h"
#include "support/texts.h"
#include <json/elements.h>
#include <json/reader.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sstream>

// The object that the text holds.
inline json::Object toObject(const QString &text)
{
    std::istringstream stream(text.toLatin1().toStdString());
    json::Object object;
    json::Reader::Read(object, stream);
    return object;
}

// The values of all members called "name" in a text, in their order there.
inline QStringList namesIn(const QString &text)
{
    QRegularExpressionMatchIterator matches =
        QRegularExpression(latin1("\"name\" : \"([^\"]*)\"")).globalMatch(text);
    QStringList names;
    while (matches.hasNext())
        names.append(matches.next().captured(1));
    return names;
}

// How a record's reading of a text or an object ended.
struct RecordReading {
    QString result; // "true", "false", or what a json::Exception said
    QStringList warnings;
};

template <class Read>
RecordReading readingOf(const Read &read)
{
    MessageCatcher messages;
    QString result;
    try {
        result = latin1(read() ? "true" : "false");
    } catch (const json::Exception &error) {
        result = latin1(error.what());
    }
    return {result, messages.take()};
}

template <class Record>
RecordReading readObject(Record &record, const json::Object &object)
{
    return readingOf([&]() { return record.fromJson(object); });
}

template <class Record>
RecordReading readText(Record &record, const QString &text)
{
    return readingOf([&]() { return record.fromJsonString(text); });
}

template <class Record>
RecordReading readText(Record &record, const char *text)
{
    return readText(record, latin1(text));
}

#endif // RECORDREADING_H
