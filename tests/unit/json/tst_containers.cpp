#include "json/complaint.h"
#include <json/elements.h>

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <string>
#include <utility>

using json::Array;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;

class TestContainers : public QObject
{
    Q_OBJECT

private slots:
    void arrayInsertsAndErases();
    void arrayResizesWithNull();
    void arrayGrowsOnAccess();
    void constArrayComplainsBeyondItsEnd();
    void arrayInsertsItselfAsItWas();
    void arrayReferencesSurviveAppending();
    void objectKeepsOrderOfInsertion();
    void objectRefusesSecondMemberOfAName();
    void objectNamesAreBytes();
    void objectInsertsBeforeAPlace();
    void objectErasesAndKeepsOtherReferences();
    void objectFindsFirstOfTwoRenamed();
    void objectAddsOnAccess();
    void constObjectComplainsOfMissingMember();
    void objectEqualityIsOrderSensitive();
    void objectHoldsItselfAsItWas();
    void movedContainersAreEmpty();
};

void TestContainers::arrayInsertsAndErases()
{
    Array array;
    QVERIFY(array.Empty());
    QVERIFY(array.Begin() == array.End());
    QVERIFY(*array.Insert(Number(1), array.End()) == Number(1));
    QVERIFY(*array.Insert(Number(4)) == Number(4));
    QVERIFY(*array.Insert(Number(2), array.Begin() + 1) == Number(2));
    QVERIFY(*array.Insert(Number(0), array.Begin()) == Number(0));
    QVERIFY(*array.Insert(Number(3), array.End() - 1) == Number(3));
    QCOMPARE(array.Size(), std::size_t(5));
    double expected = 0;
    for (Array::const_iterator it = array.Begin(); it != array.End(); ++it) {
        const Number &number = *it;
        QCOMPARE(number.Value(), expected++);
    }

    QVERIFY(*array.Erase(array.Begin() + 1) == Number(2));
    const Array::iterator next = array.Erase(array.End() - 1);
    QVERIFY(next == array.End());
    QCOMPARE(array.End() - array.Begin(), Array::Elements::difference_type(3));
    QVERIFY(array[0] == Number(0) && array[1] == Number(2) && array[2] == Number(3));
    array.Clear();
    QVERIFY(array.Empty());
    QVERIFY(array == Array());
}

void TestContainers::arrayResizesWithNull()
{
    Array array;
    array.Insert(Number(1));
    array.Resize(3);
    QVERIFY(array[0] == Number(1) && array[1] == Null() && array[2] == Null());
    array.Resize(1);
    QCOMPARE(array.Size(), std::size_t(1));
    array.Resize(0);
    QVERIFY(array.Empty());
}

void TestContainers::arrayGrowsOnAccess()
{
    Array array;
    array.Resize(4);
    array[6];
    QCOMPARE(array.Size(), std::size_t(7));
    array[2];
    QCOMPARE(array.Size(), std::size_t(7));
}

void TestContainers::constArrayComplainsBeyondItsEnd()
{
    Array array;
    const Array &constArray = array;
    QCOMPARE(complaint([&] { constArray[0]; }), QByteArray("Array out of bounds"));
    array.Resize(2);
    QCOMPARE(complaint([&] { constArray[1]; }), QByteArray("no exception"));
    QCOMPARE(complaint([&] { constArray[2]; }), QByteArray("Array out of bounds"));
    QCOMPARE(complaint([&] { constArray[static_cast<std::size_t>(-1)]; }), QByteArray("Array out of bounds"));
}

void TestContainers::arrayInsertsItselfAsItWas()
{
    Array array;
    array.Insert(Number(1));
    array.Insert(array);
    array.Insert(array[0], array.Begin());
    QCOMPARE(array.Size(), std::size_t(3));
    QVERIFY(array[0] == Number(1) && array[1] == Number(1));
    const Array &inner = asConst(array[2]);
    QCOMPARE(inner.Size(), std::size_t(1));
}

void TestContainers::arrayReferencesSurviveAppending()
{
    Array array;
    UnknownElement &first = *array.Insert(String("first"));
    for (int i = 0; i < 1000; ++i)
        array.Insert(Number(i));
    QCOMPARE(&first, &array[0]);
    QVERIFY(first == String("first"));
}

void TestContainers::objectKeepsOrderOfInsertion()
{
    Object object;
    QVERIFY(object.Empty());
    object["b"] = Number(1);
    object["a"] = Number(2);
    object["c"] = Number(3);
    object["b"] = Number(4);
    QByteArray names;
    for (Object::const_iterator it = object.Begin(); it != object.End(); ++it)
        names += it->name.c_str();
    QCOMPARE(names, QByteArray("bac"));
    QVERIFY(object["b"] == Number(4));
    object.Clear();
    QCOMPARE(object.Size(), std::size_t(0));
}

