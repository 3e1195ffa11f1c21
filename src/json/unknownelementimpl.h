#ifndef JSON_UNKNOWNELEMENTIMPL_H
#define JSON_UNKNOWNELEMENTIMPL_H

// The operations of UnknownElement that need the definitions of the containers.

#include "array.h"
#include "exception.h"
#include "object.h"
#include "scalars.h"
#include "unknownelement.h"
#include "visitor.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace json
{

namespace detail
{

// A container owned by an element. The link serves to destroy trees without recursion and without allocating,
// as a destructor must.
struct Branch {
    explicit Branch(bool array)
        : isArray(array)
        , next(nullptr)
    {
    }

    const bool isArray;
    Branch *next;
};

struct ArrayBranch : Branch {
    explicit ArrayBranch(const Array &array)
        : Branch(true)
        , content(array)
    {
    }

    Array content;
};

struct ObjectBranch : Branch {
    explicit ObjectBranch(const Object &object)
        : Branch(false)
        , content(object)
    {
    }

    Object content;
};

} // namespace detail

inline UnknownElement::UnknownElement(const UnknownElement &other)
    : UnknownElement()
{
    CopyWork work;
    copyChild(other, work);
    while (!work.empty()) {
        const CopyWork::value_type step = work.back();
        work.pop_back();
        step.second->copyLevel(*step.first, work);
    }
}

inline UnknownElement::UnknownElement(const Object &object)
    : m_kind(ObjectKind)
    , m_value(new detail::ObjectBranch(object))
{
}

inline UnknownElement::UnknownElement(const Array &array)
    : m_kind(ArrayKind)
    , m_value(new detail::ArrayBranch(array))
{
}

inline UnknownElement::UnknownElement(const String &string)
    : m_kind(StringKind)
    , m_value(new String(string))
{
}

inline UnknownElement &UnknownElement::operator=(const UnknownElement &other)
{
    UnknownElement copy(other);
    swap(*this, copy);
    return *this;
}

inline void UnknownElement::require(Kind kind) const
{
    if (m_kind != kind)
        throw Exception("Bad cast");
}

template <typename T>
void UnknownElement::convert()
{
    UnknownElement empty((T()));
    swap(*this, empty);
}

inline UnknownElement::operator const Object &() const
{
    require(ObjectKind);
    return m_value.m_object->content;
}

inline UnknownElement::operator const Array &() const
{
    require(ArrayKind);
    return m_value.m_array->content;
}

inline UnknownElement::operator const Number &() const
{
    require(NumberKind);
    return m_value.m_number;
}

inline UnknownElement::operator const Boolean &() const
{
    require(BooleanKind);
    return m_value.m_boolean;
}

inline UnknownElement::operator const String &() const
{
    require(StringKind);
    return *m_value.m_string;
}

inline UnknownElement::operator const Null &() const
{
    require(NullKind);
    return m_null;
}

inline UnknownElement::operator Object &()
{
    if (m_kind != ObjectKind)
        convert<Object>();
    return m_value.m_object->content;
}

inline UnknownElement::operator Array &()
{
    if (m_kind != ArrayKind)
        convert<Array>();
    return m_value.m_array->content;
}

inline UnknownElement::operator Number &()
{
    if (m_kind != NumberKind)
        convert<Number>();
    return m_value.m_number;
}

inline UnknownElement::operator Boolean &()
{
    if (m_kind != BooleanKind)
        convert<Boolean>();
    return m_value.m_boolean;
}

inline UnknownElement::operator String &()
{
    if (m_kind != StringKind)
        convert<String>();
    return *m_value.m_string;
}

inline UnknownElement::operator Null &()
{
    reset();
    return m_null;
}

inline UnknownElement &UnknownElement::operator[](const std::string &name)
{
    Object &object = *this;
    return object[name];
}

inline const UnknownElement &UnknownElement::operator[](const std::string &name) const
{
    const Object &object = *this;
    return object[name];
}

inline UnknownElement &UnknownElement::operator[](std::size_t index)
{
    Array &array = *this;
    return array[index];
}

inline const UnknownElement &UnknownElement::operator[](std::size_t index) const
{
    const Array &array = *this;
    return array[index];
}

inline void UnknownElement::Accept(ConstVisitor &visitor) const
{
    switch (m_kind) {
    case NullKind:
        return visitor.Visit(m_null);
    case BooleanKind:
        return visitor.Visit(m_value.m_boolean);
    case NumberKind:
        return visitor.Visit(m_value.m_number);
    case StringKind:
        return visitor.Visit(static_cast<const String &>(*m_value.m_string));
    case ArrayKind:
        return visitor.Visit(static_cast<const Array &>(m_value.m_array->content));
    case ObjectKind:
        return visitor.Visit(static_cast<const Object &>(m_value.m_object->content));
    }
}

inline void UnknownElement::Accept(Visitor &visitor)
{
    switch (m_kind) {
    case NullKind:
        return visitor.Visit(m_null);
    case BooleanKind:
        return visitor.Visit(m_value.m_boolean);
    case NumberKind:
        return visitor.Visit(m_value.m_number);
    case StringKind:
        return visitor.Visit(*m_value.m_string);
    case ArrayKind:
        return visitor.Visit(m_value.m_array->content);
    case ObjectKind:
        return visitor.Visit(m_value.m_object->content);
    }
}

inline bool UnknownElement::operator==(const UnknownElement &other) const
{
    CompareWork work;
    if (!equalChild(other, work))
        return false;
    while (!work.empty()) {
        const CompareWork::value_type step = work.back();
        work.pop_back();
        if (!step.first->equalLevel(*step.second, work))
            return false;
    }
    return true;
}

// Makes this element Null.
inline void UnknownElement::reset() noexcept
{
    if (m_kind == StringKind)
        delete m_value.m_string;
    detail::Branch *pending = release();
    m_kind = NullKind;
    m_value = Value();

    while (pending) {
        detail::Branch *const branch = pending;
        pending = branch->next;
        releaseChildren(*branch, pending);
        if (branch->isArray)
            delete static_cast<detail::ArrayBranch *>(branch);
        else
            delete static_cast<detail::ObjectBranch *>(branch);
    }
}

// Passes the container, if there is one, to the caller; the element is Null afterwards.
inline detail::Branch *UnknownElement::release() noexcept
{
    detail::Branch *branch = nullptr;
    if (m_kind == ArrayKind)
        branch = m_value.m_array;
    else if (m_kind == ObjectKind)
        branch = m_value.m_object;
    if (branch) {
        m_kind = NullKind;
        m_value = Value();
    }
    return branch;
}

// Puts the containers directly below the parent at the front of the pending list.
inline void UnknownElement::releaseChildren(detail::Branch &parent, detail::Branch *&pending) noexcept
{
    const auto take = [&pending](UnknownElement &child) {
        if (detail::Branch *branch = child.release()) {
            branch->next = pending;
            pending = branch;
        }
    };
    if (parent.isArray) {
        for (UnknownElement &element : static_cast<detail::ArrayBranch &>(parent).content)
            take(element);
    } else {
        for (Object::Member &member : static_cast<detail::ObjectBranch &>(parent).content)
            take(member.element);
    }
}

// Makes this Null element a copy of the other: at once when the other has no children, else by adding a step
// to the work.
inline void UnknownElement::copyChild(const UnknownElement &other, CopyWork &work)
{
    if (other.isBranch()) {
        work.push_back(CopyWork::value_type(&other, this));
    } else if (other.m_kind == StringKind) {
        m_value = Value(new String(*other.m_value.m_string));
        m_kind = StringKind;
    } else {
        m_value = other.m_value;
        m_kind = other.m_kind;
    }
}

inline void UnknownElement::copyLevel(const UnknownElement &other, CopyWork &work)
{
    if (other.m_kind == ArrayKind) {
        const Array &from = other;
        Array &to = *this;
        to.Resize(from.Size());
        Array::iterator place = to.Begin();
        for (const UnknownElement &element : from)
            (place++)->copyChild(element, work);
    } else {
        const Object &from = other;
        Object &to = *this;
        for (const Object::Member &member : from) {
            to.m_members.emplace_back(member.name);
            to.m_members.back().element.copyChild(member.element, work);
        }
    }
}

inline bool UnknownElement::equalChild(const UnknownElement &other, CompareWork &work) const
{
    if (m_kind != other.m_kind)
        return false;
    switch (m_kind) {
    case NullKind:
        return true;
    case BooleanKind:
        return m_value.m_boolean == other.m_value.m_boolean;
    case NumberKind:
        return m_value.m_number == other.m_value.m_number;
    case StringKind:
        return *m_value.m_string == *other.m_value.m_string;
    case ArrayKind:
    case ObjectKind:
        break;
    }
    work.push_back(CompareWork::value_type(this, &other));
    return true;
}

inline bool UnknownElement::equalLevel(const UnknownElement &other, CompareWork &work) const
{
    if (m_kind == ArrayKind) {
        const Array &left = *this;
        const Array &right = other;
        return left.Size() == right.Size() &&
               std::equal(left.Begin(), left.End(), right.Begin(),
                          [&work](const UnknownElement &one, const UnknownElement &two) {
                              return one.equalChild(two, work);
                          });
    }
    const Object &left = *this;
    const Object &right = other;
    return left.Size() == right.Size() &&
           std::equal(left.Begin(), left.End(), right.Begin(),
                      [&work](const Object::Member &one, const Object::Member &two) {
                          return one.name == two.name && one.element.equalChild(two.element, work);
                      });
}

} // namespace json

#endif // JSON_UNKNOWNELEMENTIMPL_H
