#ifndef JSON_SCALARS_H
#define JSON_SCALARS_H

#include "visitor.h"

#include <string>

namespace json
{

// The implicit conversions are the interface: values convert without casts.
// NOLINTBEGIN(google-explicit-constructor)

// A number, truth value or text. Converts implicitly from and to T, with the language's own conversions:
// Boolean("x") is true, as any pointer is.
template <typename T>
class TrivialType_T
{
public:
    TrivialType_T(const T &value = T())
        : m_value(value)
    {
    }

    operator T &() { return m_value; }
    operator const T &() const { return m_value; }
    T &Value() { return m_value; }
    const T &Value() const { return m_value; }

    // Numbers compare as double does (NaN equals nothing), text bytewise.
    bool operator==(const TrivialType_T<T> &other) const { return m_value == other.m_value; }

private:
    T m_value;
};

// The value null; all are equal.
class Null
{
public:
    bool operator==(const Null &) const { return true; }
};

// NOLINTEND(google-explicit-constructor)

} // namespace json

#endif // JSON_SCALARS_H
