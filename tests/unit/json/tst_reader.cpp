#include "json/drippingbuffer.h"
#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <cstddef>
#include <sstream>
#include <string>
#include <type_traits>

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::Reader;
using json::String;
using json::UnknownElement;
using jsontext::outcome;
using jsontext::toBytes;
using jsontext::toStd;
using jsontext::written;

namespace
{

typedef std::ios_base ios;

QByteArray place(const Reader::Location &location)
{
    return QByteArray::number(location.m_nLine) + ':' + QByteArray::number(location.m_nLineOffset) + ':' +
           QByteArray::number(location.m_nDocOffset);
}

// How a reading ends: kind, message and places of an error, separated by tabs.
template <typename Reading>
QByteArray placedOutcomeOf(Reading reading)
{
    try {
        reading();
        return "ok";
    } catch (const Reader::ScanException &error) {
        return "scan\t" + QByteArray(error.what()) + '\t' + place(error.m_locError) + "\t-";
    } catch (const Reader::ParseException &error) {
        return "parse\t" + QByteArray(error.what()) + '\t' + place(error.m_locTokenBegin) + '\t' +
               place(error.m_locTokenEnd);
    }
}

QByteArray placedOutcome(Object &object, std::istream &stream)
{
    return placedOutcomeOf([&] { Reader::Read(object, stream); });
}

} // namespace

class TestReader : public QObject
{
    Q_OBJECT

private slots:
    void corpusIsReadAndRewritten_data();
    void corpusIsReadAndRewritten();
    void scanErrorLeavesStreamAtItsPlace_data() { corpusIsReadAndRewritten_data(); }
    void scanErrorLeavesStreamAtItsPlace();
    void otherBuffersAreReadAlike_data() { corpusIsReadAndRewritten_data(); }
    void otherBuffersAreReadAlike();
    void textInMemoryIsReadAlike_data() { corpusIsReadAndRewritten_data(); }
    void textInMemoryIsReadAlike();

    void emptyDocumentHasNoPlace_data();
    void emptyDocumentHasNoPlace();
    void scanErrorWinsOverEarlierParseError();
    void errorInsideValueWinsOverDuplicate();
    void documentMustBeOfTheTargetsKind_data();
    void documentMustBeOfTheTargetsKind();
    void everyKindIsReadAtTheTop();

    void targetIsExtended();
    void targetOfOtherKindIsReplaced();
    void scanErrorLeavesTargetAlone();
    void targetIsLeftAloneWhereNothingWasBegun();
    void parseErrorKeepsWhatWasBegun_data();
    void parseErrorKeepsWhatWasBegun();

    void exceptionsAreSiblings();
};

// A line of the table has six fields: the text, how reading it as an Object ends, the message, what is
// written then, and where the error begins and ends.
void TestReader::corpusIsReadAndRewritten_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<QByteArray>("rewritten");

    const QList<QList<QByteArray>> lines = jsontext::table(JSON_RESULTS_FILE);
    QVERIFY2(!lines.isEmpty(), "the table of results cannot be read");
    for (int i = 0; i < lines.size(); ++i) {
        const QList<QByteArray> &line = lines.at(i);
        QCOMPARE(line.size(), 6);
        const bool good = line.at(1) == "ok";
        const QByteArray error = line.at(1) + '\t' + line.at(2) + '\t' + line.at(4) + '\t' + line.at(5);
        QTest::newRow((QByteArray::number(i + 1) + ' ' + line.at(0).left(60)).constData())
            << jsontext::unescaped(line.at(0)) << (good ? QByteArray("ok") : jsontext::unescaped(error))
            << (good ? jsontext::unescaped(line.at(3)) : QByteArray());
    }
}

void TestReader::corpusIsReadAndRewritten()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    QFETCH(QByteArray, rewritten);

    Object object;
    std::istringstream stream(toStd(input));
    QCOMPARE(placedOutcome(object, stream), expected);
    if (expected != "ok")
        return;
    QCOMPARE(written(object), rewritten);
    const Object again = jsontext::read<Object>(toStd(rewritten));
    QVERIFY(again == object);
    QCOMPARE(written(again), rewritten);
}

void TestReader::scanErrorLeavesStreamAtItsPlace()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);

    std::istringstream stream(toStd(input));
    Object object;
    try {
        Reader::Read(object, stream);
        QCOMPARE(expected, QByteArray("ok"));
    } catch (const Reader::ParseException &) {
        QCOMPARE(stream.rdstate(), ios::eofbit | ios::failbit);
    } catch (const Reader::ScanException &error) {
        const bool atEnd = error.m_locError.m_nDocOffset == static_cast<unsigned int>(input.size());
        QVERIFY(atEnd || stream.good());
        stream.clear();
        QCOMPARE(static_cast<unsigned int>(stream.tellg()), error.m_locError.m_nDocOffset);
    }
}

