#ifndef JSON_SCANNER_H
#define JSON_SCANNER_H

#include "readererrors.h"
#include "source.h"

#include <cstddef>
#include <string>

namespace json
{
namespace detail
{

// A part of the document. Few tokens need their text, so the Scanner provides it on request.
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
        // Not True and False, which Xlib defines as macros.
        TrueLiteral,
        FalseLiteral,
        NullLiteral
    };

    Token()
        : type(End)
        , escaped(false)
        , begin(0)
        , end(0)
    {
    }

    Type type;
    bool escaped; // a Text that contains escapes
    std::size_t begin;
    std::size_t end; // one past the last byte
};

// Cuts a document into tokens; throws ReaderErrors::ScanException where there is none.
class Scanner
{
public:
    explicit Scanner(Source &source)
        : m_source(source)
    {
    }

    // The next token, valid until the following call. After the last token comes End, at the place of the
    // last token, so that an error in a truncated document is reported there.
    const Token &next();

    // The text of the token that next() returned, as messages show it; for a string the decoded content, for
    // End nothing.
    std::string text() const
    {
        std::string text;
        assignText(text);
        return text;
    }
    void assignText(std::string &text) const;
    // The bytes of that token, from its begin to its end.
    const char *bytes() const { return m_source.bytes() + m_token.begin; }
    // Where a token begins or ends.
    ReaderErrors::Location location(std::size_t position) const { return m_source.location(position); }

private:
    // White space of the classic locale, whatever the program's locale is.
    static bool isSpace(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }
    static bool isDigit(int byte) { return byte >= '0' && byte <= '9'; }
    // Includes NUL, so that a NUL behind a number is reported as a mistake in the number.
    static bool isNumberPart(int byte)
    {
        return isDigit(byte) || byte == '.' || byte == 'e' || byte == 'E' || byte == '+' || byte == '-' ||
               byte == '\0';
    }
    static int hexadecimalValue(int byte);
    static int escapedByte(int letter);

    void scanToken();
    void scanPunctuation(Token::Type type);
    void scanLiteral(Token::Type type, const char *name);
    void scanNumber();
    void scanText();
    void scanEscape();
    void scanCodePoint();
    static void decode(const char *begin, const char *end, std::string &text);
    static char codePoint(const char *digits);
    [[noreturn]] void fail(const std::string &message) const
    {
        throw ReaderErrors::ScanException(message, location(m_source.position()));
    }
    [[noreturn]] void failEscape(int letter) const
    {
        fail(std::string("Unrecognized escape sequence found in string: \\") + static_cast<char>(letter));
    }

    Source &m_source;
    Token m_token;
};

inline const Token &Scanner::next()
{
    m_source.takeWhile([](int byte) { return isSpace(byte); });
    if (m_source.peek() == Source::End && !m_source.failed()) {
        m_token.type = Token::End;
        return m_token;
    }
    m_token.begin = m_source.position();
    scanToken();
    m_token.end = m_source.position();
    return m_token;
}

inline void Scanner::assignText(std::string &text) const
{
    const char *const begin = bytes();
    const char *const end = m_source.bytes() + m_token.end;
    if (m_token.type != Token::Text)
        text.assign(begin, end);
    else if (!m_token.escaped)
        text.assign(begin + 1, end - 1);
    else
        decode(begin + 1, end - 1, text);
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
        return scanLiteral(Token::TrueLiteral, "true");
    case 'f':
        return scanLiteral(Token::FalseLiteral, "false");
    case 'n':
        return scanLiteral(Token::NullLiteral, "null");
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
    m_source.take();
}

inline void Scanner::scanLiteral(Token::Type type, const char *name)
{
    m_token.type = type;
    for (const char *expected = name; *expected; ++expected) {
        if (m_source.take() != *expected)
            fail(std::string("Expected string: ") + name);
    }
}

// Takes every byte that can be meant as part of a number; the parser finds mistakes.
inline void Scanner::scanNumber()
{
    m_token.type = Token::Number;
    m_source.take();
    m_source.takeWhile([](int byte) { return isNumberPart(byte); });
}

inline void Scanner::scanText()
{
    m_token.type = Token::Text;
    m_token.escaped = false;
    m_source.take();
    for (;;) {
        m_source.takeWhile([](int byte) { return byte != '"' && byte != '\\'; });
        const int byte = m_source.take();
        if (byte == '"')
            return;
        // A backslash as the last byte of the stream needs no check here, because the string is not closed
        // then.
        if (byte == Source::End || m_source.peek() == Source::End)
            fail("Expected string: \"");
        scanEscape();
    }
}

inline void Scanner::scanEscape()
{
    m_token.escaped = true;
    const int letter = m_source.take();
    if (letter == 'u')
        return scanCodePoint();
    if (escapedByte(letter) < 0)
        failEscape(letter);
}

inline void Scanner::scanCodePoint()
{
    const std::size_t position = m_source.position();
    for (int i = 0; i < 4; ++i) {
        if (hexadecimalValue(m_source.peek()) < 0) {
            // Reported after its letter, like any bad escape.
            m_source.giveBack(position);
            failEscape('u');
        }
        m_source.take();
    }
}

// Appends the decoded text between the quotes, which scanText() has checked.
inline void Scanner::decode(const char *begin, const char *end, std::string &text)
{
    text.clear();
    text.reserve(static_cast<std::size_t>(end - begin));
    while (begin != end) {
        const char byte = *begin++;
        if (byte != '\\') {
            text.push_back(byte);
            continue;
        }
        const char letter = *begin++;
        if (letter == 'u') {
            text.push_back(codePoint(begin));
            begin += 4;
        } else {
            text.push_back(static_cast<char>(escapedByte(letter)));
        }
    }
}

// Four hexadecimal digits make one Latin-1 byte, because the users of this library have Latin-1 text.
inline char Scanner::codePoint(const char *digits)
{
    int value = 0;
    for (int i = 0; i < 4; ++i)
        value = value * 16 + hexadecimalValue(digits[i]);
    return value <= 0xFF ? static_cast<char>(value) : '?';
}

// The byte that a letter behind a backslash encodes; negative for 'u' and for letters without a meaning.
inline int Scanner::escapedByte(int letter)
{
    switch (letter) {
    case '"':
    case '\\':
    case '/':
        return letter;
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
    default:
        return -1;
    }
}

// Negative for anything but a digit, Source::End included.
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
