#ifndef JSON_WRITER_H
#define JSON_WRITER_H

#include "elements.h"
#include "numbers.h"

#include <iomanip>
#include <ios>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

namespace json
{

namespace detail
{
class DocumentWriter;
} // namespace detail

// Writes values as JSON: one member or element a line, indented by tabs, without a final newline.
//
// Strings are written byte for byte, escaping only the quote, the backslash and BS, FF, LF, CR and TAB,
// so that Reader gives the same bytes again. Numbers have up to twenty significant digits and read back
// as the same double; NaN and the infinities are written as null.
//
// Format, width and locale of the stream neither matter nor change. A failure of the stream shows only in its
// state; the Writer itself throws nothing but std::bad_alloc.
class Writer
{
public:
    static void Write(const Object &object, std::ostream &stream) { writeValue(object, stream); }
    static void Write(const Array &array, std::ostream &stream) { writeValue(array, stream); }
    static void Write(const String &string, std::ostream &stream) { writeValue(string, stream); }
    static void Write(const Number &number, std::ostream &stream) { writeValue(number, stream); }
    static void Write(const Boolean &boolean, std::ostream &stream) { writeValue(boolean, stream); }
    static void Write(const Null &null, std::ostream &stream) { writeValue(null, stream); }
    static void Write(const UnknownElement &element, std::ostream &stream);
    // Text as a String; otherwise it would convert to bool, as with UnknownElement.
    template <typename C>
    static typename std::enable_if<std::is_same<C, char>::value>::type Write(const C *text,
                                                                             std::ostream &stream)
    {
        writeValue(String(std::string(text)), stream);
    }

private:
    Writer(); // not defined: the class has only static members

    template <typename T>
    static void writeValue(const T &value, std::ostream &stream);
};

namespace detail
{

// Writes one tree without recursion, so that it may be deeper than the thread's stack allows.
class DocumentWriter : public ConstVisitor
{
public:
    explicit DocumentWriter(std::ostream &stream)
        : m_stream(stream)
    {
        m_text.reserve(Enough);
    }

    void Visit(const Array &array) override;
    void Visit(const Object &object) override;
    void Visit(const Number &number) override { m_numbers.append(number, m_text); }
    void Visit(const String &string) override { appendString(string); }
    void Visit(const Boolean &boolean) override { m_text += boolean ? "true" : "false"; }
    void Visit(const Null &) override { m_text += "null"; }

    // Writes the rest of the containers visited so far, and passes everything to the stream.
    void finish();

private:
    // Text is passed to the stream in pieces of about this size, which fit into the processor's first cache.
    enum { Enough = 4096 };

    // An open container, and its next item.
    struct Level {
        explicit Level(const Array &openArray)
            : array(&openArray)
            , element(openArray.Begin())
            , object(nullptr)
        {
        }
        explicit Level(const Object &openObject)
            : array(nullptr)
            , object(&openObject)
            , member(openObject.Begin())
        {
        }
        bool atBegin() const { return array ? element == array->Begin() : member == object->Begin(); }
        bool atEnd() const { return array ? element == array->End() : member == object->End(); }

        const Array *array;
        Array::const_iterator element;
        const Object *object;
        Object::const_iterator member;
    };

    void writeNext();
    void startLine();
    void appendString(const std::string &string);
    static char escapeLetter(char byte);
    void flush();

    std::ostream &m_stream;
    NumberWriter m_numbers;
    std::vector<Level> m_levels;
    std::string m_text; // not yet passed to the stream
};

inline void DocumentWriter::Visit(const Array &array)
{
    m_text += array.Empty() ? "[]" : "[";
    if (!array.Empty())
        m_levels.push_back(Level(array));
}

inline void DocumentWriter::Visit(const Object &object)
{
    m_text += object.Empty() ? "{}" : "{";
    if (!object.Empty())
        m_levels.push_back(Level(object));
}

inline void DocumentWriter::finish()
{
    while (!m_levels.empty()) {
        writeNext();
        if (m_text.size() >= Enough)
            flush();
    }
    flush();
    m_stream.flush();
}

// The next item of the innermost open container, or its end.
inline void DocumentWriter::writeNext()
{
    Level &level = m_levels.back();
    if (level.atEnd()) {
        const char *const end = level.array ? "]" : "}";
        m_levels.pop_back();
        startLine();
        m_text += end;
        return;
    }
    if (!level.atBegin())
        m_text += ',';
    startLine();
    if (level.array) {
        (level.element++)->Accept(*this);
    } else {
        const Object::Member &member = *level.member++;
        appendString(member.name);
        m_text += " : ";
        member.element.Accept(*this);
    }
}

inline void DocumentWriter::startLine()
{
    m_text += '\n';
    m_text.append(m_levels.size(), '\t');
}

inline void DocumentWriter::appendString(const std::string &string)
{
    const char *const end = string.data() + string.size();
    const char *plain = string.data(); // start of the bytes that are written unchanged
    m_text += '"';
    for (const char *byte = plain; byte != end; ++byte) {
        const char letter = escapeLetter(*byte);
        if (letter == '\0')
            continue;
        m_text.append(plain, byte);
        m_text += '\\';
        m_text += letter;
        plain = byte + 1;
    }
    m_text.append(plain, end);
    m_text += '"';
}

// The letter behind a backslash for this byte; NUL when the byte is written unchanged. Only constants are
// returned, for then compilers make a table of them.
inline char DocumentWriter::escapeLetter(char byte)
{
    switch (byte) {
    case '"':
        return '"';
    case '\\':
        return '\\';
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return '\0';
    }
}

// Unformatted output ignores a width or fill that is set in the stream.
inline void DocumentWriter::flush()
{
    m_stream.write(m_text.data(), static_cast<std::streamsize>(m_text.size()));
    m_text.clear();
}

} // namespace detail

template <typename T>
void Writer::writeValue(const T &value, std::ostream &stream)
{
    detail::DocumentWriter writer(stream);
    writer.Visit(value);
    writer.finish();
}

inline void Writer::Write(const UnknownElement &element, std::ostream &stream)
{
    detail::DocumentWriter writer(stream);
    element.Accept(writer);
    writer.finish();
}

} // namespace json

#endif // JSON_WRITER_H
