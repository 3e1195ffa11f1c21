#ifndef JSON_NUMBERS_H
#define JSON_NUMBERS_H

#include "standard.h"

#include <cmath>
#include <cstddef>
#include <iomanip>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

namespace json
{
namespace detail
{

inline bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

// The longest beginning of a token that can become a number: a minus, digits with at most one point, and
// after a digit an exponent with one sign.
struct NumberSyntax {
    NumberSyntax(const char *token, std::size_t size)
        : length(0)
        , complete(false)
    {
        if (size > 0 && token[0] == '-')
            ++length;
        bool point = false;
        for (; length < size && (isDigit(token[length]) || (token[length] == '.' && !point)); ++length) {
            if (token[length] == '.')
                point = true;
            else
                complete = true;
        }
        if (complete && length < size && (token[length] == 'e' || token[length] == 'E'))
            takeExponent(token, size);
    }

    std::size_t length;
    // True when this beginning is a number as it stands, unlike "-" or "1e".
    bool complete;

private:
    void takeExponent(const char *token, std::size_t size)
    {
        complete = false;
        ++length;
        if (length < size && (token[length] == '+' || token[length] == '-'))
            ++length;
        for (; length < size && isDigit(token[length]); ++length)
            complete = true;
    }
};

// Turns text into correctly rounded numbers, in the classic locale whatever the program's locale is.
class NumberReader
{
public:
    // The text must be a complete NumberSyntax. A number that is too large becomes the largest double.
    double read(const char *text, std::size_t size)
    {
        double value = 0;
        return readInteger(text, size, value) ? value : readAny(std::string(text, size));
    }

private:
    // The common case: integers so short that each step of the conversion is exact.
    static bool readInteger(const char *text, std::size_t size, double &value)
    {
        const std::size_t exactDigits = std::numeric_limits<double>::digits10;
        const bool negative = text[0] == '-';
        const char *const end = text + size;
        const char *digit = text + (negative ? 1 : 0);
        if (static_cast<std::size_t>(end - digit) > exactDigits)
            return false;
        for (; digit != end; ++digit) {
            if (!isDigit(*digit))
                return false;
            value = value * 10 + (*digit - '0');
        }
        if (negative)
            value = -value; // of 0 as well: "-0" is another number than "0"
        return true;
    }
    double readAny(const std::string &text)
    {
        if (!m_stream) {
            m_stream.reset(new std::istringstream);
            m_stream->imbue(std::locale::classic());
        }
        double value = 0;
        m_stream->clear();
        m_stream->str(text);
        *m_stream >> value;
        // Standard libraries differ on whether an overflow is the largest double or infinity.
        const double largest = (std::numeric_limits<double>::max)();
        return value > largest ? largest : value < -largest ? -largest : value;
    }

    std::unique_ptr<std::istringstream> m_stream; // made when first needed, because that is slow
};

// Turns numbers into text in the classic locale, with at most twenty significant digits. These show the exact
// binary value of usual numbers, and read back as the same double.
class NumberWriter
{
public:
    // Appends the number. NaN and the infinities have no JSON form and become null.
    void append(double value, std::string &text)
    {
        // All integers up to here are doubles, and shorter without an exponent.
        const double exact = 9007199254740992.0;
        if (value >= -exact && value <= exact) {
            const long long integer = static_cast<long long>(value);
            if (static_cast<double>(integer) == value && (integer != 0 || !std::signbit(value)))
                return appendInteger(integer, text);
        }
        const double largest = (std::numeric_limits<double>::max)();
        if (value >= -largest && value <= largest)
            appendAny(value, text);
        else
            text += "null";
    }

private:
    static void appendInteger(long long value, std::string &text)
    {
        char digits[20];
        char *const end = digits + sizeof digits;
        char *begin = end;
        long long rest = value < 0 ? -value : value;
        do {
            *--begin = static_cast<char>('0' + rest % 10);
            rest /= 10;
        } while (rest > 0);
        if (value < 0)
            *--begin = '-';
        text.append(begin, end);
    }
    void appendAny(double value, std::string &text)
    {
        if (!m_stream) {
            m_stream.reset(new std::ostringstream);
            m_stream->imbue(std::locale::classic());
            m_stream->precision(20);
        }
        m_stream->str(std::string());
        *m_stream << value;
        text += m_stream->str();
    }

    std::unique_ptr<std::ostringstream> m_stream; // as above
};

} // namespace detail
} // namespace json

#endif // JSON_NUMBERS_H
