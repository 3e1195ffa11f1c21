#include "output.h"

#include "mvdptool/testpanel.h"

#include <QtTest/QtTest>

class OutputTest : public QObject
{
    Q_OBJECT

private slots:
    void marksStandBehindTheAddress();
    void longDescriptionIsCutOnATerminalOnly();
};

void OutputTest::marksStandBehindTheAddress()
{
    Marks shared;
    shared.sharedAddress = true;
    Marks both = shared;
    both.foreignSubnet = true;
    const QStringList lines = panelTable({testPanel(1), testPanel(2)}, {shared, both}, 0);
    QVERIFY2(lines.at(1).contains(QStringLiteral("192.168.10.5/24 *   192")), qPrintable(lines.at(1)));
    QVERIFY2(lines.at(2).contains(QStringLiteral("192.168.10.5/24 *!  192")), qPrintable(lines.at(2)));
}

void OutputTest::longDescriptionIsCutOnATerminalOnly()
{
    Panel panel = testPanel();
    panel.description = QString(64, QLatin1Char('x'));
    QVERIFY(panelTable({panel}, {Marks()}, 0).last().endsWith(panel.description));
    const QString cut = panelTable({panel}, {Marks()}, 80).last();
    QCOMPARE(cut.size(), 80);
    QVERIFY(cut.endsWith(QStringLiteral("x>")));
    // On a narrow terminal lines wrap rather than lose the description.
    QVERIFY(panelTable({panel}, {Marks()}, 20).last().endsWith(QStringLiteral("  xxx>")));
}

QTEST_APPLESS_MAIN(OutputTest)
#include "outputtest.moc"
