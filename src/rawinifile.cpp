#include "rawinifile.h"

#include "inivalue.h"
#include "numbertext.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QIODevice>
#include <QtCore/QString>

namespace
{

// The factory file has a few hundred bytes. A much larger file is not read in full.
const qint64 LargestFile = 1 << 20;

// A limit for the characters in all keys together. Each key contains its section's name, so a long section
// name with many keys would need many times the size of the file.
const int MostKeyCharacters = 4 << 20;

const char Utf8Mark[] = "\xEF\xBB\xBF";

// A line's place in the file, without indentation and line end. Not empty.
struct Line {
    int begin;
    int end;
    int equals; // the first outside quotes; -1: there is none
};

int sizeOf(const QByteArray &bytes)
{
    return static_cast<int>(bytes.size());
}

bool isLineEnd(char character)
{
    return character == '\n' || character == '\r';
}

int skipComment(const QByteArray &file, int position)
{
    while (position < sizeOf(file) && !isLineEnd(file.at(position)))
        ++position;
    return position;
}

// Finds the next line behind position that is not empty, and moves position to its end. A line continues over
// a line end between quotes or behind a backslash. This holds for keys and sections as well as for values.
bool nextLine(const QByteArray &file, int &position, Line &line)
{
    while (position < sizeOf(file)) {
        const char character = file.at(position);
        if (character == ';')
            position = skipComment(file, position);
        else if (isIniBlank(character) || isLineEnd(character))
            ++position;
        else
            break;
    }
    line.begin = position;
    line.equals = -1;
    bool quoted = false;
    while (position < sizeOf(file)) {
        const char character = file.at(position);
        if (!quoted && (character == ';' || isLineEnd(character)))
            break;
        if (character == '"')
            quoted = !quoted;
        else if (character == '=' && !quoted && line.equals < 0)
            line.equals = position;
        position = character == '\\' ? behindIniEscape(file, position) : position + 1;
    }
    line.end = position;
    return line.end > line.begin;
}

// The character that a number behind a percent sign stands for, as "E9" or "U20AC"; moves position behind it.
// False where no such number follows; the percent sign then stands for itself.
bool escapedNameCharacter(const QByteArray &name, int &position, QChar &character)
{
    const bool four = position < sizeOf(name) && name.at(position) == 'U';
    const int begin = position + (four ? 1 : 0);
    const int end = begin + (four ? 4 : 2);
    if (end > sizeOf(name))
        return false;
    bool isNumber = false;
    const int code =
        numberFromText(QString::fromLatin1(name.constData() + begin, end - begin), 16, &isNumber);
    if (!isNumber)
        return false;
    character = QChar(static_cast<ushort>(code));
    position = end;
    return true;
}

// "options\devicename" is "options/devicename"; %20 is a blank, %U20AC a euro sign.
QString nameFromFile(const QByteArray &name)
{
    QString text;
    text.reserve(sizeOf(name));
    int position = 0;
    while (position < sizeOf(name)) {
        const char character = name.at(position++);
        QChar escaped;
        if (character == '\\')
            text += QLatin1Char('/');
        else if (character == '%' && escapedNameCharacter(name, position, escaped))
            text += escaped;
        else
            text += QLatin1Char(character);
    }
    return text;
}

// The prefix of the keys in a section. Keys in the section "General" have none; a group of that name is
// written "%General".
QString prefixOfSection(const QByteArray &line)
{
    const int bracket = static_cast<int>(line.indexOf(']'));
    const QByteArray name = line.mid(1, bracket < 0 ? -1 : bracket - 1).trimmed();
    const QByteArray lowered = name.toLower();
    if (lowered == "general")
        return QString();
    const QString group =
        lowered == "%general" ? QString::fromLatin1(name.constData() + 1) : nameFromFile(name);
    return group + QLatin1Char('/');
}

// Blanks before the equals sign do not belong to the key. Empty for a line without a key.
QString keyOfEntry(const QString &prefix, QByteArray name)
{
    while (!name.isEmpty() && isIniBlank(name.at(name.size() - 1)))
        name.chop(1);
    return name.isEmpty() ? QString() : (prefix + nameFromFile(name)).toLower();
}

bool refuseToWrite(QIODevice &, const QSettings::SettingsMap &)
{
    return false;
}

} // namespace

QSettings::Format rawIniFormat()
{
    static const QSettings::Format format =
        QSettings::registerFormat(QLatin1String("ini"), readRawIni, refuseToWrite);
    return format;
}

bool readRawIni(QIODevice &device, QSettings::SettingsMap &entries)
{
    if (!device.isReadable())
        return false;
    const QByteArray file = device.read(LargestFile);
    const bool marked = file.startsWith(Utf8Mark);
    int position = marked ? 3 : 0;
    // "b" in the section "a", "a\b" without a section and "B" in the section "A" are the same key. As with
    // Qt's reader, the entry in the longest section counts, and of several in the same section the last.
    QHash<QString, int> heldPrefixSizes;
    int charactersLeft = MostKeyCharacters;
    QString prefix;
    Line line;
    while (nextLine(file, position, line)) {
        if (file.at(line.begin) == '[') {
            prefix = prefixOfSection(file.mid(line.begin, line.end - line.begin));
            continue;
        }
        if (line.equals < 0)
            continue;
        charactersLeft -= static_cast<int>(prefix.size()) + line.equals - line.begin;
        if (charactersLeft < 0)
            break;
        const QString key = keyOfEntry(prefix, file.mid(line.begin, line.equals - line.begin));
        int &heldPrefixSize = heldPrefixSizes[key];
        const int prefixSize = static_cast<int>(prefix.size());
        if (key.isEmpty() || prefixSize < heldPrefixSize)
            continue;
        heldPrefixSize = prefixSize;
        entries.insert(key, iniValueText(file.mid(line.equals + 1, line.end - line.equals - 1),
                                         marked ? IniEncoding::Utf8 : IniEncoding::FromBytes));
    }
    return true;
}
