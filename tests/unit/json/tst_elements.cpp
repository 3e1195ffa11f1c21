#include "json/complaint.h"
#include <json/elements.h>

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

using json::Array;
using json::Boolean;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;

namespace
{

enum Kind { NullKind, BooleanKind, NumberKind, StringKind, ArrayKind, ObjectKind, KindCount };

UnknownElement sample(int kind)
{
    UnknownElement element;
    switch (kind) {
    case BooleanKind:
        return Boolean(true);
    case NumberKind:
        return Number(7);
    case StringKind:
        return String("seven");
    case ArrayKind:
        element[1] = Number(7);
        return element;
    case ObjectKind:
        element["seven"] = Number(7);
        return element;
    default:
        return Null();
    }
}

// Reads the element as this kind, checked or converting as the element's constness says.
template <typename Element>
void access(Element &element, int kind)
{
    constexpr bool isConst = std::is_const_v<Element>;
    const auto touch = [&element](auto value) {
        typedef std::conditional_t<isConst, const decltype(value), decltype(value)> Value;
        [[maybe_unused]] Value &reference = element;
    };
    switch (kind) {
    case NullKind:
        return touch(Null());
    case BooleanKind:
        return touch(Boolean());
    case NumberKind:
        return touch(Number());
    case StringKind:
        return touch(String());
    case ArrayKind:
        return touch(Array());
    case ObjectKind:
        return touch(Object());
    }
}

class KindRecorder : public json::ConstVisitor, public json::Visitor
{
public:
    void Visit(const Array &) override { kinds += "array "; }
    void Visit(const Object &) override { kinds += "object "; }
    void Visit(const Number &) override { kinds += "number "; }
    void Visit(const String &) override { kinds += "string "; }
    void Visit(const Boolean &) override { kinds += "boolean "; }
    void Visit(const Null &) override { kinds += "null "; }
    void Visit(Array &array) override
    {
        kinds += "Array ";
        array.Insert(Null());
    }
    void Visit(Object &object) override
    {
        kinds += "Object ";
        object["visited"] = Boolean(true);
    }
    void Visit(Number &number) override
    {
        kinds += "Number ";
        number = 8;
    }
    void Visit(String &string) override
    {
        kinds += "String ";
        string = std::string("eight");
    }
    void Visit(Boolean &boolean) override
    {
        kinds += "Boolean ";
        boolean = false;
    }
    void Visit(Null &) override { kinds += "Null "; }

    QByteArray kinds;
};

} // namespace

class TestElements : public QObject
{
    Q_OBJECT

private slots:
    void scalarsStartEmpty();
    void scalarsActAsTheirPlainTypes();
    void checkedAccessTakesOnlyTheRightKind_data() { kindPairs(); }
    void checkedAccessTakesOnlyTheRightKind();
    void convertingAccessReplacesOtherKinds_data() { kindPairs(); }
    void convertingAccessReplacesOtherKinds();
    void readLookingAccessToNonConstElementConverts();
    void repeatedAccessGivesTheSameValue();
    void subscriptsBuildTheTree();
    void constSubscriptsComplain();
    void literalZeroIsAnIndex();
    void differentKindsAreUnequal_data() { kindPairs(); }
    void differentKindsAreUnequal();
    void numbersCompareAsDouble();
    void copiesShareNothing();
    void movedElementKeepsItsValue();
    void elementTakesPartOfItself();
    void visitorSeesTheRealKindOnly();
    void visitorEditsInPlace();

    void exceptionsAreTold();

private:
    static void kindPairs();
};

void TestElements::kindPairs()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("wanted");
    const char *const names[KindCount] = {"null", "boolean", "number", "string", "array", "object"};
    for (int held = 0; held < KindCount; ++held) {
        for (int wanted = 0; wanted < KindCount; ++wanted)
            QTest::newRow((QByteArray(names[held]) + " as " + names[wanted]).constData()) << held << wanted;
    }
}

void TestElements::scalarsStartEmpty()
{
    QCOMPARE(Number().Value(), 0.0);
    QCOMPARE(Boolean().Value(), false);
    QCOMPARE(String().Value(), std::string());
    QVERIFY(Null() == Null());
    QVERIFY(UnknownElement() == Null());
}

void TestElements::scalarsActAsTheirPlainTypes()
{
    Number number = 3;
    number += 1;
    ++number;
    const int whole = static_cast<int>(number);
    QCOMPARE(whole, 5);
    double &inside = number;
    inside = 2.5;
    QCOMPARE(number.Value(), 2.5);
    QCOMPARE(Number(true).Value(), 1.0);

    String string("x");
    std::string text = string;
    text += string;
    QCOMPARE(text, std::string("xx"));

    std::istringstream input("12.5");
    input >> number;
    QCOMPARE(number.Value(), 12.5);
    std::ostringstream output;
    output << number << ' ' << Boolean(true);
    QCOMPARE(output.str(), std::string("12.5 1"));
}

void TestElements::checkedAccessTakesOnlyTheRightKind()
{
    QFETCH(int, held);
    QFETCH(int, wanted);
    const UnknownElement element = sample(held);
    QCOMPARE(complaint([&] { access(element, wanted); }),
             QByteArray(held == wanted ? "no exception" : "Bad cast"));
    QVERIFY(element == sample(held));
}

void TestElements::convertingAccessReplacesOtherKinds()
{
    QFETCH(int, held);
    QFETCH(int, wanted);
    const UnknownElement empty[KindCount] = {Null(), Boolean(), Number(), String(), Array(), Object()};
    UnknownElement element = sample(held);
    access(element, wanted);
    QVERIFY(element == (held == wanted ? sample(held) : empty[wanted]));
}