void TestReader::otherBuffersAreReadAlike()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    QFETCH(QByteArray, rewritten);
    DrippingBuffer buffer(toStd(input));
    std::istream stream(&buffer);
    Object object;
    QCOMPARE(placedOutcome(object, stream), expected);
    if (expected == "ok")
        QCOMPARE(written(object), rewritten);

    const QList<QByteArray> parts = expected.split('\t');
    const bool atEnd = buffer.taken() == static_cast<std::size_t>(input.size());
    if (parts.first() == "scan") {
        QVERIFY(atEnd || stream.good());
        // The digits of an incomplete code point cannot be given back.
        const int taken = static_cast<int>(buffer.taken());
        const int errorPlace = parts.at(2).split(':').last().toInt();
        QVERIFY(taken == errorPlace || (parts.at(1).endsWith("\\u") && taken > errorPlace));
    } else {
        QVERIFY(atEnd);
        QCOMPARE(stream.rdstate(), ios::eofbit | ios::failbit);
    }
}

void TestReader::textInMemoryIsReadAlike()
{
    QFETCH(QByteArray, input);
    Object object;
    QTEST(placedOutcomeOf([&] { Reader::ReadText(object, toStd(input)); }), "expected");
    Object fromStream;
    std::istringstream stream(toStd(input));
    placedOutcome(fromStream, stream);
    QVERIFY(object == fromStream);
}

void TestReader::emptyDocumentHasNoPlace_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("white") << QByteArray(" \t\r\n\v\f ");
}

void TestReader::emptyDocumentHasNoPlace()
{
    QFETCH(QByteArray, input);
    std::istringstream stream(toStd(input));
    Object object;
    QCOMPARE(placedOutcome(object, stream),
             QByteArray("parse\tUnexpected end of token stream\t0:0:0\t0:0:0"));
}

void TestReader::scanErrorWinsOverEarlierParseError()
{
    Object object;
    QCOMPARE(outcome(object, "{\"a\" 1 @}"), QByteArray("scan: Unexpected character in stream: @"));
    QCOMPARE(outcome(object, "{\"a\":1,\"a\":2,x}"), QByteArray("scan: Unexpected character in stream: x"));
    QCOMPARE(outcome(object, "]]]]\""), QByteArray("scan: Expected string: \""));
}

void TestReader::errorInsideValueWinsOverDuplicate()
{
    Object object;
    QCOMPARE(outcome(object, "{\"a\":1,\"a\":[,]}"), QByteArray("parse: Unexpected token: ,"));
}

void TestReader::documentMustBeOfTheTargetsKind_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("kind");
    const char *const documents[] = {"null", "true", "1", "\"1\"", "[1]", "{\"1\":1}"};
    for (int kind = 0; kind < 6; ++kind)
        QTest::newRow(documents[kind]) << QByteArray(documents[kind]) << kind;
}

void TestReader::documentMustBeOfTheTargetsKind()
{
    QFETCH(QByteArray, input);
    QFETCH(int, kind);
    Null null;
    Boolean boolean;
    Number number;
    String string;
    Array array;
    Object object;
    const std::string text = toStd(input);
    const QByteArray outcomes[] = {outcome(null, text),   outcome(boolean, text), outcome(number, text),
                                   outcome(string, text), outcome(array, text),   outcome(object, text)};
    for (int i = 0; i < 6; ++i) {
        if (i == kind)
            QCOMPARE(outcomes[i], QByteArray("ok"));
        else
            QVERIFY2(outcomes[i].startsWith("parse: Unexpected token: "), outcomes[i].constData());
    }
}

void TestReader::everyKindIsReadAtTheTop()
{
    QVERIFY(jsontext::read<UnknownElement>("null") == Null());
    QVERIFY(jsontext::read<UnknownElement>("true") == Boolean(true));
    QVERIFY(jsontext::read<UnknownElement>("false") == Boolean(false));
    QVERIFY(jsontext::read<UnknownElement>("-1.5") == Number(-1.5));
    QVERIFY(jsontext::read<UnknownElement>("\"x\"") == String("x"));
    QVERIFY(jsontext::read<UnknownElement>("[]") == Array());
    QVERIFY(jsontext::read<UnknownElement>("{}") == Object());
}

void TestReader::targetIsExtended()
{
    Object object;
    object["a"] = Number(1);
    QCOMPARE(outcome(object, "{\"b\":2}"), QByteArray("ok"));
    QCOMPARE(written(object), QByteArray("{\n\t\"a\" : 1,\n\t\"b\" : 2\n}"));
    QCOMPARE(outcome(object, "{\"c\":3,\"a\":4}"), QByteArray("parse: Duplicate object member token: a"));
    QCOMPARE(written(object), QByteArray("{\n\t\"a\" : 1,\n\t\"b\" : 2,\n\t\"c\" : 3\n}"));

    Array array;
    array.Insert(Number(1));
    QCOMPARE(outcome(array, "[2]"), QByteArray("ok"));
    QCOMPARE(written(array), QByteArray("[\n\t1,\n\t2\n]"));

    UnknownElement element = array;
    QCOMPARE(outcome(element, "[3]"), QByteArray("ok"));
    QCOMPARE(written(element), QByteArray("[\n\t1,\n\t2,\n\t3\n]"));
}

