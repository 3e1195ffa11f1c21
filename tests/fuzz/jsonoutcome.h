#ifndef JSONOUTCOME_H
#define JSONOUTCOME_H

#include "fuzztarget.h"
#include <json/reader.h>
#include <json/writer.h>

#include <istream>
#include <sstream>
#include <string>

// How reading a text ends, and the content of the value, which was empty before.
template <class Value>
struct JsonOutcome {
    enum Kind { Ok, Scan, Parse };

    Kind kind = Ok;
    std::string message; // of Scan and Parse
    json::Reader::Location begin;
    json::Reader::Location end; // of Parse
    Value value;

    bool isOk() const { return kind == Ok; }
    bool endsLike(const JsonOutcome &other) const
    {
        return kind == other.kind && message == other.message && samePlace(begin, other.begin) &&
               samePlace(end, other.end);
    }

    static bool samePlace(const json::Reader::Location &one, const json::Reader::Location &other)
    {
        return one.m_nLine == other.m_nLine && one.m_nLineOffset == other.m_nLineOffset &&
               one.m_nDocOffset == other.m_nDocOffset;
    }
};

// Exceptions that the reader must not throw pass through.
template <class Value>
JsonOutcome<Value> readJson(std::istream &stream)
{
    JsonOutcome<Value> outcome;
    try {
        json::Reader::Read(outcome.value, stream);
    } catch (const json::Reader::ScanException &error) {
        outcome.kind = JsonOutcome<Value>::Scan;
        outcome.message = error.what();
        outcome.begin = error.m_locError;
    } catch (const json::Reader::ParseException &error) {
        outcome.kind = JsonOutcome<Value>::Parse;
        outcome.message = error.what();
        outcome.begin = error.m_locTokenBegin;
        outcome.end = error.m_locTokenEnd;
    }
    return outcome;
}

template <class Value>
JsonOutcome<Value> readJson(const std::string &text)
{
    std::istringstream stream(text);
    return readJson<Value>(stream);
}

template <class Value>
std::string writeJson(const Value &value)
{
    std::ostringstream stream;
    json::Writer::Write(value, stream);
    REQUIRE(stream.good());
    return stream.str();
}

enum class JsonKind { Object, Array, Number, String, Boolean, Null };

inline JsonKind kindOf(const json::UnknownElement &element)
{
    struct : json::ConstVisitor {
        void Visit(const json::Array &) override { kind = JsonKind::Array; }
        void Visit(const json::Object &) override { kind = JsonKind::Object; }
        void Visit(const json::Number &) override { kind = JsonKind::Number; }
        void Visit(const json::String &) override { kind = JsonKind::String; }
        void Visit(const json::Boolean &) override { kind = JsonKind::Boolean; }
        void Visit(const json::Null &) override { kind = JsonKind::Null; }
        JsonKind kind = JsonKind::Null;
    } visitor;
    element.Accept(visitor);
    return visitor.kind;
}

#endif // JSONOUTCOME_H
