// Hostile documents. Time is not measured here: quadratic time is detected by the memory that is requested,
// or by the test's time limit.

#include "json/countedmemory.h"
#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <string>

using json::Array;
using json::Null;
using json::Number;
using json::Object;
using json::Reader;
using json::String;
using json::UnknownElement;
using jsontext::outcome;
using jsontext::written;

namespace
{

std::string repeated(const std::string &text, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

// The memory that reading the text as an Array requests from operator new, a copy of the text included.
struct Cost {
    explicit Cost(const std::string &text)
    {
        const std::size_t blocksBefore = countedmemory::blocks();
        const std::size_t bytesBefore = countedmemory::bytes();
        Array array;
        end = outcome(array, text);
        blocks = countedmemory::blocks() - blocksBefore;
        bytes = countedmemory::bytes() - bytesBefore;
    }

    QByteArray end;
    std::size_t blocks;
    std::size_t bytes;
};

std::string members(int count)
{
    std::string text = "{";
    for (int i = 0; i < count; ++i)
        text += "\"member with a rather long common name " + std::to_string(i) + "\":null,\n";
    return text;
}

// Sanitizers add space between all objects on the stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const bool LargeFrames = true;
#elif defined(__has_feature)
const bool LargeFrames = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
const bool LargeFrames = false;
#endif

// Runs every operation on a document with the stack size that Reader promises to be enough.
class SmallThread : public QThread
{
public:
    explicit SmallThread(const std::string &text)
        : m_text(text)
    {
        setStackSize(256 * 1024);
    }

    QByteArray end;

protected:
    void run() override
    {
        UnknownElement element;
        end = outcome(element, m_text);
        const UnknownElement copy = element;
        if (!(copy == element) || written(copy).isEmpty())
            end = "not the same";
    }

private:
    const std::string m_text;
};

} // namespace

class TestReaderLimits : public QObject
{
    Q_OBJECT

private slots:
    void depthIsBounded_data();
    void depthIsBounded();
    void tooDeepIsToldAtTheBracket();
    void manyOpenBracketsAreRefused_data();
    void manyOpenBracketsAreRefused();
    void depthCountsOpenLevelsOnly();
    void deepestIsReadWithLittleStack_data();
    void deepestIsReadWithLittleStack();

    void largeDocumentIsReadAndRewritten();
    void duplicateAmongManyIsFound_data();
    void duplicateAmongManyIsFound();
    void duplicateOfOldMemberAmongManyIsFound();
    void manyMembersAreRead();
    void longNumberIsRead();
    void longTextIsRead();
    void emptyContainersAreSmall_data();
    void emptyContainersAreSmall();
    void nestingIsBuiltInPlace();
};

void TestReaderLimits::depthIsBounded_data()
{
    QTest::addColumn<QByteArray>("open");
    QTest::addColumn<QByteArray>("close");
    QTest::newRow("arrays") << QByteArray("[") << QByteArray("]");
    QTest::newRow("objects") << QByteArray("{\"a\":") << QByteArray("}");
}

void TestReaderLimits::depthIsBounded()
{
    QFETCH(QByteArray, open);
    QFETCH(QByteArray, close);
    const std::string opening = jsontext::toStd(open);
    const std::string closing = jsontext::toStd(close);
    UnknownElement element;
    QCOMPARE(outcome(element, repeated(opening, 512) + "1" + repeated(closing, 512)), QByteArray("ok"));
    element = Null();
    QCOMPARE(outcome(element, repeated(opening, 513) + "1" + repeated(closing, 513)),
             QByteArray("parse: Nesting too deep"));
}

void TestReaderLimits::tooDeepIsToldAtTheBracket()
{
    try {
        jsontext::read<UnknownElement>("\n" + repeated("[", 513) + repeated("]", 513));
        QFAIL("no exception");
    } catch (const Reader::ParseException &error) {
        QCOMPARE(error.m_locTokenBegin.m_nLine, 1U);
        QCOMPARE(error.m_locTokenBegin.m_nLineOffset, 512U);
        QCOMPARE(error.m_locTokenEnd.m_nDocOffset, 514U);
    }
}

void TestReaderLimits::manyOpenBracketsAreRefused_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray arrays = QByteArray(200000, '[');
    const QByteArray objects = QByteArray("{\"a\":").repeated(200000);
    const QByteArray tooDeep("parse: Nesting too deep");
    QTest::newRow("arrays") << arrays << tooDeep;
    QTest::newRow("closed arrays") << arrays + QByteArray(200000, ']') << tooDeep;
    QTest::newRow("objects") << objects << tooDeep;
    QTest::newRow("closed objects") << objects + "1" + QByteArray(200000, '}') << tooDeep;
    QTest::newRow("stray byte at the end")
        << objects + "@" << QByteArray("scan: Unexpected character in stream: @");
}

void TestReaderLimits::manyOpenBracketsAreRefused()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    UnknownElement element;
    QCOMPARE(outcome(element, jsontext::toStd(input)), expected);
}

void TestReaderLimits::depthCountsOpenLevelsOnly()
{
    UnknownElement element;
    QCOMPARE(outcome(element, "[" + repeated("[[{\"a\":{}}]],", 1000) + "1]"), QByteArray("ok"));
    const Array &array = element;
    QCOMPARE(array.Size(), std::size_t(1001));
}

