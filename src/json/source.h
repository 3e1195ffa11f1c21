#ifndef JSON_SOURCE_H
#define JSON_SOURCE_H

#include "readererrors.h"

#include <exception>
#include <istream>
#include <streambuf>
#include <string>

namespace json
{
namespace detail
{

/**
 * The bytes of a document, read from a stream once and kept for a second pass.
 *
 * They are taken through the stream buffer and one by one, so that an error in the first pass leaves the
 * stream right where it was found. The destructor tells the stream what became of it.
 */
class Source
{
public:
    /** What stands for a byte after the last one. */
    enum { End = -1 };

    explicit Source(std::istream &stream)
        : m_stream(stream)
        , m_buffer(stream.good() ? stream.rdbuf() : nullptr)
        , m_position(0)
        , m_failed(!stream.good() && !stream.eof())
        , m_outcome(std::ios_base::goodbit)
    {
    }
    ~Source();
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    /** The next byte as 0 to 255, left where it is; or End. */
    int peek()
    {
        return m_position < m_text.size() ? static_cast<unsigned char>(m_text[m_position]) : fetch();
    }
    /** Takes the next byte, if there is one, and gives it as peek() does. */
    int take();

    /** Back to the first byte, for the second pass. */
    void rewind()
    {
        m_position = 0;
        m_location = ReaderErrors::Location();
    }

    const ReaderErrors::Location &location() const { return m_location; }
    /** True when the bytes ended because the stream could not be read, not because there are no more. */
    bool failed() const { return m_failed; }

private:
    int fetch();
    void fail();

    std::istream &m_stream;
    std::streambuf *m_buffer; // null once nothing more comes from it
    std::string m_text;       // what was taken so far
    std::string::size_type m_position;
    ReaderErrors::Location m_location;
    bool m_failed;
    std::ios_base::iostate m_outcome;
};

inline Source::~Source()
{
    try {
        if (m_outcome != std::ios_base::goodbit)
            m_stream.setstate(m_outcome);
    } catch (const std::ios_base::failure &) {
        // The stream's owner asked for it, but the state is set all the same and Reader says what came of it.
    }
}

inline int Source::take()
{
    const int byte = peek();
    if (byte == End)
        return End;
    if (m_position == m_text.size()) {
        m_text.push_back(static_cast<char>(byte));
        try {
            m_buffer->sbumpc();
        } catch (const std::exception &) {
            fail();
        }
    }
    ++m_position;
    ++m_location.m_nDocOffset;
    ++m_location.m_nLineOffset;
    if (byte == '\n') {
        ++m_location.m_nLine;
        m_location.m_nLineOffset = 0;
    }
    return byte;
}

inline int Source::fetch()
{
    typedef std::streambuf::traits_type Traits;
    if (!m_buffer)
        return End;
    try {
        const Traits::int_type next = m_buffer->sgetc();
        if (!Traits::eq_int_type(next, Traits::eof()))
            return static_cast<unsigned char>(Traits::to_char_type(next));
        m_outcome = std::ios_base::eofbit | std::ios_base::failbit;
        m_buffer = nullptr;
    } catch (const std::exception &) {
        fail();
    }
    return End;
}

inline void Source::fail()
{
    m_failed = true;
    m_outcome = std::ios_base::badbit;
    m_buffer = nullptr;
}

} // namespace detail
} // namespace json

#endif // JSON_SOURCE_H