void TestReader::targetOfOtherKindIsReplaced()
{
    UnknownElement element = String("x");
    QCOMPARE(outcome(element, "[3]"), QByteArray("ok"));
    QCOMPARE(written(element), QByteArray("[\n\t3\n]"));
    QCOMPARE(outcome(element, "null"), QByteArray("ok"));
    QVERIFY(element == Null());
}

void TestReader::scanErrorLeavesTargetAlone()
{
    UnknownElement element = String("x");
    QCOMPARE(outcome(element, "[1,2,@"), QByteArray("scan: Unexpected character in stream: @"));
    QVERIFY(element == String("x"));
}

void TestReader::targetIsLeftAloneWhereNothingWasBegun()
{
    Array array = jsontext::read<Array>("[1]");
    QCOMPARE(outcome(array, "["), QByteArray("parse: Unexpected end of token stream"));
    QCOMPARE(written(array), QByteArray("[\n\t1\n]"));
    QCOMPARE(outcome(array, ""), QByteArray("parse: Unexpected end of token stream"));
    QCOMPARE(written(array), QByteArray("[\n\t1\n]"));
    UnknownElement element = String("x");
    QCOMPARE(outcome(element, " "), QByteArray("parse: Unexpected end of token stream"));
    QVERIFY(element == String("x"));
}

void TestReader::parseErrorKeepsWhatWasBegun_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("kept");
    const char *const rows[][2] = {
        // An Array keeps the element that has begun: behind the bracket anything but its end begins one, and
        // a comma does.
        {"[1,[2,3,}", "[\n\t1,\n\t[\n\t\t2,\n\t\t3,\n\t\tnull\n\t]\n]"},
        {"[1,]", "[\n\t1,\n\tnull\n]"},
        {"[1,", "[\n\t1,\n\tnull\n]"},
        {"[}", "[\n\tnull\n]"},
        {"[,1]", "[\n\tnull\n]"},
        {"[1,1.2.3]", "[\n\t1,\n\t0\n]"},
        {"[1 2]", "[\n\t1\n]"},
        {"[1", "[\n\t1\n]"},
        {"[1] 2", "[\n\t1\n]"},
        // At the end of the document no element has begun.
        {"[", "[]"},
        {" [ ", "[]"},
        {"[[", "[\n\t[]\n]"},
        {"[1,[", "[\n\t1,\n\t[]\n]"},
        {"[[]", "[\n\t[]\n]"},
        {"[{", "[\n\t{}\n]"},
        {"{", "{}"},
        // An Object keeps its finished members only.
        {"{\"a\"", "{}"},
        {"{\"a\":", "{}"},
        {"{\"a\":[", "{}"},
        {"{\"a\":1", "{\n\t\"a\" : 1\n}"},
        {"{\"a\":1,", "{\n\t\"a\" : 1\n}"},
        {"{\"a\":1,\"b\":{\"c\":2,}}", "{\n\t\"a\" : 1\n}"},
        {"{\"a\":1,\"b\":[2,", "{\n\t\"a\" : 1\n}"},
        {"{\"a\":1,\"a\":2}", "{\n\t\"a\" : 1\n}"},
        {"[{\"a\":1,\"b\"}]", "[\n\t{\n\t\t\"a\" : 1\n\t}\n]"},
        {"{\"a\":1}}", "{\n\t\"a\" : 1\n}"},
    };
    for (const auto &row : rows)
        QTest::newRow(row[0]) << QByteArray(row[0]) << QByteArray(row[1]);
}

void TestReader::parseErrorKeepsWhatWasBegun()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, kept);
    const std::string text = toStd(input);
    UnknownElement element;
    const QByteArray end = outcome(element, text);
    QVERIFY2(end.startsWith("parse: "), end.constData());
    QCOMPARE(written(element), kept);

    // The same in a target of the document's own kind.
    Array array;
    Object object;
    const bool isArray = input.trimmed().startsWith('[');
    QCOMPARE(isArray ? outcome(array, text) : outcome(object, text), end);
    QCOMPARE(isArray ? written(array) : written(object), kept);
}

void TestReader::exceptionsAreSiblings()
{
    static_assert(std::is_base_of<json::Exception, Reader::ScanException>::value, "");
    static_assert(std::is_base_of<json::Exception, Reader::ParseException>::value, "");
    static_assert(!std::is_base_of<Reader::ScanException, Reader::ParseException>::value, "");
    static_assert(!std::is_base_of<Reader::ParseException, Reader::ScanException>::value, "");

    const Reader::Location nowhere;
    QCOMPARE(place(nowhere), QByteArray("0:0:0"));
    Reader::Location there;
    there.m_nLine = 1;
    const Reader::ParseException original("text", nowhere, there);
    const Reader::ParseException copy(original);
    QCOMPARE(copy.what(), "text");
    QCOMPARE(copy.m_locTokenEnd.m_nLine, 1U);
}

QTEST_APPLESS_MAIN(TestReader)
#include "tst_reader.moc"
