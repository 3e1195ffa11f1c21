#ifndef DBUSVALUE_H
#define DBUSVALUE_H

#include <QtCore/QByteArray>

#include <cstdint>
#include <vector>

// A value of any D-Bus type, as it travels. Written from the D-Bus protocol, without a library, so that
// a value can be of types that Qt would not write.
struct DBusValue {
    QByteArray signature;            // one complete type
    std::uint64_t number = 0;        // of a number or a boolean: its bits
    QByteArray bytes;                // of a string, an object path, a signature or an array of bytes
    std::vector<DBusValue> children; // of any other array, a structure, a dictionary entry or a variant
};

struct DBusAnswer {
    bool isError = false;
    bool isBigEndian = false;
    std::vector<DBusValue> arguments;

    QByteArray signature() const;
    // True when the first arguments have these types.
    bool beginsWith(const char *types) const { return !isError && signature().startsWith(types); }
};

// The answer that a text describes: the signature of its arguments, a blank, and their values one behind the
// other. Numbers are bytes as they stand, least significant first. A string, an array or an object path ends
// with a tab or the text. A variant has its signature in front, up to a blank. "!" in front of the signature
// makes it an error. What is no signature or no value is corrected, and what lacks is zero: every text
// describes an answer that a bus would let through.
DBusAnswer dbusAnswer(const QByteArray &text);

// A message's bytes, each number at a multiple of its size.
class DBusWriter
{
public:
    explicit DBusWriter(bool isBigEndian)
        : m_isBigEndian(isBigEndian)
    {
    }

    const QByteArray &bytes() const { return m_bytes; }
    void align(int size);
    void number(std::uint64_t value, int size);
    void text(const QByteArray &text); // of a string or an object path
    void signature(const QByteArray &signature);
    void raw(const QByteArray &bytes) { m_bytes += bytes; }
    void value(const DBusValue &value);
    // The number at a place that has been written already.
    void replace(int position, std::uint32_t value);

private:
    void array(const DBusValue &value);

    bool m_isBigEndian;
    QByteArray m_bytes;
};

#endif // DBUSVALUE_H
