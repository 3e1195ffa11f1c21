#include "numbertext.h"

#include <QtCore/QtGlobal>

#include <limits>

namespace
{

// 16, which is too large for a digit of either base, for a character that is no digit.
int digitFromCharacter(QChar character)
{
    const ushort code = character.unicode();
    if (code >= '0' && code <= '9')
        return code - '0';
    if (code >= 'a' && code <= 'f')
        return code - 'a' + 10;
    if (code >= 'A' && code <= 'F')
        return code - 'A' + 10;
    return 16;
}

bool parseNumber(const QChar *text, int size, int base, int &number)
{
    int begin = 0;
    int end = size;
    while (begin < end && isWhiteSpace(text[begin]))
        ++begin;
    while (begin < end && isWhiteSpace(text[end - 1]))
        --end;
    const bool negative = begin < end && text[begin] == QLatin1Char('-');
    if (negative || (begin < end && text[begin] == QLatin1Char('+')))
        ++begin;
    // "0x" alone is not skipped; the x then makes it no number.
    if (base == 16 && end - begin > 2 && text[begin] == QLatin1Char('0') &&
        text[begin + 1].toLower() == QLatin1Char('x'))
        begin += 2;
    if (begin == end)
        return false;

    const qint64 largest = static_cast<qint64>(std::numeric_limits<int>::max()) + (negative ? 1 : 0);
    qint64 value = 0;
    for (int i = begin; i < end; ++i) {
        const int digit = digitFromCharacter(text[i]);
        if (digit >= base)
            return false;
        value = value * base + digit;
        if (value > largest)
            return false;
    }
    number = static_cast<int>(negative ? -value : value);
    return true;
}

} // namespace

int numberFromText(const QString &text, int base, bool *isNumber)
{
    return numberFromText(text.constData(), static_cast<int>(text.size()), base, isNumber);
}

int numberFromText(const QChar *text, int size, int base, bool *isNumber)
{
    int number = 0;
    const bool parsed = parseNumber(text, size, base, number);
    if (isNumber)
        *isNumber = parsed;
    return number;
}

bool isWhiteSpace(QChar character)
{
    return character.isSpace() || character.unicode() == 0x85;
}
