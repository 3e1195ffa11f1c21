#ifndef JSONFIELDS_H
#define JSONFIELDS_H

#include <json/elements.h>

#include <QtCore/QDebug>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

#include <string>

// Functions that all records use to read and write JSON. Text is converted to and from Latin-1; a character
// outside it becomes a question mark.

std::string toJsonText(const QString &text);
QString fromJsonText(const std::string &text);

// The text of an object as the JSON writer lays it out.
QString writeJsonObject(const json::Object &object);

// A message of the JSON library's, as an item of a warning: unquoted, as it stands. It holds bytes of the
// text that was read, which are Latin-1 like all text there; Qt 5 and 6 would take a plain const char * for
// UTF-8.
class JsonMessage
{
public:
    // The error has to outlive this.
    explicit JsonMessage(const json::Exception &error)
        : m_text(error.what())
    {
    }
    friend QDebug operator<<(QDebug debug, const JsonMessage &message);

private:
    const char *m_text;
};

// The four warnings of one record's text reading, each as it stands.
struct JsonReadWarnings {
    const char *emptyText;
    const char *parseError; // followed by the reader's own message
    const char *scanError;  // followed by the reader's own message
    const char *otherError;
};

// Reads one object from text; false, with the fitting warning, when the text is empty or cannot be read.
bool readJsonObject(const QString &text, const JsonReadWarnings &warnings, json::Object &object);

// The fromJsonString of every record: false when readJsonObject returns false. Whether fromJson then accepted
// the object is shown by its warnings only. Exceptions of fromJson pass through.
template <class Record>
bool readRecord(const QString &text, const JsonReadWarnings &warnings, Record &record)
{
    json::Object object;
    if (!readJsonObject(text, warnings, object))
        return false;
    record.fromJson(object);
    return true;
}

// Each stores the member called key in field; field stays as it was when the object lacks the member. A
// member of another JSON type throws json::Exception ("Bad cast"), which callers let pass.
void readText(const json::Object &object, const char *key, QString &field);
void readFlag(const json::Object &object, const char *key, bool &field);
// Truncates toward zero and saturates at the 32-bit limits; NaN is 0.
void readInteger(const json::Object &object, const char *key, qint32 &field);
// An array of strings; its elements are appended to what the field holds.
void readTexts(const json::Object &object, const char *key, QStringList &field);

// Each appends a member to an object that does not have it yet.
void addText(json::Object &object, const char *key, const QString &value);
void addFlag(json::Object &object, const char *key, bool value);
void addInteger(json::Object &object, const char *key, qint32 value);
void addTexts(json::Object &object, const char *key, const QStringList &values);

#endif // JSONFIELDS_H
