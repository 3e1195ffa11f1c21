// The effect of inserting and erasing on the other elements of an Array, and on an Array when memory runs
// out.

#include "json/jsontext.h"
#include "support/failingmemory.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <cstddef>
#include <deque>
#include <random>
#include <vector>

using json::Array;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::UnknownElement;
using jsontext::written;

namespace
{

typedef Array::Elements::difference_type Distance;

// More than std::deque keeps in one block.
const int Many = 1000;

Array numbers(int count)
{
    Array array;
    for (int i = 0; i < count; ++i)
        array.Insert(Number(i));
    return array;
}

Array::iterator placeOf(Array &array, std::size_t index)
{
    return array.Begin() + static_cast<Distance>(index);
}

// References to all elements, in their order; updated together with an Array.
typedef std::deque<const UnknownElement *> References;

References referencesTo(const Array &array)
{
    References references;
    for (const UnknownElement &element : array)
        references.push_back(&element);
    return references;
}

// True when the elements from `begin` to before `end` are still at these references.
bool stayed(const Array &array, const References &references, std::size_t begin, std::size_t end)
{
    if (array.Size() != references.size())
        return false;
    for (std::size_t i = begin; i < end; ++i) {
        if (references[i] != &array[i])
            return false;
    }
    return true;
}

} // namespace

class TestArray : public QObject
{
    Q_OBJECT

private slots:
    void neitherEndMovesOtherElements();
    void endsOfShortArraysMoveNothing();
    void fartherSideStaysWhenInserting_data();
    void fartherSideStaysWhenInserting();
    void fartherSideStaysWhenErasing_data() { fartherSideStaysWhenInserting_data(); }
    void fartherSideStaysWhenErasing();
    void actsAsASequenceDoes();
    void ownElementIsInsertedAsItWas_data();
    void ownElementIsInsertedAsItWas();
    void insertingOrErasingBeforeOthersCopiesNothingElse();
    void unchangedWhenMemoryRunsOut_data();
    void unchangedWhenMemoryRunsOut();
};

// Since no other element moves, the operations cost the same in an Array of any length.
void TestArray::neitherEndMovesOtherElements()
{
    Array array = numbers(Many);
    References references = referencesTo(array);
    for (int i = 0; i < Many; ++i) {
        references.push_front(&*array.Insert(Number(-1 - i), array.Begin()));
        references.push_back(&*array.Insert(Number(Many + i), array.End()));
        QVERIFY(stayed(array, references, 0, references.size()));
    }
    double value = -Many;
    for (const UnknownElement &element : static_cast<const Array &>(array))
        QCOMPARE(static_cast<const Number &>(element).Value(), value++);

    for (int i = 0; i < Many; ++i) {
        Array::iterator next = array.Erase(array.Begin());
        QVERIFY(next == array.Begin());
        references.pop_front();
        next = array.Erase(array.End() - 1);
        QVERIFY(next == array.End());
        references.pop_back();
        QVERIFY(stayed(array, references, 0, references.size()));
    }
    QVERIFY(array == numbers(Many));
}

void TestArray::endsOfShortArraysMoveNothing()
{
    Array array;
    References references;
    for (int i = 0; i < 3; ++i) {
        references.push_front(&*array.Insert(Number(i), array.Begin()));
        QVERIFY(stayed(array, references, 0, references.size()));
    }
    for (int i = 0; i < 3; ++i) {
        array.Erase(array.Begin());
        references.pop_front();
        QVERIFY(stayed(array, references, 0, references.size()));
    }
}

void TestArray::fartherSideStaysWhenInserting_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("nearerBegin");
    QTest::newRow("second") << 1 << true;
    QTest::newRow("in the first half") << 300 << true;
    QTest::newRow("in the second half") << 700 << false;
    QTest::newRow("last") << Many - 1 << false;
}

void TestArray::fartherSideStaysWhenInserting()
{
    QFETCH(int, index);
    QFETCH(bool, nearerBegin);
    Array array = numbers(Many);
    References references = referencesTo(array);
    const std::size_t place = static_cast<std::size_t>(index);
    array.Insert(Null(), placeOf(array, place));
    references.insert(references.begin() + index, &static_cast<const Array &>(array)[place]);
    if (nearerBegin)
        QVERIFY(stayed(array, references, place + 1, references.size()));
    else
        QVERIFY(stayed(array, references, 0, place));
}

void TestArray::fartherSideStaysWhenErasing()
{
    QFETCH(int, index);
    QFETCH(bool, nearerBegin);
    Array array = numbers(Many);
    References references = referencesTo(array);
    const std::size_t place = static_cast<std::size_t>(index);
    array.Erase(placeOf(array, place));
    references.erase(references.begin() + index);
    if (nearerBegin)
        QVERIFY(stayed(array, references, place, references.size()));
    else
        QVERIFY(stayed(array, references, 0, place));
}

