// Where the interface leaves a trap open: what src/json does there.

#include <QByteArray>
#include <QTest>

#include "json/jsontext.h"

#include <limits>
#include <string>
#include <utility>

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;
using jsontext::written;

namespace
{

// Far deeper than any thread's stack allows for recursion.
const int Deep = 200000;

UnknownElement deepArrays()
{
    UnknownElement root;
    UnknownElement *innermost = &root;
    for (int i = 0; i < Deep; ++i)
        innermost = &(*innermost)[0];
    return root;
}

UnknownElement deepObjects()
{
    UnknownElement root;
    UnknownElement *innermost = &root;
    for (int i = 0; i < Deep; ++i)
        innermost = &(*innermost)["a"];
    return root;
}

// Counts what it is given and forgets it: the text of a deep tree is mostly tabs.
class CountingBuffer : public std::streambuf
{
public:
    std::streamsize count = 0;

protected:
    std::streamsize xsputn(const char *, std::streamsize size) override
    {
        count += size;
        return size;
    }
    int_type overflow(int_type byte) override
    {
        count += traits_type::eq_int_type(byte, traits_type::eof()) ? 0 : 1;
        return traits_type::not_eof(byte);
    }
};

} // namespace

class TestSafety : public QObject
{
    Q_OBJECT

private slots:
    void objectTakesItsDescendant();
    void arrayTakesItsDescendant();
    void objectMovesFromItsDescendant();
    void arrayMovesFromItsDescendant();
    void memberTakesItsDescendant();
    void selfAssignmentKeepsReferences();
    void largestIndexIsRefused();
    void impossibleSizeIsRefusedAndForgotten();
    void literalTextIsAString();
    void rangeForWalksContainers();
    void iteratorsOfEmptyArraysCompare();
    void deepTreesNeedNoStack_data();
    void deepTreesNeedNoStack();
    void deepTreesDifferAtTheirEnd();
    void deepTreeIsWritten();
};

void TestSafety::objectTakesItsDescendant()
{
    Object object;
    object["c"]["x"]["y"] = String("kept");
    object["other"] = Number(1);
    Object &child = object["c"];
    object = child;
    QCOMPARE(written(object), QByteArray("{\n\t\"x\" : {\n\t\t\"y\" : \"kept\"\n\t}\n}"));
}

void TestSafety::arrayTakesItsDescendant()
{
    Array array;
    array[1][0] = String("kept");
    Array &child = array[1];
    array = child;
    QCOMPARE(written(array), QByteArray("[\n\t\"kept\"\n]"));
}

void TestSafety::objectMovesFromItsDescendant()
{
    Object object;
    object["c"]["x"] = String("kept");
    Object &child = object["c"];
    object = std::move(child);
    QCOMPARE(written(object), QByteArray("{\n\t\"x\" : \"kept\"\n}"));
}

void TestSafety::arrayMovesFromItsDescendant()
{
    Array array;
    array[1][0] = String("kept");
    Array &child = array[1];
    array = std::move(child);
    QCOMPARE(written(array), QByteArray("[\n\t\"kept\"\n]"));
}

void TestSafety::memberTakesItsDescendant()
{
    Object::Member member("outer");
    member.element["inner"]["x"] = String("kept");
    const Object &content = member.element;
    member = *content.Begin();
    QCOMPARE(member.name, std::string("inner"));
    QCOMPARE(written(member.element), QByteArray("{\n\t\"x\" : \"kept\"\n}"));
}

void TestSafety::selfAssignmentKeepsReferences()
{
    Object object;
    UnknownElement &member = object["a"];
    const Object &sameObject = object;
    object = sameObject;
    member = Number(1);
    QVERIFY(object["a"] == Number(1));

    Array array;
    UnknownElement &element = array[0];
    const Array &sameArray = array;
    array = sameArray;
    element = Number(1);
    QVERIFY(array[0] == Number(1));
}

