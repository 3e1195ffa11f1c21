#include "marklines.h"

#include <QtTest/QtTest>

class MarkLinesTest : public QObject
{
    Q_OBJECT

private slots:
    void notesStandBehindTheSignOfTheTable();
};

void MarkLinesTest::notesStandBehindTheSignOfTheTable()
{
    QCOMPARE(
        markLines({{&Marks::sharedAddress, "2 panels hold the address 192.168.10.5"},
                   {&Marks::foreignSubnet, "1 panel is far"},
                   {&Marks::unknownVersion, "1 panel could not read its version"}}),
        QStringList({"* 2 panels hold the address 192.168.10.5: give each its own with 'mvdpctl set MAC'.",
                     "! 1 panel is far.", "1 panel could not read its version."}));
}

QTEST_APPLESS_MAIN(MarkLinesTest)
#include "marklinestest.moc"
