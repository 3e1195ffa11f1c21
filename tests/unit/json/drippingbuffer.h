#ifndef DRIPPINGBUFFER_H
#define DRIPPINGBUFFER_H

#include <cstddef>
#include <streambuf>
#include <string>

// Provides one byte at a time: none can be put back or read again, and the position cannot be set.
class DrippingBuffer : public std::streambuf
{
public:
    explicit DrippingBuffer(const std::string &text)
        : m_text(text)
        , m_taken(0)
    {
    }

    // How many bytes were taken.
    std::size_t taken() const { return m_taken; }

protected:
    int_type underflow() override
    {
        return m_taken < m_text.size() ? traits_type::to_int_type(m_text[m_taken]) : traits_type::eof();
    }
    int_type uflow() override
    {
        const int_type byte = underflow();
        ++m_taken;
        return byte;
    }

private:
    const std::string m_text;
    std::size_t m_taken;
};

#endif // DRIPPINGBUFFER_H
