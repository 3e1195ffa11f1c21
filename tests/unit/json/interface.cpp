// What must compile against the JSON headers and what must not; compiling this file is the test.

#include <json/elements.h>

#include <istream>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

// Callers may declare the classes that they only name.
namespace json
{
class Object;
class Array;
class UnknownElement;
class Null;
class Exception;
class Reader;
class Writer;
class Visitor;
class ConstVisitor;
} // namespace json

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;

namespace
{

// Checks an expression with these operands: c and e are a const and a non-const element, the others are what
// their names say.
template <typename Use>
constexpr bool usable(Use)
{
    return std::is_invocable_v<Use, const UnknownElement &, UnknownElement &, Number &, Boolean &, String &,
                               std::string &, Object &, Array &>;
}
// clang-format off
#define COMPILES(...)                                                                                      \
    usable([]([[maybe_unused]] auto &c, [[maybe_unused]] auto &e, [[maybe_unused]] auto &number,           \
              [[maybe_unused]] auto &boolean, [[maybe_unused]] auto &string, [[maybe_unused]] auto &text,  \
              [[maybe_unused]] auto &object, [[maybe_unused]] auto &array) -> decltype(void(__VA_ARGS__)) {})
// clang-format on

// Initialises a T the way `T v = x;` does.
template <typename T>
void copyInitialise(T);

template <typename T>
constexpr bool elementGives()
{
    return std::is_convertible_v<const UnknownElement &, const T &> &&
           std::is_convertible_v<UnknownElement &, T &> && std::is_convertible_v<const UnknownElement &, T> &&
           std::is_convertible_v<UnknownElement &, T> && std::is_constructible_v<T, const UnknownElement &> &&
           std::is_constructible_v<T, UnknownElement &> &&
           std::is_assignable_v<T &, const UnknownElement &> &&
           !std::is_convertible_v<const UnknownElement &, T &>;
}
static_assert(elementGives<Object>() && elementGives<Array>() && elementGives<Number>());
static_assert(elementGives<Boolean>() && elementGives<String>() && elementGives<Null>());

template <typename T>
constexpr bool elementGivesPlain()
{
    return std::is_convertible_v<const UnknownElement &, T> ||
           std::is_constructible_v<T, const UnknownElement &> ||
           std::is_assignable_v<T &, const UnknownElement &>;
}
static_assert(!elementGivesPlain<double>() && !elementGivesPlain<bool>() && !elementGivesPlain<int>());
static_assert(!elementGivesPlain<std::string>());

static_assert(COMPILES(copyInitialise<double>((Number)c)));
static_assert(COMPILES(copyInitialise<int>((Number)c)));
static_assert(COMPILES(copyInitialise<bool>((Boolean)c)));
static_assert(COMPILES(copyInitialise<std::string>((String)c)));
static_assert(COMPILES(copyInitialise<const std::string &>((String)c)));
static_assert(COMPILES(((const String &)c).Value()));
static_assert(COMPILES(static_cast<const Number &>(c).Value()));
static_assert(!COMPILES(c ? 1 : 0));
static_assert(!COMPILES((double)c));

static_assert(COMPILES(e = Number(1)) && COMPILES(e = String("x")) && COMPILES(e = object));
static_assert(COMPILES(e = array) && COMPILES(e = Null()) && COMPILES(e = c));
static_assert(!COMPILES(e = 1.0) && !COMPILES(e = true) && !COMPILES(e = "x") && !COMPILES(e = text));
static_assert(!std::is_constructible_v<UnknownElement, double> &&
              !std::is_constructible_v<UnknownElement, bool>);
static_assert(!std::is_convertible_v<double, UnknownElement>);
static_assert(std::is_constructible_v<UnknownElement, std::string>);

static_assert(COMPILES(e == Number(1)) && COMPILES(e == String("x")) && COMPILES(Number(1) == e));
static_assert(COMPILES(e == object) && COMPILES(e == array));
static_assert(!COMPILES(std::declval<std::ostream &>() << e));
static_assert(COMPILES(std::declval<std::istream &>() >> e));

static_assert(COMPILES(number = 2.0) && COMPILES(number += 1) && COMPILES(++number));
static_assert(COMPILES(number * 2) && COMPILES(number < 2.0) && COMPILES(number != Number(1)));
static_assert(COMPILES(copyInitialise<Number>(3)) && COMPILES(copyInitialise<int>(number)));
static_assert(COMPILES(copyInitialise<double &>(number)) && COMPILES(boolean ? 1 : 0) && COMPILES(!boolean));
static_assert(COMPILES(std::declval<std::ostream &>() << number));
static_assert(COMPILES(std::declval<std::ostream &>() << boolean));
static_assert(COMPILES(std::declval<std::istream &>() >> number));
static_assert(COMPILES(string = text) && COMPILES(text = string) && COMPILES(text += string));
static_assert(COMPILES(string == text) && COMPILES(object[string]) && COMPILES(copyInitialise<String>(text)));
static_assert(!COMPILES(number == 1.0) && !COMPILES(boolean == true) &&
              !std::is_convertible_v<const char *, String>);
static_assert(!COMPILES(string = "x") && !COMPILES(string == "x") && !COMPILES("x" + string));
static_assert(!COMPILES(std::declval<std::ostream &>() << string) && !COMPILES(string.size()));

static_assert(COMPILES(array.Insert(array)) && COMPILES(array.Insert(Number(1))) &&
              COMPILES(array.Insert(object)));
static_assert(COMPILES(array.Insert(String("x"))) && COMPILES(array.Insert(Null(), array.Begin())));
static_assert(!COMPILES(array.Insert(1.0)) && !COMPILES(array.Insert("x")));
static_assert(std::is_convertible_v<std::string, Object::Member>);
static_assert(!COMPILES(object.Erase(text)) && !COMPILES(object.Resize(2)));
static_assert(!COMPILES(object.Insert("a", Number(1))) && !COMPILES(array.push_back(Number(1))));

static_assert(std::is_convertible_v<std::string, json::Exception>);
static_assert(!std::is_default_constructible_v<json::Exception>);
static_assert(std::is_base_of_v<std::runtime_error, json::Exception>);
static_assert(json::Version::MAJOR == 2 && json::Version::MINOR == 0 && json::Version::ENGINEERING == 2);

} // namespace
