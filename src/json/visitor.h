#ifndef JSON_VISITOR_H
#define JSON_VISITOR_H

#include "standard.h"

#include <string>

namespace json
{

template <typename T>
class TrivialType_T;
typedef TrivialType_T<double> Number;
typedef TrivialType_T<bool> Boolean;
typedef TrivialType_T<std::string> String;
class Array;
class Null;
class Object;

// Receives the value of an element as its real kind, to edit it in place. UnknownElement::Accept calls
// exactly one Visit and does not visit children; a visitor calls Accept on them itself if needed. The
// reference is valid during the call; a visitor must not convert or assign the visited element.
class Visitor
{
public:
    virtual ~Visitor() {}
    virtual void Visit(Array &array) = 0;
    virtual void Visit(Object &object) = 0;
    virtual void Visit(Number &number) = 0;
    virtual void Visit(String &string) = 0;
    virtual void Visit(Boolean &boolean) = 0;
    virtual void Visit(Null &null) = 0;
};

// The read-only form of Visitor.
class ConstVisitor
{
public:
    virtual ~ConstVisitor() {}
    virtual void Visit(const Array &array) = 0;
    virtual void Visit(const Object &object) = 0;
    virtual void Visit(const Number &number) = 0;
    virtual void Visit(const String &string) = 0;
    virtual void Visit(const Boolean &boolean) = 0;
    virtual void Visit(const Null &null) = 0;
};

} // namespace json

#endif // JSON_VISITOR_H