void TestSafety::largestIndexIsRefused()
{
    const std::size_t largest = std::numeric_limits<std::size_t>::max();
    Array array;
    array.Resize(2);
    try {
        array[largest];
        QFAIL("no exception");
    } catch (const json::Exception &error) {
        QCOMPARE(error.what(), "Array out of bounds");
    }
    QCOMPARE(array.Size(), std::size_t(2));
}

void TestSafety::impossibleSizeIsRefusedAndForgotten()
{
    Array array;
    try {
        array.Resize(std::numeric_limits<std::size_t>::max());
        QFAIL("no exception");
    } catch (const std::length_error &) {
    } catch (const std::bad_alloc &) {
    }
    QVERIFY(array.Empty());
    array.Insert(Number(1));
    QCOMPARE(array.Size(), std::size_t(1));
}

void TestSafety::literalTextIsAString()
{
    const UnknownElement literal("x");
    QVERIFY(literal == String("x"));
    const char *const pointer = "y";
    QVERIFY(UnknownElement(pointer) == String("y"));
    char array[] = "z";
    QVERIFY(UnknownElement(array) == String("z"));
    QCOMPARE(written("x"), QByteArray("\"x\""));
}

void TestSafety::rangeForWalksContainers()
{
    Array array;
    array[0] = Number(1);
    array[1] = Number(2);
    double sum = 0;
    for (UnknownElement &element : array)
        element = Number(2 * static_cast<Number &>(element));
    for (const UnknownElement &element : static_cast<const Array &>(array))
        sum += static_cast<const Number &>(element).Value();
    QCOMPARE(sum, 6.0);

    Object object;
    object["a"];
    object["b"];
    std::string names;
    for (Object::Member &member : object)
        member.element = Null();
    for (const Object::Member &member : static_cast<const Object &>(object))
        names += member.name;
    QCOMPARE(names, std::string("ab"));
}

void TestSafety::iteratorsOfEmptyArraysCompare()
{
    Array never;
    Array emptied;
    emptied.Resize(3);
    emptied.Resize(0);
    QCOMPARE(never.End() - never.Begin(), Array::Elements::difference_type(0));
    QVERIFY(emptied.Begin() == emptied.End());
    QVERIFY(never == emptied);
    // The end of an empty Array is a place to insert at.
    never.Insert(Number(1), never.Begin());
    emptied.Insert(Number(1), emptied.End());
    QVERIFY(never == emptied);
}

void TestSafety::deepTreesNeedNoStack_data()
{
    QTest::addColumn<bool>("objects");
    QTest::newRow("arrays") << false;
    QTest::newRow("objects") << true;
}

void TestSafety::deepTreesNeedNoStack()
{
    QFETCH(bool, objects);
    UnknownElement original = objects ? deepObjects() : deepArrays();
    UnknownElement copy = original;
    QVERIFY(copy == original);
    copy = Null();
    QVERIFY(!(copy == original));

    // As a value of its own the outermost container is taken apart by its own destructor.
    if (objects) {
        Object container = original;
        QVERIFY(UnknownElement(container) == original);
    } else {
        Array container = original;
        QVERIFY(UnknownElement(container) == original);
    }
}

void TestSafety::deepTreesDifferAtTheirEnd()
{
    UnknownElement original = deepObjects();
    UnknownElement copy = original;
    UnknownElement *innermost = &copy;
    for (int i = 0; i < Deep; ++i)
        innermost = &(*innermost)["a"];
    *innermost = Boolean(true);
    QVERIFY(!(copy == original));
}

void TestSafety::deepTreeIsWritten()
{
    // A stack of this many calls would already be too much; the tabs of more would only take time.
    const int depth = 40000;
    UnknownElement root;
    UnknownElement *innermost = &root;
    for (int i = 0; i < depth; ++i)
        innermost = &(*innermost)[0];

    CountingBuffer buffer;
    std::ostream stream(&buffer);
    json::Writer::Write(root, stream);
    // Each level has a bracket, a line end and its tabs before and after what is in it.
    const std::streamsize levels = depth;
    QCOMPARE(buffer.count, 4 * levels + levels * levels + std::streamsize(4));
}

QTEST_APPLESS_MAIN(TestSafety)
#include "tst_safety.moc"
