#ifndef JSON_OBJECT_H
#define JSON_OBJECT_H

#include "exception.h"
#include "unknownelement.h"

#include <algorithm>
#include <cstddef>
#include <list>
#include <string>
#include <utility>

namespace json
{

namespace detail
{
class Parser;
} // namespace detail

// Named elements in the order of their insertion.
//
// Names are byte strings of any content. Insert keeps them unique. A name changed through an iterator is not
// checked; of two members of one name Find returns the first. Find and Insert therefore search the members
// one by one; the Reader uses an index. References and iterators stay valid until their own member is erased.
class Object
{
public:
    struct Member {
        // Implicit since a name alone is a member too. NOLINTNEXTLINE(google-explicit-constructor)
        Member(const std::string &memberName = std::string(),
               const UnknownElement &memberElement = UnknownElement())
            : name(memberName)
            , element(memberElement)
        {
        }
        bool operator==(const Member &other) const { return name == other.name && element == other.element; }

        std::string name;
        UnknownElement element;
    };

    typedef std::list<Member> Members;
    typedef Members::iterator iterator;
    typedef Members::const_iterator const_iterator;

    Object() {}
    Object(const Object &other) = default;
    // Leaves the other one empty.
    Object(Object &&other) noexcept { m_members.swap(other.m_members); }
    // Both assignments are safe for an Object that is part of this one's own tree.
    Object &operator=(const Object &other);
    Object &operator=(Object &&other) noexcept;

    iterator Begin() { return m_members.begin(); }
    iterator End() { return m_members.end(); }
    const_iterator Begin() const { return m_members.begin(); }
    const_iterator End() const { return m_members.end(); }
    iterator begin() { return Begin(); }
    iterator end() { return End(); }
    const_iterator begin() const { return Begin(); }
    const_iterator end() const { return End(); }

    std::size_t Size() const { return m_members.size(); }
    bool Empty() const { return m_members.empty(); }
    void Clear() { m_members.clear(); }

    // The first member of this name, or End().
    iterator Find(const std::string &name);
    const_iterator Find(const std::string &name) const;

    // Inserts a copy at the end, or before `where`, an iterator of this Object; returns its position.
    // Throws json::Exception "Object member already exists: NAME", and leaves the Object as it was, when the
    // name is present already.
    iterator Insert(const Member &member) { return Insert(member, End()); }
    iterator Insert(const Member &member, iterator where);
    // Removes the member at `where`, which must not be End(); returns the next.
    iterator Erase(iterator where);

    // The element of this name; appended as Null when there is none, also by code that only reads.
    UnknownElement &operator[](const std::string &name);
    // Throws json::Exception "Object member not found: NAME" when there is none.
    const UnknownElement &operator[](const std::string &name) const;

    // Objects are equal when they have equal members in the same order.
    bool operator==(const Object &other) const { return m_members == other.m_members; }

private:
    friend class UnknownElement;
    friend class detail::Parser;

    Members m_members;
};

inline Object &Object::operator=(const Object &other)
{
    if (this != &other) {
        Object copy(other);
        m_members.swap(copy.m_members);
    }
    return *this;
}

inline Object &Object::operator=(Object &&other) noexcept
{
    if (this != &other) {
        Object taken(std::move(other));
        m_members.swap(taken.m_members);
    }
    return *this;
}

inline Object::iterator Object::Find(const std::string &name)
{
    return std::find_if(Begin(), End(), [&name](const Member &member) { return member.name == name; });
}

inline Object::const_iterator Object::Find(const std::string &name) const
{
    return std::find_if(Begin(), End(), [&name](const Member &member) { return member.name == name; });
}

inline Object::iterator Object::Insert(const Member &member, iterator where)
{
    if (Find(member.name) != End())
        throw Exception("Object member already exists: " + member.name);
    return m_members.insert(where, member);
}

inline Object::iterator Object::Erase(iterator where)
{
    return m_members.erase(where);
}

inline UnknownElement &Object::operator[](const std::string &name)
{
    const iterator found = Find(name);
    if (found != End())
        return found->element;
    m_members.emplace_back(name);
    return m_members.back().element;
}

inline const UnknownElement &Object::operator[](const std::string &name) const
{
    const const_iterator found = Find(name);
    if (found == End())
        throw Exception("Object member not found: " + name);
    return found->element;
}

} // namespace json

#endif // JSON_OBJECT_H
