// Any bytes through the JSON reader, the result through the writer, and its text through the reader again.

#include "fuzztarget.h"
#include "jsonoutcome.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>

namespace
{

using json::Reader;
using json::UnknownElement;

template <class Value>
using Outcome = JsonOutcome<Value>;

const char NumberBytes[] = "0123456789.eE+-";

// As Reader documents it: counted in bytes, and only LF ends a line.
Reader::Location placeOf(const std::string &text, std::size_t offset)
{
    const std::string before = text.substr(0, offset);
    const std::size_t lineEnd = before.rfind('\n');
    Reader::Location place;
    place.m_nLine = static_cast<unsigned>(std::count(before.begin(), before.end(), '\n'));
    place.m_nLineOffset = static_cast<unsigned>(lineEnd == std::string::npos ? offset : offset - lineEnd - 1);
    place.m_nDocOffset = static_cast<unsigned>(offset);
    return place;
}

bool isPlaceIn(const std::string &text, const Reader::Location &place)
{
    return place.m_nDocOffset <= text.size() &&
           Outcome<UnknownElement>::samePlace(place, placeOf(text, place.m_nDocOffset));
}

bool startsWith(const std::string &text, const char *start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

std::size_t firstToken(const std::string &text)
{
    return std::min(text.find_first_not_of("\t\n\v\f\r "), text.size());
}

// A buffer of a class that the reader does not recognise, so that it takes the bytes one by one.
class UnknownBuffer : public std::stringbuf
{
public:
    explicit UnknownBuffer(const std::string &text)
        : std::stringbuf(text, std::ios_base::in)
    {
    }
};

template <class Value>
void checkStream(const std::string &text, std::istream &stream, const Outcome<Value> &outcome)
{
    const std::streamoff position = stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (outcome.kind != Outcome<Value>::Scan) {
        REQUIRE(stream.eof() && stream.fail() && !stream.bad());
        REQUIRE(position == static_cast<std::streamoff>(text.size()));
        return;
    }
    const std::size_t expected = outcome.begin.m_nDocOffset;
    REQUIRE(position == static_cast<std::streamoff>(expected));
    // It ends only at the end of the stream.
    REQUIRE(!stream.bad() && (stream.good() || expected == text.size()));
}

template <class Value>
void checkErrorPlace(const std::string &text, const Outcome<Value> &outcome)
{
    REQUIRE(isPlaceIn(text, outcome.begin));
    if (outcome.kind == Outcome<Value>::Scan)
        return;
    REQUIRE(isPlaceIn(text, outcome.end));
    const std::size_t begin = outcome.begin.m_nDocOffset, end = outcome.end.m_nDocOffset;
    REQUIRE(begin <= end);
    if (firstToken(text) == text.size()) {
        REQUIRE(outcome.message == "Unexpected end of token stream" && end == 0);
        return;
    }
    REQUIRE(begin < end);
    // Messages with a token show it as it stands there, strings aside; what() ends at a zero byte.
    const std::string token(text.substr(begin, end - begin).c_str());
    for (const char *start : {"Unexpected token: ", "Expected End of token stream; found "}) {
        if (startsWith(outcome.message, start) && token[0] != '"')
            REQUIRE(outcome.message == start + token);
    }
    if (outcome.message == "Unexpected end of token stream")
        REQUIRE(end == text.find_last_not_of("\t\n\v\f\r ") + 1);
    if (startsWith(outcome.message, "Duplicate object member token: "))
        REQUIRE(text[begin] == '"' && text[end - 1] == '"');
}

// A tree, written and read again, is the same.
template <class Value>
void checkRewriting(const Value &value)
{
    const std::string written = writeJson(value);
    const Outcome<Value> again = readJson<Value>(written);
    REQUIRE(again.isOk());
    REQUIRE(again.value == value);
    REQUIRE(writeJson(again.value) == written);
}

template <class Value>
Outcome<Value> checkReading(const std::string &text)
{
    std::istringstream stream(text);
    const Outcome<Value> outcome = readJson<Value>(stream);
    checkStream(text, stream, outcome);
    if (!outcome.isOk())
        checkErrorPlace(text, outcome);
    if (outcome.kind == Outcome<Value>::Scan)
        REQUIRE(outcome.value == Value());
    // After a parse error too the target contains a whole tree. After the error for nesting it can only be
    // written, since it has one array level too many to be read.
    if (outcome.message == "Nesting too deep")
        writeJson(outcome.value);
    else
        checkRewriting(outcome.value);

    UnknownBuffer buffer(text);
    std::istream byteStream(&buffer);
    const Outcome<Value> byByte = readJson<Value>(byteStream);
    REQUIRE(byByte.endsLike(outcome));
    REQUIRE(byByte.value == outcome.value);
    checkStream(text, byteStream, outcome);
    return outcome;
}

// An Object accepts the documents that begin as one, and reads them as an UnknownElement does.
void checkAgreement(const std::string &text, const Outcome<json::Object> &object,
                    const Outcome<UnknownElement> &any)
{
    const std::size_t first = firstToken(text);
    if (any.kind == Outcome<UnknownElement>::Scan || first == text.size() || text[first] == '{') {
        REQUIRE(static_cast<int>(object.kind) == static_cast<int>(any.kind));
        REQUIRE(object.message == any.message);
        REQUIRE(Outcome<json::Object>::samePlace(object.begin, any.begin));
        REQUIRE(Outcome<json::Object>::samePlace(object.end, any.end));
    } else {
        REQUIRE(object.kind == Outcome<json::Object>::Parse);
        REQUIRE(startsWith(object.message, "Unexpected token: "));
        REQUIRE(object.begin.m_nDocOffset == first);
    }
    if (object.isOk())
        REQUIRE(any.value == UnknownElement(object.value));
}

// A scan error anywhere takes precedence over a parse error before it.
void checkOrderOfErrors(const std::string &text, const Outcome<UnknownElement> &any)
{
    const std::string misplaced = "]\n";
    const Outcome<UnknownElement> behind = readJson<UnknownElement>(misplaced + text);
    if (any.kind == Outcome<UnknownElement>::Scan) {
        REQUIRE(behind.kind == Outcome<UnknownElement>::Scan);
        REQUIRE(behind.message == any.message);
        REQUIRE(behind.begin.m_nLine == any.begin.m_nLine + 1);
        REQUIRE(behind.begin.m_nLineOffset == any.begin.m_nLineOffset);
        REQUIRE(behind.begin.m_nDocOffset == any.begin.m_nDocOffset + misplaced.size());
        return;
    }
    REQUIRE(behind.kind == Outcome<UnknownElement>::Parse);
    REQUIRE(behind.message == "Unexpected token: ]");
    REQUIRE(behind.begin.m_nDocOffset == 0 && behind.end.m_nDocOffset == 1);

    const std::string stray = text + " @";
    const Outcome<UnknownElement> before = readJson<UnknownElement>(stray);
    REQUIRE(before.kind == Outcome<UnknownElement>::Scan);
    REQUIRE(before.message == "Unexpected character in stream: @");
    REQUIRE(before.begin.m_nDocOffset == text.size() + 1);
}

// The number as the C library reads it; an incomplete exponent ("1e") and a lone sign are 0.
double expectedNumber(const std::string &token)
{
    char *end = nullptr;
    const double value = std::strtod(token.c_str(), &end);
    return *end != '\0' ? 0.0 : std::max(-DBL_MAX, std::min(DBL_MAX, value));
}

// Each run of bytes that may be meant as a number, alone: read and written as by the C library.
void checkNumbers(const std::string &text)
{
    std::size_t end = 0;
    for (int count = 0; count < 4; ++count) {
        const std::size_t begin = text.find_first_of("-0123456789", end);
        if (begin == std::string::npos)
            return;
        end = std::min(text.find_first_not_of(NumberBytes, begin), text.size());
        const std::string token = text.substr(begin, end - begin);
        const Outcome<json::Number> outcome = readJson<json::Number>(token);
        char *last = nullptr;
        std::strtod(token.c_str(), &last);
        if (*last == '\0')
            REQUIRE(outcome.isOk());
        if (outcome.isOk()) {
            const double expected = expectedNumber(token);
            REQUIRE(outcome.value.Value() == expected);
            REQUIRE(std::signbit(outcome.value.Value()) ==
                    (expected == 0 ? std::signbit(expected) : expected < 0));
            char written[64];
            std::snprintf(written, sizeof written, "%.20g", expected);
            REQUIRE(writeJson(outcome.value) == written);
        } else {
            REQUIRE(outcome.kind == Outcome<json::Number>::Parse);
            REQUIRE(startsWith(outcome.message, "Unexpected character in NUMBER token: "));
        }
    }
}

bool isSame(const QJsonValue &theirs, const UnknownElement &ours);

bool isSame(const QJsonArray &theirs, const json::Array &ours)
{
    if (static_cast<std::size_t>(theirs.size()) != ours.Size())
        return false;
    int index = 0;
    for (const UnknownElement &element : ours) {
        if (!isSame(theirs.at(index++), element))
            return false;
    }
    return true;
}

// Characters beyond Latin-1 become question marks.
std::string latin1(const QString &text)
{
    return text.toLatin1().toStdString();
}

bool isSame(const QJsonObject &theirs, const json::Object &ours)
{
    std::map<std::string, QJsonValue> members;
    for (QJsonObject::const_iterator member = theirs.begin(); member != theirs.end(); ++member)
        members.emplace(latin1(member.key()), member.value());
    if (members.size() != ours.Size())
        return false;
    for (const json::Object::Member &member : ours) {
        const auto found = members.find(member.name);
        if (found == members.end() || !isSame(found->second, member.element))
            return false;
    }
    return true;
}

bool isSame(const QJsonValue &theirs, const UnknownElement &ours)
{
    switch (kindOf(ours)) {
    case JsonKind::Object:
        return theirs.isObject() && isSame(theirs.toObject(), static_cast<const json::Object &>(ours));
    case JsonKind::Array:
        return theirs.isArray() && isSame(theirs.toArray(), static_cast<const json::Array &>(ours));
    case JsonKind::Number:
        return theirs.isDouble() && theirs.toDouble() == static_cast<const json::Number &>(ours).Value();
    case JsonKind::String:
        return theirs.isString() &&
               latin1(theirs.toString()) == static_cast<const json::String &>(ours).Value();
    case JsonKind::Boolean:
        return theirs.isBool() && theirs.toBool() == static_cast<const json::Boolean &>(ours).Value();
    case JsonKind::Null:
        return theirs.isNull();
    }
    return false;
}

QJsonDocument readByQt(const std::string &text)
{
    return QJsonDocument::fromJson(QByteArray(text.data(), static_cast<int>(text.size())));
}

// The text of a document that was read, without this reader's extensions to JSON: other blanks, numbers of
// another form, and any byte in strings.
std::string toStrictJson(const std::string &text)
{
    std::string strict;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        if (byte == '"') {
            inString = !inString;
            strict += byte;
        } else if (inString && byte == '\\') {
            strict += text.substr(i++, 2);
        } else if (inString) {
            strict += byte < ' ' || byte > '~' ? '?' : byte;
        } else if (byte == '-' || (byte >= '0' && byte <= '9')) {
            strict += '0';
            i = std::min(text.find_first_not_of(NumberBytes, i), text.size()) - 1;
        } else {
            strict += byte == '\v' || byte == '\f' ? ' ' : byte;
        }
    }
    return strict;
}

// What Qt's reader accepts this one accepts too and reads with the same result, and the other way round,
// except for intended differences. Only 7-bit text is compared, because the encodings differ.
void checkAgainstOtherReader(const std::string &text, const Outcome<UnknownElement> &any)
{
    if (any.isOk() && (kindOf(any.value) == JsonKind::Object || kindOf(any.value) == JsonKind::Array))
        REQUIRE(!readByQt(toStrictJson(text)).isNull());

    const bool sevenBit = std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
    const QJsonDocument other = readByQt(text);
    if (!sevenBit || other.isNull())
        return;
    if (!any.isOk()) {
        REQUIRE(any.message == "Nesting too deep" ||
                startsWith(any.message, "Duplicate object member token: ") ||
                // Qt accepts any letter behind a backslash, and a number that begins with its point.
                startsWith(any.message, "Unrecognized escape sequence found in string: ") ||
                any.message == "Unexpected character in stream: .");
        return;
    }
    if (other.isObject())
        REQUIRE(isSame(QJsonValue(other.object()), any.value));
    else
        REQUIRE(isSame(QJsonValue(other.array()), any.value));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    const Outcome<json::Object> object = checkReading<json::Object>(text);
    const Outcome<UnknownElement> any = checkReading<UnknownElement>(text);
    checkAgreement(text, object, any);
    checkOrderOfErrors(text, any);
    checkNumbers(text);
    checkAgainstOtherReader(text, any);
    return 0;
}
