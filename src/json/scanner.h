#ifndef JSON_SCANNER_H
#define JSON_SCANNER_H

#include "readererrors.h"
#include "source.h"

#include <string>

namespace json
{
namespace detail
{

struct Token {
    enum Type {
        End,
        ObjectBegin,
        ObjectEnd,
        ArrayBegin,
        ArrayEnd,
        Comma,
        Colon,
        Text,
        Number,
        True,
        False,
        Null
    };

    Token()
        : type(End)
    {
    }

    Type type;
    std::string text; // as messages show it: of a string the decoded content
    ReaderErrors::Location begin;
    ReaderErrors::Location end; // one past the last byte
};

/** Cuts a document into tokens; what is none is ReaderErrors::ScanException. */
class Scanner
{
public:
    explicit Scanner(Source &source)
        : m_source(source)
    {
    }

    /**
     * The next token, valid until the following call. After the last one comes End, which keeps that
     * one's place: there a document that is cut short is reported.
     */
    const Token &next();

private:
    // The classic locale's white space, without asking any locale.
    static bool isSpace(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }
    static bool isDigit(int byte) { return byte >= '0' && byte <= '9'; }
    // NUL belongs to it, so that one behind a number is reported as a mistake in the number.
    static bool isNumberPart(int byte)
    {
        return isDigit(byte) || byte == '.' || byte == 'e' || byte == 'E' || byte == '+' || byte == '-' ||
               byte == '\0';
    }
    static int hexadecimalValue(int byte);

    void scanToken();
    void scanPunctuation(Token::Type type);
    void scanLiteral(Token::Type type, const char *name);
    void scanNumber();
    void scanText();
    char scanEscape();
    char scanCodePoint();
    [[noreturn]] void fail(const std::string &message) const
    {
        throw ReaderErrors::ScanException(message, m_source.location());
    }
    [[noreturn]] static void failEscape(int letter, const ReaderErrors::Location &place)
    {
        throw ReaderErrors::ScanException(std::string("Unrecognized escape sequence found in string: \\") +
                                              static_cast<char>(letter),
                                          place);
    }

    Source &m_source;
    Token m_token;
};

inline const Token &Scanner::next()
{
    while (isSpace(m_source.peek()))
        m_source.take();

    if (m_source.peek() == Source::End && !m_source.failed()) {
        m_token.type = Token::End;
        m_token.text.clear();
        return m_token;
    }
    m_token.begin = m_source.location();
    m_token.text.clear();
    scanToken();
    m_token.end = m_source.location();
    return m_token;
}

inline void Scanner::scanToken()
{
    const int byte = m_source.peek();
    switch (byte) {
    case '{':
        return scanPunctuation(Token::ObjectBegin);
    case '}':
        return scanPunctuation(Token::ObjectEnd);
    case '[':
        return scanPunctuation(Token::ArrayBegin);
    case ']':
        return scanPunctuation(Token::ArrayEnd);
    case ',':
        return scanPunctuation(Token::Comma);
    case ':':
        return scanPunctuation(Token::Colon);
    case '"':
        return scanText();
    case 't':
        return scanLiteral(Token::True, "true");
    case 'f':
        return scanLiteral(Token::False, "false");
    case 'n':
        return scanLiteral(Token::Null, "null");
    default:
        break;
    }
    if (byte == '-' || isDigit(byte))
        return scanNumber();
    // A stream that cannot be read shows as byte 0xFF, the low byte of End.
    fail(std::string("Unexpected character in stream: ") + static_cast<char>(byte));
}

inline void Scanner::scanPunctuation(Token::Type type)
{
    m_token.type = type;
    m_token.text.push_back(static_cast<char>(m_source.take()));
}

inline void Scanner::scanLiteral(Token::Type type, const char *name)
{
    for (const char *expected = name; *expected; ++expected) {
        if (m_source.take() != *expected)
            fail(std::string("Expected string: ") + name);
    }
    m_token.type = type;
    m_token.text = name;
}

// Takes whatever may be meant as a number; the parser finds the mistakes.
inline void Scanner::scanNumber()
{
    m_token.type = Token::Number;
    do {
        m_token.text.push_back(static_cast<char>(m_source.take()));
    } while (isNumberPart(m_source.peek()));
}

inline void Scanner::scanText()
{
    m_token.type = Token::Text;
    m_source.take();
    for (int byte = m_source.take(); byte != '"'; byte = m_source.take()) {
        if (byte == Source::End)
            fail("Expected string: \"");
        m_token.text.push_back(byte == '\\' && m_source.peek() != Source::End ? scanEscape()
                                                                              : static_cast<char>(byte));
    }
}

inline char Scanner::scanEscape()
{
    const int letter = m_source.take();
    switch (letter) {
    case '"':
    case '\\':
    case '/':
        return static_cast<char>(letter);
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'u':
        return scanCodePoint();
    default:
        failEscape(letter, m_source.location());
    }
}

// Four hexadecimal digits make one Latin-1 byte, which is what text is to the users of this library.
inline char Scanner::scanCodePoint()
{
    const ReaderErrors::Location place = m_source.location();
    int codePoint = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexadecimalValue(m_source.peek());
        if (digit < 0)
            failEscape('u', place);
        m_source.take();
        codePoint = codePoint * 16 + digit;
    }
    return codePoint <= 0xFF ? static_cast<char>(codePoint) : '?';
}

// Negative for what is no digit, Source::End included.
inline int Scanner::hexadecimalValue(int byte)
{
    if (isDigit(byte))
        return byte - '0';
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return -1;
}

} // namespace detail
} // namespace json

#endif // JSON_SCANNER_H
