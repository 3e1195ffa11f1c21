#ifndef JSON_UNKNOWNELEMENT_H
#define JSON_UNKNOWNELEMENT_H

#include "scalars.h"
#include "visitor.h"

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace json
{

namespace detail
{
struct Branch;
struct ArrayBranch;
struct ObjectBranch;
} // namespace detail

// The implicit conversions are the interface: values convert without casts.
// NOLINTBEGIN(google-explicit-constructor)

// Holds one value of any kind; Null at first.
//
// Access through a const element is checked: it throws json::Exception "Bad cast" for another kind.
//
// Access through a non-const element CONVERTS: a value of another kind is destroyed and replaced by an
// empty one of the wanted kind, also where the code only seems to read (`Number n = element;`). Text is
// never turned into numbers or the like. Read through a const reference what you do not want to change.
//
// A reference or iterator into an element's value is invalid once the element was converted to another
// kind, assigned or swapped.
class UnknownElement
{
public:
    UnknownElement()
        : m_kind(NullKind)
    {
    }
    // A move copies, so that the source keeps its value. swap() exchanges values without copying.
    UnknownElement(const UnknownElement &other);
    UnknownElement(const Object &object);
    UnknownElement(const Array &array);
    UnknownElement(const Number &number)
        : m_kind(NumberKind)
        , m_value(number)
    {
    }
    UnknownElement(const Boolean &boolean)
        : m_kind(BooleanKind)
        , m_value(boolean)
    {
    }
    UnknownElement(const String &string);
    UnknownElement(const Null &)
        : m_kind(NullKind)
    {
    }
    // A String of the terminated text; otherwise the pointer would silently convert to bool. A template, so
    // that a literal 0 is no text.
    template <typename C, typename = typename std::enable_if<std::is_same<C, char>::value>::type>
    explicit UnknownElement(const C *text)
        : UnknownElement(String(std::string(text)))
    {
    }
    ~UnknownElement() { reset(); }

    // Safe for a value from this element's own tree. Unchanged when memory runs out.
    UnknownElement &operator=(const UnknownElement &other);

    // Checked access: throws json::Exception "Bad cast" when the value is of another kind.
    operator const Object &() const;
    operator const Array &() const;
    operator const Number &() const;
    operator const Boolean &() const;
    operator const String &() const;
    operator const Null &() const;

    // Converting access: a value of another kind is lost, and references into it are then invalid.
    operator Object &();
    operator Array &();
    operator Number &();
    operator Boolean &();
    operator String &();
    operator Null &();

    // Converts to Object; appends the member as Null when there is none.
    UnknownElement &operator[](const std::string &name);
    // Checked; throws json::Exception when not an Object or without this member.
    const UnknownElement &operator[](const std::string &name) const;
    // Converts to Array; grows it with Null up to this index.
    UnknownElement &operator[](std::size_t index);
    // Checked; throws json::Exception when not an Array or too short.
    const UnknownElement &operator[](std::size_t index) const;

    // Calls the Visit of the value's kind once; its exceptions pass through.
    void Accept(ConstVisitor &visitor) const;
    void Accept(Visitor &visitor);

    // Values of different kinds are unequal; nothing is converted.
    bool operator==(const UnknownElement &other) const;

    // Exchanges the values without copying.
    friend void swap(UnknownElement &left, UnknownElement &right) noexcept
    {
        std::swap(left.m_kind, right.m_kind);
        std::swap(left.m_value, right.m_value);
    }

private:
    enum Kind { NullKind, BooleanKind, NumberKind, StringKind, ArrayKind, ObjectKind };

    // Values larger than a word are on the heap, so that an element is always two words.
    union Value {
        Value()
            : m_string(nullptr)
        {
        }
        explicit Value(const Number &number)
            : m_number(number)
        {
        }
        explicit Value(const Boolean &boolean)
            : m_boolean(boolean)
        {
        }
        explicit Value(String *string)
            : m_string(string)
        {
        }
        explicit Value(detail::ArrayBranch *array)
            : m_array(array)
        {
        }
        explicit Value(detail::ObjectBranch *object)
            : m_object(object)
        {
        }

        Boolean m_boolean;
        Number m_number;
        String *m_string;
        detail::ArrayBranch *m_array;
        detail::ObjectBranch *m_object;
    };

    typedef std::vector<std::pair<const UnknownElement *, UnknownElement *>> CopyWork;
    typedef std::vector<std::pair<const UnknownElement *, const UnknownElement *>> CompareWork;

    bool isBranch() const { return m_kind == ArrayKind || m_kind == ObjectKind; }
    void require(Kind kind) const;
    template <typename T>
    void convert();
    void reset() noexcept;
    detail::Branch *release() noexcept;
    static void releaseChildren(detail::Branch &parent, detail::Branch *&pending) noexcept;
    void copyLevel(const UnknownElement &other, CopyWork &work);
    void copyChild(const UnknownElement &other, CopyWork &work);
    bool equalLevel(const UnknownElement &other, CompareWork &work) const;
    bool equalChild(const UnknownElement &other, CompareWork &work) const;

    Kind m_kind;
    Null m_null; // without state; the target of references
    Value m_value;
};

// NOLINTEND(google-explicit-constructor)

} // namespace json

#endif // JSON_UNKNOWNELEMENT_H
