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

// A sequence of elements.
//
// Inserting and erasing move the elements between the place and the nearer end one by one; at either end no
// element moves. In the middle either half may move. References to moved elements become invalid, the others
// stay valid. Resize and access beyond the end act at the end. Whatever changes the size invalidates all
// iterators.
class Array
{
public:
    typedef std::deque<UnknownElement> Elements;
    typedef Elements::iterator iterator;
    typedef Elements::const_iterator const_iterator;

    Array() {}
    Array(const Array &other);
    // Leaves the other one empty.
    Array(Array &&other) noexcept
        : m_elements(std::move(other.m_elements))
    {
    }
    // Both assignments are safe for an Array that is part of this one's own tree.
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

    // Appends a copy; returns its position.
    iterator Insert(const UnknownElement &element) { return Insert(element, End()); }
    // Inserts a copy before `where`, an iterator of this Array, and returns its position. The element may be
    // part of this Array. When memory runs out the Array is as it was, with the references into it.
    iterator Insert(const UnknownElement &element, iterator where);
    // Removes the element at `where`, which must not be End(); returns the following position.
    iterator Erase(iterator where);

    // Removes elements at the end or appends Null. For an impossible size it throws what std::deque throws.
    void Resize(std::size_t size);
    void Clear() { m_elements.reset(); }
    std::size_t Size() const { return m_elements ? m_elements->size() : 0; }
    bool Empty() const { return Size() == 0; }

    // Grows with Null up to this index. Throws json::Exception "Array out of bounds" for the largest index.
    UnknownElement &operator[](std::size_t index);
    // Throws json::Exception "Array out of bounds" for an index at or past the end.
    const UnknownElement &operator[](std::size_t index) const;

    bool operator==(const Array &other) const;

private:
    Elements &elements() const { return m_elements ? *m_elements : noElements(); }
    static Elements &noElements();
    Elements &ownElements();
    static iterator carry(iterator place, iterator wanted);

    // Allocated with the first element, because an empty deque already takes more than half a kilobyte.
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

// The range of all empty Arrays. It stays empty and is never destroyed, because Arrays may outlive main().
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

// An iterator is a value.
// NOLINTBEGIN(performance-unnecessary-value-param)

inline Array::iterator Array::Insert(const UnknownElement &element, iterator where)
{
    const Elements::difference_type before = where - Begin();
    const Elements::difference_type behind = End() - where;
    // Copied first: the element may be part of this Array or contain it.
    UnknownElement copy(element);
    Elements &own = ownElements();
    // std::deque would insert between elements by copying the whole trees on one side.
    if (before < behind) {
        own.emplace_front();
        swap(own.front(), copy);
        return carry(own.begin(), own.begin() + before);
    }
    own.emplace_back();
    swap(own.back(), copy);
    return carry(own.end() - 1, own.begin() + before);
}

inline Array::iterator Array::Erase(iterator where)
{
    const Elements::difference_type before = where - Begin();
    const Elements::difference_type behind = End() - where - 1;
    if (before < behind) {
        carry(where, Begin());
        m_elements->pop_front();
    } else {
        carry(where, End() - 1);
        m_elements->pop_back();
    }
    return Begin() + before;
}

// Moves an element to another place and returns that place; the elements between move by one.
inline Array::iterator Array::carry(iterator place, iterator wanted)
{
    for (; place < wanted; ++place)
        swap(*place, *(place + 1));
    for (; wanted < place; --place)
        swap(*place, *(place - 1));
    return place;
}

// NOLINTEND(performance-unnecessary-value-param)

inline void Array::Resize(std::size_t size)
{
    if (size != Size())
        ownElements().resize(size);
}

inline UnknownElement &Array::operator[](std::size_t index)
{
    if (index == (std::numeric_limits<std::size_t>::max)())
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
