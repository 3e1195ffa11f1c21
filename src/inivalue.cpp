#include "inivalue.h"

#include <QtCore/QChar>

#include <cstring>

namespace
{

const char EscapeLetters[] = "abfnrtv\"?'\\";
const char EscapedCharacters[] = "\a\b\f\n\r\t\v\"?'\\";

int sizeOf(const QByteArray &bytes)
{
    return static_cast<int>(bytes.size());
}

bool isOctalDigit(char character)
{
    return character >= '0' && character <= '7';
}

// -1 for what is no digit.
int hexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

int skipBlanks(const QByteArray &text, int position)
{
    while (position < sizeOf(text) && isIniBlank(text.at(position)))
        ++position;
    return position;
}

// Qt drops a byte order mark in front. Inside a file it is a character like any other.
QString textFromUtf8(const char *bytes, int size)
{
    static const char Mark[] = "\xEF\xBB\xBF";
    QString text;
    for (; size >= 3 && std::memcmp(bytes, Mark, 3) == 0; bytes += 3, size -= 3)
        text += QChar(static_cast<ushort>(0xFEFF));
    text += QString::fromUtf8(bytes, size);
    return text;
}

bool isWellFormedUtf8(const QByteArray &bytes)
{
    return textFromUtf8(bytes.constData(), sizeOf(bytes)).toUtf8() == bytes;
}

// The number of an octal or hexadecimal escape; as many digits as there are, of which the last 16 bits count.
// Moves position behind them.
QChar numberedCharacter(const QByteArray &value, int &position, int bitsPerDigit)
{
    const int base = 1 << bitsPerDigit;
    quint32 code = 0;
    while (position < sizeOf(value)) {
        const int digit = hexDigit(value.at(position));
        if (digit < 0 || digit >= base)
            break;
        code = code << bitsPerDigit | static_cast<quint32>(digit);
        ++position;
    }
    return QChar(static_cast<ushort>(code & 0xFFFF));
}

// Adds what the escape at the backslash stands for, which is nothing for a line end and for an unknown one.
// Returns the position behind it.
int appendEscaped(const QByteArray &value, int backslash, QString &text)
{
    int position = backslash + 1;
    if (position == sizeOf(value))
        return position;
    const char letter = value.at(position);
    if (isOctalDigit(letter)) {
        text += numberedCharacter(value, position, 3);
        return position;
    }
    if (letter == 'x') {
        ++position;
        if (position < sizeOf(value) && hexDigit(value.at(position)) >= 0)
            text += numberedCharacter(value, position, 4);
        return position;
    }
    for (size_t i = 0; EscapeLetters[i] != '\0'; ++i) {
        if (letter == EscapeLetters[i])
            text += QLatin1Char(EscapedCharacters[i]);
    }
    return behindIniEscape(value, backslash);
}

// How QSettings reads a value that begins with "@". It writes values that are no text in this form, and texts
// that could be taken for such a value. "@String(" is written by Qt 5.15 and later for a text with a zero
// byte.
QString withoutTypeMark(const QString &text)
{
    if (!text.startsWith(QLatin1Char('@')))
        return text;
    if (text.startsWith(QLatin1String("@@")))
        return text.mid(1);
    if (!text.endsWith(QLatin1Char(')')))
        return text;
    static const char *const Texts[] = {"@ByteArray(", "@String("};
    for (size_t i = 0; i < sizeof Texts / sizeof Texts[0]; ++i) {
        const int length = static_cast<int>(std::strlen(Texts[i]));
        if (text.startsWith(QLatin1String(Texts[i])))
            return text.mid(length, static_cast<int>(text.size()) - length - 1);
    }
    static const char *const Others[] = {"@Variant(", "@Rect(", "@Size(", "@Point(", "@Invalid("};
    for (size_t i = 0; i < sizeof Others / sizeof Others[0]; ++i) {
        if (text.startsWith(QLatin1String(Others[i])))
            return QString();
    }
    return text;
}

} // namespace

QString iniValueText(const QByteArray &value, IniEncoding encoding)
{
    const bool utf8 = encoding == IniEncoding::Utf8 || isWellFormedUtf8(value);
    QString text;
    text.reserve(sizeOf(value));
    bool anyQuotes = false;
    bool quoted = false;
    int meant = 0; // the length up to the last escaped character: a blank before that is kept
    int position = skipBlanks(value, 0);
    while (position < sizeOf(value)) {
        const char character = value.at(position);
        if (character == '\\') {
            position = appendEscaped(value, position, text);
            meant = static_cast<int>(text.size());
        } else if (character == '"') {
            anyQuotes = true;
            quoted = !quoted;
            position = quoted ? position + 1 : skipBlanks(value, position + 1);
        } else {
            const int begin = position;
            while (position < sizeOf(value) && value.at(position) != '\\' && value.at(position) != '"')
                ++position;
            const char *const bytes = value.constData() + begin;
            text +=
                utf8 ? textFromUtf8(bytes, position - begin) : QString::fromLatin1(bytes, position - begin);
        }
    }
    while (!anyQuotes && text.size() > meant &&
           (text.endsWith(QLatin1Char(' ')) || text.endsWith(QLatin1Char('\t'))))
        text.chop(1);
    return withoutTypeMark(text);
}

bool isIniBlank(char character)
{
    return character == ' ' || character == '\t';
}

int behindIniEscape(const QByteArray &text, int backslash)
{
    int position = backslash + 2;
    if (position < sizeOf(text)) {
        const char first = text.at(backslash + 1);
        const char second = text.at(position);
        if ((first == '\n' && second == '\r') || (first == '\r' && second == '\n'))
            ++position;
    }
    return position < sizeOf(text) ? position : sizeOf(text);
}