void TestArray::actsAsASequenceDoes()
{
    std::mt19937 random(1); // the same numbers everywhere
    Array array;
    std::vector<double> model;
    for (int step = 0; step < 5000; ++step) {
        // As many at the ends as between them; sometimes the sequence is emptied.
        const std::size_t ends[] = {0, model.size(), random() % (model.size() + 1)};
        const std::size_t index = ends[random() % 3];
        const Distance distance = static_cast<Distance>(index);
        const bool erasing = index < model.size() && random() % 100 < (step / 100 % 2 ? 70 : 30);
        Array::iterator place;
        if (erasing) {
            place = array.Erase(placeOf(array, index));
            model.erase(model.begin() + distance);
        } else {
            place = array.Insert(Number(step), placeOf(array, index));
            model.insert(model.begin() + distance, step);
        }
        QCOMPARE(place - array.Begin(), distance);
        QCOMPARE(array.Size(), model.size());
        for (std::size_t i = 0; i < model.size(); ++i)
            QVERIFY(static_cast<const Array &>(array)[i] == Number(model[i]));
    }
}

void TestArray::ownElementIsInsertedAsItWas_data()
{
    QTest::addColumn<int>("index");
    for (int index : {0, 1, 3, 4})
        QTest::addRow("before %d", index) << index;
}

void TestArray::ownElementIsInsertedAsItWas()
{
    QFETCH(int, index);
    const std::size_t place = static_cast<std::size_t>(index);
    const Array original = jsontext::read<Array>("[{\"a\":[\"deep\"]},\"1\",\"2\",[[[\"deepest\"]]]]");
    const UnknownElement deep = original[0]["a"][0];
    const UnknownElement deepest = original[3][0][0];

    Array array = original;
    QVERIFY(*array.Insert(array[0]["a"][0], placeOf(array, place)) == deep);
    array = original;
    QVERIFY(*array.Insert(array[3][0][0], placeOf(array, place)) == deepest);
    array = original;
    QVERIFY(*array.Insert(array, placeOf(array, place)) == original);
    array.Erase(placeOf(array, place));
    QVERIFY(array == original);
}

void TestArray::insertingOrErasingBeforeOthersCopiesNothingElse()
{
    Array array;
    for (std::size_t i = 0; i < 5; ++i)
        array[i]["x"] = Number(static_cast<double>(i));
    const Object *const second = &static_cast<Object &>(array[1]);
    const Object *const fourth = &static_cast<Object &>(array[3]);
    array.Insert(Null(), placeOf(array, 2));
    array.Insert(Null(), placeOf(array, 4));
    QCOMPARE(&static_cast<const Object &>(array[1]), second);
    QCOMPARE(&static_cast<const Object &>(array[5]), fourth);
    array.Erase(placeOf(array, 4));
    array.Erase(placeOf(array, 2));
    array.Erase(placeOf(array, 0));
    QCOMPARE(&static_cast<const Object &>(array[0]), second);
    QCOMPARE(&static_cast<const Object &>(array[2]), fourth);
}

void TestArray::unchangedWhenMemoryRunsOut_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("index");
    QTest::newRow("first of all") << 0 << 0;
    QTest::newRow("at the beginning") << Many << 0;
    QTest::newRow("in the first half") << Many << 300;
    QTest::newRow("in the second half") << Many << 700;
    QTest::newRow("at the end") << Many << Many;
}

void TestArray::unchangedWhenMemoryRunsOut()
{
    QFETCH(int, size);
    QFETCH(int, index);
    Array array = numbers(size);
    // Copying a text needs memory; a number needs none, so that the allocation of the Array itself fails at
    // some point.
    const UnknownElement inserted[] = {UnknownElement("text"), UnknownElement(Number(1))};
    for (const UnknownElement &element : inserted) {
        bool failed = false;
        for (int i = 0; i < Many && !failed; ++i) {
            const Array before = array;
            const References references = referencesTo(array);
            {
                const FirstAllocationFails memory;
                try {
                    array.Insert(element, placeOf(array, static_cast<std::size_t>(index)));
                } catch (const std::bad_alloc &) {
                    failed = true;
                }
            }
            if (failed) {
                QVERIFY(array == before);
                QVERIFY(stayed(array, references, 0, references.size()));
            }
        }
        QVERIFY(failed);
    }
    QVERIFY(*array.Insert(String("x"), array.Begin()) == String("x"));
}

QTEST_APPLESS_MAIN(TestArray)
#include "tst_array.moc"
