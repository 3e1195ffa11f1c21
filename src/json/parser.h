#ifndef JSON_PARSER_H
#define JSON_PARSER_H

#include "array.h"
#include "numbers.h"
#include "object.h"
#include "readererrors.h"
#include "scalars.h"
#include "scanner.h"
#include "source.h"
#include "unknownelement.h"
#include "unknownelementimpl.h"

#include <cstddef>
#include <set>
#include <string>

namespace json
{
namespace detail
{

// Finds duplicate names while an object is read. Small objects are searched; a large one gets a sorted index,
// which no choice of names can make slow, as it could a hash table.
class NameIndex
{
public:
    explicit NameIndex(const Object &object)
        : m_object(object)
    {
    }

    bool contains(const std::string &name)
    {
        if (m_names.empty()) {
            // Counted only here, because older standard libraries count a list's members in size().
            if (m_object.Size() <= SmallObject)
                return m_object.Find(name) != m_object.End();
            for (const Object::Member &member : m_object)
                m_names.insert(&member.name);
        }
        return m_names.count(&name) > 0;
    }
    // The member was added to the object, after contains() said no.
    void add(const Object::Member &member)
    {
        if (!m_names.empty())
            m_names.insert(&member.name);
    }

private:
    enum { SmallObject = 16 };

    struct Less {
        bool operator()(const std::string *left, const std::string *right) const { return *left < *right; }
    };

    const Object &m_object;
    std::set<const std::string *, Less> m_names;
};

// Builds values from a scanned document; throws ReaderErrors::ParseException on errors of grammar.
class Parser
{
public:
    explicit Parser(Source &source)
        : m_scanner(source)
        , m_token(nullptr)
        , m_depth(0)
    {
        advance();
    }

    // Reads the whole document into the target.
    template <typename T>
    void parseDocument(T &target)
    {
        parse(target);
        if (m_token->type != Token::End)
            fail("Expected End of token stream; found " + m_scanner.text());
    }

private:
    // Far beyond any real document. On x86-64 a level of objects was measured to take 224 to 384 bytes of the
    // stack, one of arrays 64 to 240 (g++ 12 and clang 14, -O0 to -O3), and the deepest document with all
    // that reading needs besides 201 KiB at the most. Reader promises less than 256.
    enum { MaximumDepth = 512 };

    void parse(UnknownElement &element);
    void parse(Object &object);
    void parse(Array &array);
    void parse(String &string);
    void parse(Number &number);
    void parse(Boolean &boolean);
    void parse(Null &null);
    void parseMember(Object &object, NameIndex &names);
    void enter();
    void leave() { --m_depth; }

    void advance() { m_token = &m_scanner.next(); }
    void expect(Token::Type type) const
    {
        if (m_token->type != type)
            failToken();
    }
    void take(Token::Type type)
    {
        expect(type);
        advance();
    }
    // Takes the comma before another item, or the end of the container.
    bool takeComma(Token::Type end)
    {
        const bool another = m_token->type == Token::Comma;
        take(another ? Token::Comma : end);
        return another;
    }
    [[noreturn]] void failToken() const
    {
        fail(m_token->type == Token::End ? "Unexpected end of token stream"
                                         : "Unexpected token: " + m_scanner.text());
    }
    [[noreturn]] void fail(const std::string &message) const { fail(message, m_token->begin, m_token->end); }
    [[noreturn]] void fail(const std::string &message, std::size_t begin, std::size_t end) const
    {
        throw ReaderErrors::ParseException(message, m_scanner.location(begin), m_scanner.location(end));
    }

    Scanner m_scanner;
    const Token *m_token; // the one to be taken next
    NumberReader m_numbers;
    int m_depth;
};

inline void Parser::parse(UnknownElement &element)
{
    switch (m_token->type) {
    case Token::ObjectBegin:
        return parse(static_cast<Object &>(element));
    case Token::ArrayBegin:
        return parse(static_cast<Array &>(element));
    case Token::Text:
        return parse(static_cast<String &>(element));
    case Token::Number:
        return parse(static_cast<Number &>(element));
    case Token::TrueLiteral:
    case Token::FalseLiteral:
        return parse(static_cast<Boolean &>(element));
    case Token::NullLiteral:
        return parse(static_cast<Null &>(element));
    default:
        failToken();
    }
}

inline void Parser::parse(Object &object)
{
    expect(Token::ObjectBegin);
    enter();
    advance();
    if (m_token->type == Token::ObjectEnd) {
        advance();
    } else {
        NameIndex names(object);
        do {
            parseMember(object, names);
        } while (takeComma(Token::ObjectEnd));
    }
    leave();
}

inline void Parser::parseMember(Object &object, NameIndex &names)
{
    expect(Token::Text);
    const std::size_t begin = m_token->begin;
    const std::size_t end = m_token->end;
    // In a list of its own, so that the finished member moves into the object without a copy, and an
    // unfinished member never reaches the object.
    Object::Members member;
    member.emplace_back();
    m_scanner.assignText(member.back().name);
    advance();
    take(Token::Colon);
    parse(member.back().element);

    if (names.contains(member.back().name))
        fail("Duplicate object member token: " + member.back().name, begin, end);
    object.m_members.splice(object.m_members.end(), member);
    names.add(object.m_members.back());
}

inline void Parser::parse(Array &array)
{
    expect(Token::ArrayBegin);
    enter();
    advance();
    if (m_token->type == Token::ArrayEnd) {
        advance();
    } else {
        // At the end of the document no element has begun; one that has begun would stay in the Array.
        if (m_token->type == Token::End)
            failToken();
        do {
            parse(array[array.Size()]);
        } while (takeComma(Token::ArrayEnd));
    }
    leave();
}

inline void Parser::parse(String &string)
{
    expect(Token::Text);
    m_scanner.assignText(string.Value());
    advance();
}

inline void Parser::parse(Number &number)
{
    expect(Token::Number);
    const char *const text = m_scanner.bytes();
    const std::size_t size = m_token->end - m_token->begin;
    const NumberSyntax syntax(text, size);
    if (syntax.length < size) {
        // Where no number precedes the offending byte, the message has 0xFF in its place.
        fail(std::string("Unexpected character in NUMBER token: ") +
             (syntax.complete ? text[syntax.length] : '\xff'));
    }
    number.Value() = syntax.complete ? m_numbers.read(text, size) : 0.0;
    advance();
}

inline void Parser::parse(Boolean &boolean)
{
    if (m_token->type != Token::TrueLiteral)
        expect(Token::FalseLiteral);
    boolean.Value() = m_token->type == Token::TrueLiteral;
    advance();
}

inline void Parser::parse(Null &)
{
    take(Token::NullLiteral);
}

// Counts one more open container.
inline void Parser::enter()
{
    if (m_depth == MaximumDepth)
        fail("Nesting too deep");
    ++m_depth;
}

} // namespace detail
} // namespace json

#endif // JSON_PARSER_H
