#ifndef JSONTEXT_H
#define JSONTEXT_H

#include <json/reader.h>
#include <json/writer.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QString>

#include <cstddef>
#include <istream>
#include <sstream>
#include <string>

namespace jsontext
{

inline std::string toStd(const QByteArray &bytes)
{
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

inline QByteArray toBytes(const std::string &text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

// A new value of this kind, read from the text; throws what the Reader throws.
template <typename T>
T read(const std::string &text)
{
    std::istringstream stream(text);
    T value;
    json::Reader::Read(value, stream);
    return value;
}

template <typename T>
QByteArray written(const T &value)
{
    std::ostringstream stream;
    json::Writer::Write(value, stream);
    return toBytes(stream.str());
}

// How reading the text into the value ends: "ok", or the kind of the error and its message.
template <typename T>
QByteArray outcome(T &value, std::istream &stream)
{
    try {
        json::Reader::Read(value, stream);
        return "ok";
    } catch (const json::Reader::ScanException &error) {
        return QByteArray("scan: ") + error.what();
    } catch (const json::Reader::ParseException &error) {
        return QByteArray("parse: ") + error.what();
    }
}

template <typename T>
QByteArray outcome(T &value, const std::string &text)
{
    std::istringstream stream(text);
    return outcome(value, stream);
}

// Undoes the tables' escapes: \n \t \r \" \\ and three octal digits.
inline QByteArray unescaped(const QByteArray &field)
{
    QByteArray bytes;
    for (int i = 0; i < field.size(); ++i) {
        if (field.at(i) != '\\') {
            bytes.append(field.at(i));
            continue;
        }
        const char letter = field.at(++i);
        switch (letter) {
        case 'n':
            bytes.append('\n');
            break;
        case 't':
            bytes.append('\t');
            break;
        case 'r':
            bytes.append('\r');
            break;
        case '"':
        case '\\':
            bytes.append(letter);
            break;
        default:
            bytes.append(static_cast<char>(field.mid(i, 3).toInt(nullptr, 8)));
            i += 2;
        }
    }
    return bytes;
}

// The lines of a table, each split at its tabs and still escaped; empty when it cannot be read.
inline QList<QList<QByteArray>> table(const char *fileName)
{
    QList<QList<QByteArray>> lines;
    QFile file(QString::fromLocal8Bit(fileName));
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        lines.append(line.split('\t'));
    }
    return lines;
}

} // namespace jsontext

#endif // JSONTEXT_H