void TestReaderLimits::deepestIsReadWithLittleStack_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray objects = QByteArray("{\"a\":").repeated(512);
    const QByteArray both = QByteArray("{\"a\":[").repeated(256);
    QTest::newRow("arrays") << QByteArray(512, '[') + "1.5" + QByteArray(512, ']') << QByteArray("ok");
    QTest::newRow("objects") << objects + "1.5" + QByteArray(512, '}') << QByteArray("ok");
    QTest::newRow("both") << both + "1.5" + QByteArray("]}").repeated(256) << QByteArray("ok");
    QTest::newRow("too many") << objects + "[" << QByteArray("parse: Nesting too deep");
    QTest::newRow("broken off") << objects << QByteArray("parse: Unexpected end of token stream");
}

void TestReaderLimits::deepestIsReadWithLittleStack()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    if (LargeFrames)
        QSKIP("built with a sanitizer");
    SmallThread thread(jsontext::toStd(input));
    thread.start();
    QVERIFY(thread.wait());
    QCOMPARE(thread.end, expected);
}

void TestReaderLimits::largeDocumentIsReadAndRewritten()
{
    // In the Writer's format, so that the result is equal byte for byte.
    std::string text = "[";
    while (text.size() < 2000000) {
        text += text.size() > 1 ? ",\n\t{" : "\n\t{";
        text += "\n\t\t\"name\" : \"eth0\",\n\t\t\"metric\" : 1024.5,\n\t\t\"dhcp\" : false,"
                "\n\t\t\"dns\" : [\n\t\t\tnull,\n\t\t\t\"caf\xe9\\n\"\n\t\t]\n\t}";
    }
    text += "\n]";
    Array array;
    QCOMPARE(outcome(array, text), QByteArray("ok"));
    QVERIFY(written(array) == jsontext::toBytes(text));
}

void TestReaderLimits::duplicateAmongManyIsFound_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *number : {"0", "50000", "99999"})
        QTest::newRow(number) << QByteArray("member with a rather long common name ") + number;
}

void TestReaderLimits::duplicateAmongManyIsFound()
{
    QFETCH(QByteArray, name);
    const std::string text = jsontext::toStd(name);
    Object object;
    QCOMPARE(outcome(object, members(100000) + "\"" + text + "\":1}"),
             "parse: Duplicate object member token: " + name);
    QCOMPARE(object.Size(), std::size_t(100000));
    QVERIFY(object[text] == Null());
}

void TestReaderLimits::duplicateOfOldMemberAmongManyIsFound()
{
    for (int count = 0; count < 40; ++count) {
        Object object;
        object["old"] = Number(1);
        QCOMPARE(outcome(object, members(count) + "\"old\":2}"),
                 QByteArray("parse: Duplicate object member token: old"));
        QCOMPARE(object.Size(), static_cast<std::size_t>(count + 1));
    }
}

void TestReaderLimits::manyMembersAreRead()
{
    Object object;
    QCOMPARE(outcome(object, members(100000) + "\"last\":1}"), QByteArray("ok"));
    QCOMPARE(object.Size(), std::size_t(100001));
    QCOMPARE((--object.End())->name, std::string("last"));
}

void TestReaderLimits::longNumberIsRead()
{
    const std::string digits(2000000, '3');
    QCOMPARE(jsontext::read<Number>("0." + digits).Value(), 1.0 / 3);
    QCOMPARE(jsontext::read<Number>(digits).Value(), std::numeric_limits<double>::max());
    QCOMPARE(jsontext::read<Number>("1e" + digits).Value(), std::numeric_limits<double>::max());
    QCOMPARE(jsontext::read<Number>("0." + std::string(1000000, '0') + digits + "e1000001").Value(),
             10.0 / 3);
    Number number;
    QCOMPARE(outcome(number, digits + ".." + digits),
             QByteArray("parse: Unexpected character in NUMBER token: ."));
}

void TestReaderLimits::longTextIsRead()
{
    const std::string text = "a\\n" + std::string(2000000, '\xe9') + std::string(3, '\0');
    QCOMPARE(jsontext::read<String>("\"" + text + "\"").Value().size(), text.size() - 1);
}

void TestReaderLimits::emptyContainersAreSmall_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::newRow("arrays") << QByteArray("[],");
    QTest::newRow("objects") << QByteArray("{},");
}

void TestReaderLimits::emptyContainersAreSmall()
{
    QFETCH(QByteArray, item);
    const int count = 300000;
    const Cost cost("[" + repeated(jsontext::toStd(item), count) + "null]");
    QCOMPARE(cost.end, QByteArray("ok"));
    // An element and its container take some words each, the containers partly twice; three bytes of text are
    // in buffers that doubled as they grew.
    const std::size_t perItem = cost.bytes / static_cast<std::size_t>(count);
    QVERIFY2(perItem < 25 * sizeof(void *), QByteArray::number(static_cast<int>(perItem)).constData());
}

void TestReaderLimits::nestingIsBuiltInPlace()
{
    // Copying a level into the one above would make blocks grow with the square of the depth.
    const std::string shallow = repeated("{\"a\":", 100) + "1" + repeated("}", 100);
    const std::string deep = repeated("{\"a\":", 500) + "1" + repeated("}", 500);
    const Cost once("[" + shallow + "]");
    const Cost five("[" + deep + "]");
    QCOMPARE(once.end, QByteArray("ok"));
    QCOMPARE(five.end, QByteArray("ok"));
    QVERIFY2(five.blocks < 6 * once.blocks, QByteArray::number(static_cast<int>(five.blocks)).constData());
}

QTEST_APPLESS_MAIN(TestReaderLimits)
#include "tst_readerlimits.moc"