void TestElements::readLookingAccessToNonConstElementConverts()
{
    UnknownElement element = String("abc");
    const Number number = element;
    QCOMPARE(number.Value(), 0.0);
    QVERIFY(element == Number(0));

    element = String("abc");
    QCOMPARE(static_cast<const Number &>(element).Value(), 0.0);
    QVERIFY(element == Number(0));
}

void TestElements::repeatedAccessGivesTheSameValue()
{
    UnknownElement element = sample(ObjectKind);
    Object &first = element;
    Object &second = element;
    const Object &third = asConst(element);
    QCOMPARE(&first, &second);
    QCOMPARE(&third, const_cast<const Object *>(&first));
}

void TestElements::subscriptsBuildTheTree()
{
    UnknownElement element = String("gone");
    element["a"]["b"][3]["c"] = Number(1);

    const UnknownElement &built = element;
    QCOMPARE(static_cast<const Array &>(built["a"]["b"]).Size(), std::size_t(4));
    QVERIFY(built["a"]["b"][0] == Null());
    QVERIFY(built["a"]["b"][3]["c"] == Number(1));

    element["a"][2];
    QVERIFY(built["a"][0] == Null());
    QCOMPARE(static_cast<const Array &>(built["a"]).Size(), std::size_t(3));
}

void TestElements::constSubscriptsComplain()
{
    const UnknownElement element = sample(ObjectKind);
    QCOMPARE(complaint([&] { element["eight"]; }), QByteArray("Object member not found: eight"));
    QCOMPARE(complaint([&] { element[0]; }), QByteArray("Bad cast"));
    QCOMPARE(complaint([&] { element["seven"]["x"]; }), QByteArray("Bad cast"));
    const UnknownElement array = sample(ArrayKind);
    QCOMPARE(complaint([&] { array[2]; }), QByteArray("Array out of bounds"));
    QCOMPARE(complaint([&] { array["x"]; }), QByteArray("Bad cast"));
}

void TestElements::literalZeroIsAnIndex()
{
    UnknownElement element;
    element[0] = Number(1);
    QVERIFY(static_cast<const Array &>(asConst(element))[0] == Number(1));
}

void TestElements::differentKindsAreUnequal()
{
    QFETCH(int, held);
    QFETCH(int, wanted);
    QCOMPARE(sample(held) == sample(wanted), held == wanted);
}

void TestElements::numbersCompareAsDouble()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QVERIFY(UnknownElement(Number(0.0)) == UnknownElement(Number(-0.0)));
    QVERIFY(!(UnknownElement(Number(nan)) == UnknownElement(Number(nan))));
    QVERIFY(!(UnknownElement(Number(1)) == UnknownElement(Number(2))));
    QVERIFY(!(String(std::string("a\0b", 3)) == String(std::string("a\0c", 3))));
}

void TestElements::copiesShareNothing()
{
    UnknownElement original;
    original["list"][0]["deep"] = String("x");
    UnknownElement copy = original;
    QVERIFY(copy == original);
    copy["list"][0]["deep"] = String("y");
    QVERIFY(asConst(original)["list"][0]["deep"] == String("x"));
    original = Null();
    QVERIFY(asConst(copy)["list"][0]["deep"] == String("y"));
}

// Moving copies, which is what is tested.
// NOLINTBEGIN(bugprone-use-after-move,performance-move-const-arg)
void TestElements::movedElementKeepsItsValue()
{
    UnknownElement source = sample(ObjectKind);
    const UnknownElement constructed = std::move(source);
    QVERIFY(source == sample(ObjectKind));
    UnknownElement assigned;
    assigned = std::move(source);
    QVERIFY(source == sample(ObjectKind));
    QVERIFY(constructed == assigned);
}
// NOLINTEND(bugprone-use-after-move,performance-move-const-arg)

void TestElements::elementTakesPartOfItself()
{
    UnknownElement element;
    element["a"]["b"] = String("x");
    const UnknownElement &same = element;
    element = same;
    QVERIFY(asConst(element)["a"]["b"] == String("x"));

    element["y"] = element;
    QVERIFY(asConst(element)["y"]["y"] == Null());
    QVERIFY(asConst(element)["y"]["a"]["b"] == String("x"));

    element = element["a"];
    QVERIFY(asConst(element)["b"] == String("x"));
}

void TestElements::visitorSeesTheRealKindOnly()
{
    KindRecorder recorder;
    for (int kind = 0; kind < KindCount; ++kind) {
        const UnknownElement element = sample(kind);
        element.Accept(static_cast<json::ConstVisitor &>(recorder));
    }
    QCOMPARE(recorder.kinds, QByteArray("null boolean number string array object "));
}

void TestElements::visitorEditsInPlace()
{
    KindRecorder recorder;
    UnknownElement elements[KindCount];
    for (int kind = 0; kind < KindCount; ++kind) {
        elements[kind] = sample(kind);
        elements[kind].Accept(static_cast<json::Visitor &>(recorder));
    }
    QCOMPARE(recorder.kinds, QByteArray("Null Boolean Number String Array Object "));
    QVERIFY(elements[BooleanKind] == Boolean(false));
    QVERIFY(elements[NumberKind] == Number(8));
    QVERIFY(elements[StringKind] == String("eight"));
    QVERIFY(asConst(elements[ArrayKind])[2] == Null());
    QVERIFY(asConst(elements[ObjectKind])["visited"] == Boolean(true));
}

void TestElements::exceptionsAreTold()
{
    try {
        throw json::Exception("what happened");
    } catch (const std::runtime_error &error) {
        QCOMPARE(error.what(), "what happened");
    }
}

QTEST_APPLESS_MAIN(TestElements)
#include "tst_elements.moc"
