// Cases that the interface leaves undefined, as src/json handles them.

#include "json/complaint.h"
#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <atomic>
#include <functional>
#include <limits>
#include <memory>
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

// Deeper than the stack below allows for recursion.
const int Deep = 10000;

// Runs the test on a stack that is too small for one call for each level of a deep tree.
bool passesOnSmallStack(const std::function<bool()> &test)
{
    // Atomic because the thread sanitizer does not see that Qt has waited for the thread.
    std::atomic<bool> passed{false};
    const std::unique_ptr<QThread> thread(QThread::create([&test, &passed] { passed = test(); }));
    thread->setStackSize(256 * 1024);
    thread->start();
    return thread->wait() && passed;
}

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

// Counts and discards its input: the text of a deep tree is mostly tabs.
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
    for (const bool moving : {false, true}) {
        Object object;
        object["c"]["x"]["y"] = String("kept");
        object["other"] = Number(1);
        Object &child = object["c"];
        if (moving)
            object = std::move(child);
        else
            object = child;
        QCOMPARE(written(object), QByteArray("{\n\t\"x\" : {\n\t\t\"y\" : \"kept\"\n\t}\n}"));
    }
}

void TestSafety::arrayTakesItsDescendant()
{
    for (const bool moving : {false, true}) {
        Array array;
        array[1][0] = String("kept");
        Array &child = array[1];
        if (moving)
            array = std::move(child);
        else
            array = child;
        QCOMPARE(written(array), QByteArray("[\n\t\"kept\"\n]"));
    }
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
    QCOMPARE(complaint([&] { array[largest]; }), QByteArray("Array out of bounds"));
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
    QVERIFY(passesOnSmallStack([objects] {
        UnknownElement original = objects ? deepObjects() : deepArrays();
        UnknownElement copy = original;
        const bool same = copy == original;
        copy = Null();
        // The outermost container is destroyed as a value, by its own destructor.
        if (objects) {
            Object container = original;
            return same && !(copy == original) && UnknownElement(container) == original;
        }
        Array container = original;
        return same && !(copy == original) && UnknownElement(container) == original;
    }));
}

void TestSafety::deepTreesDifferAtTheirEnd()
{
    QVERIFY(passesOnSmallStack([] {
        UnknownElement original = deepObjects();
        UnknownElement copy = original;
        UnknownElement *innermost = &copy;
        for (int i = 0; i < Deep; ++i)
            innermost = &(*innermost)["a"];
        *innermost = Boolean(true);
        return !(copy == original);
    }));
}

void TestSafety::deepTreeIsWritten()
{
    QVERIFY(passesOnSmallStack([] {
        CountingBuffer buffer;
        std::ostream stream(&buffer);
        json::Writer::Write(deepArrays(), stream);
        // Each level has a bracket, a line end and its tabs before and after what is in it.
        const std::streamsize levels = Deep;
        return buffer.count == 4 * levels + levels * levels + 4;
    }));
}

QTEST_APPLESS_MAIN(TestSafety)
#include "tst_safety.moc"