void TestContainers::objectRefusesSecondMemberOfAName()
{
    Object object;
    object.Insert(Object::Member("a", Number(1)));
    const Object before = object;
    QCOMPARE(complaint([&] { object.Insert(Object::Member("a", Number(2))); }),
             QByteArray("Object member already exists: a"));
    QCOMPARE(complaint([&] { object.Insert(Object::Member("a"), object.Begin()); }),
             QByteArray("Object member already exists: a"));
    QVERIFY(object == before);
}

void TestContainers::objectNamesAreBytes()
{
    Object object;
    object["a"] = Number(1);
    object["A"] = Number(2);
    object[""] = Number(3);
    object[std::string("a\0b", 3)] = Number(4);
    object["\xe9"] = Number(5);
    QCOMPARE(object.Size(), std::size_t(5));
    QVERIFY(object.Find(std::string("a\0b", 3))->element == Number(4));
    QVERIFY(object.Find("b") == object.End());
}

void TestContainers::objectInsertsBeforeAPlace()
{
    Object object;
    object["a"];
    object["c"];
    const Object::iterator place = object.Insert(Object::Member("b"), object.Find("c"));
    QCOMPARE(place->name, std::string("b"));
    QVERIFY(place->element == Null());
    QCOMPARE((++object.Begin())->name, std::string("b"));
}

void TestContainers::objectErasesAndKeepsOtherReferences()
{
    Object object;
    object["a"];
    object["b"];
    UnknownElement &last = object["c"];
    const Object::iterator next = object.Erase(object.Find("b"));
    QCOMPARE(&next->element, &last);
    QCOMPARE(object.Size(), std::size_t(2));
    object["d"];
    QCOMPARE(&object["c"], &last);
}

void TestContainers::objectFindsFirstOfTwoRenamed()
{
    Object object;
    object["a"] = Number(1);
    object["b"] = Number(2);
    object.Find("b")->name = "a";
    QVERIFY(object.Find("a")->element == Number(1));
    QVERIFY(object.Find("b") == object.End());
}

void TestContainers::objectAddsOnAccess()
{
    Object object;
    const Number number = object["missing"];
    QCOMPARE(number.Value(), 0.0);
    QVERIFY(object.Find("missing")->element == Number(0));
    object["bare"];
    QVERIFY(object.Find("bare")->element == Null());
}

void TestContainers::constObjectComplainsOfMissingMember()
{
    const Object object;
    QCOMPARE(complaint([&] { object["x"]; }), QByteArray("Object member not found: x"));
    QCOMPARE(complaint([&] { object[""]; }), QByteArray("Object member not found: "));
    QVERIFY(object.Find("x") == object.End());
}

void TestContainers::objectEqualityIsOrderSensitive()
{
    Object one;
    one["a"] = Number(1);
    one["b"] = Number(2);
    Object other;
    other["b"] = Number(2);
    other["a"] = Number(1);
    QVERIFY(!(one == other));
    QVERIFY(one == Object(one));
    Object shorter;
    shorter["a"] = Number(1);
    QVERIFY(!(one == shorter) && !(shorter == one));
    QVERIFY(Object::Member("a", Number(1)) == Object::Member("a", Number(1)));
    QVERIFY(!(Object::Member("a", Number(1)) == Object::Member("a", Number(2))));
}

void TestContainers::objectHoldsItselfAsItWas()
{
    Object object;
    object["a"] = Number(1);
    object["self"] = object;
    const Object &inner = asConst(object["self"]);
    QCOMPARE(inner.Size(), std::size_t(1));
    const Object &same = object;
    object = same;
    QCOMPARE(object.Size(), std::size_t(2));
}

// The content of a moved-from container is specified here.
// NOLINTBEGIN(bugprone-use-after-move)
void TestContainers::movedContainersAreEmpty()
{
    Object object;
    object["a"] = Number(1);
    Object takenObject(std::move(object));
    QVERIFY(object.Empty());
    object = std::move(takenObject);
    QVERIFY(takenObject.Empty());
    QCOMPARE(object.Size(), std::size_t(1));

    Array array;
    array.Resize(2);
    Array takenArray(std::move(array));
    QVERIFY(array.Empty());
    array = std::move(takenArray);
    QVERIFY(takenArray.Empty());
    QCOMPARE(array.Size(), std::size_t(2));
}
// NOLINTEND(bugprone-use-after-move)

QTEST_APPLESS_MAIN(TestContainers)
#include "tst_containers.moc"
