#include "jsonfields.h"

#include <json/reader.h>
#include <json/writer.h>

#include <QtCore/QByteArray>
#include <QtCore/QDebug>

#include <limits>
#include <sstream>

namespace
{

qint32 toInteger(double number)
{
    if (number != number)
        return 0;
    if (number <= std::numeric_limits<qint32>::min())
        return std::numeric_limits<qint32>::min();
    if (number >= std::numeric_limits<qint32>::max())
        return std::numeric_limits<qint32>::max();
    return static_cast<qint32>(number);
}

// An installed library reads streams alone.
void readDocument(const std::string &text, json::Object &object)
{
#ifdef MVDP_SYSTEM_JSON
    std::istringstream stream(text);
    json::Reader::Read(object, stream);
#else
    json::Reader::ReadText(object, text);
#endif
}

} // namespace

std::string toJsonText(const QString &text)
{
    const QByteArray latin1 = text.toLatin1();
    return std::string(latin1.constData(), static_cast<size_t>(latin1.size()));
}

QString fromJsonText(const std::string &text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

QString writeJsonObject(const json::Object &object)
{
    std::ostringstream stream;
    json::Writer::Write(object, stream);
    return fromJsonText(stream.str());
}

QDebug operator<<(QDebug debug, const JsonMessage &message)
{
#if QT_VERSION >= 0x050000
    // Not as a QString: it would be printed in quotes, and Qt 4 cannot print it without.
    return debug << QString::fromLatin1(message.m_text).toUtf8().constData();
#else
    return debug << message.m_text;
#endif
}

bool readJsonObject(const QString &text, const JsonReadWarnings &warnings, json::Object &object)
{
    if (text.isEmpty()) {
        qWarning() << warnings.emptyText;
        return false;
    }
    try {
        readDocument(toJsonText(text), object);
        return true;
    } catch (const json::Reader::ParseException &error) {
        qWarning() << warnings.parseError << JsonMessage(error);
    } catch (const json::Reader::ScanException &error) {
        qWarning() << warnings.scanError << JsonMessage(error);
    } catch (...) {
        qWarning() << warnings.otherError;
    }
    return false;
}

void readText(const json::Object &object, const char *key, QString &field)
{
    const json::Object::const_iterator member = object.Find(key);
    if (member == object.End())
        return;
    const json::String &value = member->element;
    field = fromJsonText(value.Value());
}

void readFlag(const json::Object &object, const char *key, bool &field)
{
    const json::Object::const_iterator member = object.Find(key);
    if (member == object.End())
        return;
    const json::Boolean &value = member->element;
    field = value.Value();
}

void readInteger(const json::Object &object, const char *key, qint32 &field)
{
    const json::Object::const_iterator member = object.Find(key);
    if (member == object.End())
        return;
    const json::Number &value = member->element;
    field = toInteger(value.Value());
}

void readTexts(const json::Object &object, const char *key, QStringList &field)
{
    const json::Object::const_iterator member = object.Find(key);
    if (member == object.End())
        return;
    const json::Array &values = member->element;
    for (json::Array::const_iterator value = values.Begin(); value != values.End(); ++value) {
        const json::String &text = *value;
        field.append(fromJsonText(text.Value()));
    }
}

void addText(json::Object &object, const char *key, const QString &value)
{
    object.Insert(json::Object::Member(key, json::String(toJsonText(value))));
}

void addFlag(json::Object &object, const char *key, bool value)
{
    object.Insert(json::Object::Member(key, json::Boolean(value)));
}

void addInteger(json::Object &object, const char *key, qint32 value)
{
    object.Insert(json::Object::Member(key, json::Number(value)));
}

void addTexts(json::Object &object, const char *key, const QStringList &values)
{
    json::Array array;
    for (int i = 0; i < values.size(); ++i)
        array.Insert(json::String(toJsonText(values.at(i))));
    object.Insert(json::Object::Member(key, array));
}
