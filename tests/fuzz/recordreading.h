#ifndef RECORDREADING_H
#define RECORDREADING_H

#include "countedwarnings.h"
#include "fuzztarget.h"
#include "jsonoutcome.h"
#include <json/elements.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <string>

// Walks an object as a record's reading must, and predicts all of the result but the values: the number of
// warnings, whether the record accepts the object, and whether a value of another type ends the reading.
class ExpectedReading
{
public:
    int warnings = 0;
    bool refused = false;
    bool mistyped = false;

    // True when the reading is at its end.
    bool isOver() const { return refused || mistyped; }
    bool refuse()
    {
        ++warnings;
        refused = true;
        return false;
    }

    // The member called key. Null when it is missing, or of another kind, which ends the reading.
    const json::UnknownElement *member(const json::Object &object, const char *key, JsonKind kind)
    {
        const json::Object::const_iterator found = object.Find(key);
        if (found == object.End() || isOver())
            return nullptr;
        return checked(found->element, kind) ? &found->element : nullptr;
    }
    bool checked(const json::UnknownElement &element, JsonKind kind)
    {
        if (kindOf(element) != kind)
            mistyped = true;
        return !mistyped;
    }
    void texts(const json::Object &object, const char *key)
    {
        if (const json::UnknownElement *list = member(object, key, JsonKind::Array)) {
            for (const json::UnknownElement &text : static_cast<const json::Array &>(*list))
                checked(text, JsonKind::String);
        }
    }
};

inline bool has(const json::Object &object, const char *key)
{
    return object.Find(key) != object.End();
}

// Tests a record with a text. Each record needs these functions, found by their arguments:
//   ExpectedReading expectedReading(const json::Object &, const Record *)
//   bool holds(const Record &, const json::Object &)
//   bool isSame(const Record &, const Record &)
//   Record rewritten(const Record &)  the record after it was written and read again
namespace recordreading
{

// The result of one reading.
struct Reading {
    bool result = false;
    bool mistyped = false;
    int warnings = 0;
    QString lastWarning;
};

// A reading may throw "Bad cast" and nothing else.
template <class Read>
Reading readInto(Read read)
{
    const CountedWarnings warnings;
    Reading reading;
    try {
        reading.result = read();
    } catch (const json::Exception &error) {
        REQUIRE(std::string(error.what()) == "Bad cast");
        reading.mistyped = true;
    }
    reading.warnings = warnings.count();
    reading.lastWarning = warnings.last();
    return reading;
}

template <class Record>
Reading readText(const QString &text, Record &record)
{
    return readInto([&] { return record.fromJsonString(text); });
}

// The reader's failure leaves the record unchanged and is named in the warning.
template <class Record>
void checkFailure(const Reading &reading, const Record &record, const char *firstWord)
{
    REQUIRE(!reading.result && !reading.mistyped);
    REQUIRE(reading.warnings == 1 && reading.lastWarning.startsWith(QLatin1String(firstWord)));
    REQUIRE(isSame(record, Record()));
}

template <class Record>
void checkReading(const json::Object &object, const Reading &reading, const Record &record)
{
    const ExpectedReading expected = expectedReading(object, static_cast<const Record *>(nullptr));
    REQUIRE(reading.mistyped == expected.mistyped);
    REQUIRE(reading.warnings == expected.warnings);
    // The result of reading from text does not show whether the record accepted the object.
    REQUIRE(reading.result == !expected.mistyped);

    if (!expected.isOver())
        REQUIRE(holds(record, object));

    Record direct;
    const Reading directReading = readInto([&] { return direct.fromJson(object); });
    REQUIRE(directReading.mistyped == expected.mistyped);
    REQUIRE(directReading.warnings == expected.warnings);
    REQUIRE(directReading.result == !expected.isOver());
    // Also after an exception: what was read before it stays.
    REQUIRE(isSame(direct, record));
}

// The record's text read again gives the record as rewritten() has it. A second time it does not change.
template <class Record>
Record checkRewriting(const Record &record)
{
    const QString text = record.toJsonString();
    REQUIRE(text.toLatin1() == QByteArray::fromStdString(writeJson(record.toJson())));
    Record again;
    const Reading reading = readText(text, again);
    REQUIRE(reading.result && !reading.mistyped);
    REQUIRE(isSame(again, rewritten(record)));

    Record thrice;
    REQUIRE(readText(again.toJsonString(), thrice).result);
    REQUIRE(isSame(thrice, again) && thrice.toJsonString() == again.toJsonString());
    return again;
}

// Runs all checks; returns the record as it was read.
template <class Record>
Record check(const std::uint8_t *data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    // Latin-1, so that the reader gets the fuzzer's bytes.
    const QString text = QString::fromLatin1(bytes.data(), static_cast<int>(size));
    Record record;
    const Reading reading = readText(text, record);
    const JsonOutcome<json::Object> outcome = readJson<json::Object>(bytes);
    if (text.isEmpty())
        checkFailure(reading, record, "Trying to parse ");
    else if (outcome.kind == JsonOutcome<json::Object>::Scan)
        checkFailure(reading, record, "Scan error in ");
    else if (outcome.kind == JsonOutcome<json::Object>::Parse)
        checkFailure(reading, record, "Parse error in ");
    else
        checkReading(outcome.value, reading, record);
    checkRewriting(record);
    return record;
}

} // namespace recordreading

#endif // RECORDREADING_H
