#ifndef JSON_NUMBERS_H
#define JSON_NUMBERS_H

#include <cstddef>
#include <iomanip>
#include <limits>
#include <locale>
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

/**
 * The longest start of a token that can become a number: a minus, digits with at most one point, and
 * after a digit an exponent with one sign.
 */
struct NumberSyntax {
    explicit NumberSyntax(const std::string &token)
        : length(0)
        , complete(false)
    {
        if (token[0] == '-')
            ++length;
        bool point = false;
        for (; length < token.size() && (isDigit(token[length]) || (token[length] == '.' && !point));
             ++length) {
            if (token[length] == '.')
                point = true;
            else
                complete = true;
        }
        if (complete && length < token.size() && (token[length] == 'e' || token[length] == 'E'))
            takeExponent(token);
    }

    std::size_t length;
    /** Whether this start is a number as it stands: not "-" or "1e". */
    bool complete;

private:
    void takeExponent(const std::string &token)
    {
        complete = false;
        ++length;
        if (length < token.size() && (token[length] == '+' || token[length] == '-'))
            ++length;
        for (; length < token.size() && isDigit(token[length]); ++length)
            complete = true;
    }
};

/** Turns text into numbers, rounding correctly, in the classic locale whatever the program's is. */
class NumberReader
{
public:
    NumberReader() { m_stream.imbue(std::locale::classic()); }

    /** The text must be a complete NumberSyntax. What is too large becomes the largest double. */
    double read(const std::string &text)
    {
        double value = 0;
        m_stream.clear();
        m_stream.str(text);
        m_stream >> value;
        // Standard libraries differ on whether an overflow is the largest double or infinity.
        const double largest = std::numeric_limits<double>::max();
        return value > largest ? largest : value < -largest ? -largest : value;
    }

private:
    std::istringstream m_stream;
};

/**
 * Turns numbers into text in the classic locale: twenty significant digits at most, which show the exact
 * binary value of what people write. Reads back as the same double.
 */
class NumberWriter
{
public:
    NumberWriter()
    {
        m_stream.imbue(std::locale::classic());
        m_stream.precision(20);
    }

    /** NaN and the infinities have no JSON form and become null. */
    std::string write(double value)
    {
        const double largest = std::numeric_limits<double>::max();
        if (!(value >= -largest && value <= largest))
            return "null";
        m_stream.str(std::string());
        m_stream << value;
        return m_stream.str();
    }

private:
    std::ostringstream m_stream;
};

} // namespace detail
} // namespace json

#endif // JSON_NUMBERS_H
