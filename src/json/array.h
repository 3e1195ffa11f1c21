#ifndef JSON_ARRAY_H
#define JSON_ARRAY_H

#include "exception.h"
#include "unknownelement.h"

#include <cstddef>
#include <deque>
#include <limits>
#include <memory>
#include <utility>

namespace json
{

/**
 * A sequence of elements.
 *
 * A reference to an element survives appending (Insert at the end, Resize to more, access beyond the
 * end) and is invalid once elements were removed or inserted before others. Iterators survive only what
 * does not change the size.
 */
class Array
{
public:
    typedef std::deque<UnknownElement> Elements;
    typedef Elements::iterator iterator;
    typedef Elements::const_iterator const_iterator;

    Array() {}
    Array(const Array &other);
    /** Leaves the other one empty. */
    Array(Array &&other) noexcept
        : m_elements(std::move(other.m_elements))
    {
    }
    /** Both assignments are safe for an Array that is part of this one's own tree. */
    Array &operator=(const Array &other);
    Array &operator=(Array &&other) noexcept;

    iterator Begin() { return elements().begin(); }
    iterator End() { return elements().end(); }
    const_iterator Begin() const { return elements().begin(); }
    const_iterator End() const { return elements().end(); }
    iterator begin() { return Begin(); }
    iterator end() { return End(); }
    const_iterator begin() const { return Begin(); }
    const_iterator end() const { return End(); }

    /** Appends a copy and returns its position. The element may be part of this Array. */
    iterator Insert(const UnknownElement &element);
    /** Inserts a copy before `where`, an iterator of this Array, and returns its position. */
    iterator Insert(const UnknownElement &element, iterator where);
    /** Removes the element at `where`, which must not be End(); returns the following position. */
    iterator Erase(iterator where);

    /** Removes elements at the end or appends Null. An impossible size is what std::deque throws. */
    void Resize(std::size_t size);
    void Clear() { m_elements.reset(); }
    std::size_t Size() const { return m_elements ? m_elements->size() : 0; }
    bool Empty() const { return Size() == 0; }

    /** Grows with Null as far as this index; the largest index is json::Exception "Array out of bounds". */
    UnknownElement &operator[](std::size_t index);
    /** json::Exception "Array out of bounds" for an index at or past the end. */
    const UnknownElement &operator[](std::size_t index) const;

    bool operator==(const Array &other) const;

private:
    Elements &elements() const { return m_elements ? *m_elements : noElements(); }
    static Elements &noElements();
    Elements &ownElements();

    // Made for the first element: an empty deque already takes more than half a kilobyte.
    std::unique_ptr<Elements> m_elements;
};

inline Array::Array(const Array &other)
    : m_elements(other.Empty() ? nullptr : new Elements(*other.m_elements))
{
}

inline Array &Array::operator=(const Array &other)
{
    if (this != &other) {
        Array copy(other);
        m_elements.swap(copy.m_elements);
    }
    return *this;
}

inline Array &Array::operator=(Array &&other) noexcept
{
    if (this != &other) {
        Array taken(std::move(other));
        m_elements.swap(taken.m_elements);
    }
    return *this;
}

// The range of all empty Arrays; stays empty. Never destroyed, for Arrays that outlive main().
inline Array::Elements &Array::noElements()
{
    static Elements &none = *new Elements;
    return none;
}

inline Array::Elements &Array::ownElements()
{
    if (!m_elements)
        m_elements.reset(new Elements);
    return *m_elements;
}

inline Array::iterator Array::Insert(const UnknownElement &element)
{
    // Copied first: the element may be this Array's own or hold it.
    UnknownElement copy(element);
    Elements &own = ownElements();
    own.emplace_back();
    swap(own.back(), copy);
    return own.end() - 1;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): an iterator is a value
inline Array::iterator Array::Insert(const UnknownElement &element, iterator where)
{
    const Elements::difference_type index = where - Begin();
    // Swapped down from the end: std::deque would copy the elements behind it, trees and all.
    iterator place = Insert(element);
    const iterator wanted = Begin() + index;
    for (; place != wanted; --place)
        swap(*place, *(place - 1));
    return place;
}

inline Array::iterator Array::Erase(iterator where)
{
    const Elements::difference_type index = where - Begin();
    for (iterator next = where + 1; next != End(); ++where, ++next)
        swap(*where, *next);
    m_elements->pop_back();
    return Begin() + index;
}

inline void Array::Resize(std::size_t size)
{
    if (size != Size())
        ownElements().resize(size);
}

inline UnknownElement &Array::operator[](std::size_t index)
{
    if (index == std::numeric_limits<std::size_t>::max())
        throw Exception("Array out of bounds");
    if (index >= Size())
        Resize(index + 1);
    return (*m_elements)[index];
}

inline const UnknownElement &Array::operator[](std::size_t index) const
{
    if (index >= Size())
        throw Exception("Array out of bounds");
    return (*m_elements)[index];
}

inline bool Array::operator==(const Array &other) const
{
    return elements() == other.elements();
}

} // namespace json

#endif // JSON_ARRAY_H
