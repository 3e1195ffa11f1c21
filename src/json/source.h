#ifndef JSON_SOURCE_H
#define JSON_SOURCE_H

#include "readererrors.h"

#include <cstddef>
#include <fstream>
#include <ios>
#include <istream>
#include <sstream>
#include <streambuf>
#include <string>
#include <typeinfo>

namespace json
{
namespace detail
{

// The bytes of a document, read once from a stream, or all there from the beginning, and kept for a second
// pass.
//
// From a stream they are taken through its buffer, in general one by one, so that an error in the first pass
// leaves the stream exactly at its place. The destructor sets the stream's state.
class Source
{
public:
    // Returned in place of a byte at the end.
    enum { End = -1 };

    explicit Source(const std::string &text)
        : m_stream(nullptr)
        , m_buffer(nullptr)
        , m_text(text)
        , m_position(0)
        , m_failed(false)
        , m_outcome(std::ios_base::goodbit)
    {
    }
    explicit Source(std::istream &stream)
        : m_stream(&stream)
        , m_buffer(stream.good() ? stream.rdbuf() : nullptr)
        , m_position(0)
        , m_failed(stream.bad() || (stream.fail() && !stream.eof()) || isUnopenedFile(m_buffer))
        , m_outcome(std::ios_base::goodbit)
    {
        takeWhole();
    }
    ~Source();
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    // The next byte as 0 to 255, without taking it; or End.
    int peek()
    {
        return m_position < m_text.size() ? static_cast<unsigned char>(m_text[m_position]) : fetch();
    }
    // Takes the next byte, if there is one, and returns it as peek() does.
    int take()
    {
        const int byte = peek();
        if (byte == End)
            return End;
        if (m_position == m_text.size())
            keep(byte);
        ++m_position;
        return byte;
    }
    // Takes all bytes up to the first for which the test is false. The test gets the byte as 0 to 255.
    template <typename Test>
    void takeWhile(Test test);

    // Gives back the bytes behind this position, to be taken again.
    void giveBack(std::size_t position);

    // Back to the first byte, for the second pass.
    void rewind() { m_position = 0; }

    // The number of bytes taken.
    std::size_t position() const { return m_position; }
    // The place in the document of a taken byte, or of the byte after them.
    ReaderErrors::Location location(std::size_t position) const;
    // The bytes that were taken.
    const char *bytes() const { return m_text.data(); }
    // True when reading ended because of a failure of the stream, not at its end.
    bool failed() const { return m_failed; }

private:
    static bool isUnopenedFile(const std::streambuf *buffer)
    {
        const std::filebuf *const file = dynamic_cast<const std::filebuf *>(buffer);
        return file && !file->is_open();
    }
    void takeWhole();
    void returnRest();
    int fetch();
    void keep(int byte);
    void fail();

    std::istream *const m_stream; // null: the text is complete
    std::streambuf *m_buffer;     // null when it has ended or failed
    std::string m_text;           // the bytes read from it so far
    std::size_t m_position;
    bool m_failed;
    std::ios_base::iostate m_outcome;
};

inline Source::~Source()
{
    returnRest();
    try {
        if (m_outcome != std::ios_base::goodbit)
            m_stream->setstate(m_outcome);
    } catch (...) {
        // The exception is what the stream's owner asked for. The state is set all the same, and Reader
        // reports the result.
    }
}

// The buffer of a string stream can be set to any place, so it is read at once, which is much faster. A class
// derived from it may not support that, so its bytes are read one by one like those of any other buffer.
inline void Source::takeWhole()
{
    if (!m_buffer)
        return;
    const std::streambuf &buffer = *m_buffer;
    if (typeid(buffer) != typeid(std::stringbuf))
        return;
    const std::streamsize available = m_buffer->in_avail();
    if (available <= 0)
        return;
    m_text.resize(static_cast<std::size_t>(available));
    m_text.resize(static_cast<std::size_t>(m_buffer->sgetn(&m_text[0], available)));
}

// Returns what was read beyond an error: everything that takeWhole() read, or the few bytes of giveBack().
// Without an error all bytes were taken.
inline void Source::returnRest()
{
    if (!m_buffer)
        return;
    typedef std::streambuf::traits_type Traits;
    try {
        const std::size_t rest = m_text.size() - m_position;
        const std::streampos place = rest ? m_buffer->pubseekoff(-static_cast<std::streamoff>(rest),
                                                                 std::ios_base::cur, std::ios_base::in)
                                          : std::streampos(0);
        if (place != std::streampos(std::streamoff(-1)))
            return;
        for (std::size_t i = 0; i < rest && !Traits::eq_int_type(m_buffer->sungetc(), Traits::eof()); ++i)
            ;
    } catch (...) {
        fail();
    }
}

inline void Source::giveBack(std::size_t position)
{
    m_position = position;
    // After giving back, the end of the stream has to be read again.
    if (m_stream && !m_buffer && !m_failed) {
        m_buffer = m_stream->rdbuf();
        m_outcome = std::ios_base::goodbit;
    }
}

template <typename Test>
void Source::takeWhile(Test test)
{
    for (;;) {
        const char *const bytes = m_text.data();
        const std::size_t size = m_text.size();
        std::size_t position = m_position;
        while (position < size && test(static_cast<unsigned char>(bytes[position])))
            ++position;
        m_position = position;
        if (position < size)
            return;
        // Behind the bytes in memory: one more byte, if it passes the test.
        const int byte = fetch();
        if (byte == End || !test(byte))
            return;
        keep(byte);
    }
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
    } catch (...) {
        fail();
    }
    return End;
}

// Moves the byte that fetch() returned from the stream into memory.
inline void Source::keep(int byte)
{
    m_text.push_back(static_cast<char>(byte));
    try {
        m_buffer->sbumpc();
    } catch (...) {
        fail();
    }
}

inline void Source::fail()
{
    m_failed = true;
    m_outcome = std::ios_base::badbit;
    m_buffer = nullptr;
}

// Computed only for errors.
inline ReaderErrors::Location Source::location(std::size_t position) const
{
    ReaderErrors::Location location;
    std::size_t line = 0;
    for (std::size_t i = 0; i < position; ++i) {
        if (m_text[i] == '\n') {
            ++location.m_nLine;
            line = i + 1;
        }
    }
    location.m_nLineOffset = static_cast<unsigned int>(position - line);
    location.m_nDocOffset = static_cast<unsigned int>(position);
    return location;
}

} // namespace detail
} // namespace json

#endif // JSON_SOURCE_H
