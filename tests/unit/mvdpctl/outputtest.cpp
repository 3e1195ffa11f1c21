#include "output.h"

#include "csvrow.h"
#include "mvdptool/testpanel.h"
#include "terminal.h"

#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>

namespace
{

QString interfaceName(unsigned index)
{
    return QStringLiteral("eth%1").arg(index);
}

} // namespace

class OutputTest : public QObject
{
    Q_OBJECT

private slots:
    void tableLinesUpItsColumns();
    void marksStandBehindTheAddress();
    void longDescriptionIsCutOnATerminalOnly();
    void netmaskWithHolesIsShownInFull();
    void jsonHasItsPromisedShape();
    void unknownsAreNullInJson();
    void csvHasTheMembersOfJson();
    void messagesCannotSteerATerminal();
};

void OutputTest::tableLinesUpItsColumns()
{
    Panel unknown;
    const QStringList lines = panelTable({unknown, testPanel(2, 0x0A000001)}, {2, Marks()}, 0);
    QCOMPARE(lines, QStringList({
                        "MAC ADDRESS        ADDRESS      GATEWAY       VERSION     DESCRIPTION",
                        "00:00:00:00:00:00  0.0.0.0/0    -             unknown     -",
                        "02:00:5e:10:00:02  10.0.0.1/24  192.168.10.1  1.234.56.7  QM316-44LRNA",
                    }));
}

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
    // A narrow terminal wraps rather than losing the description.
    QVERIFY(panelTable({panel}, {Marks()}, 20).last().endsWith(QStringLiteral("  xxx>")));
}

void OutputTest::netmaskWithHolesIsShownInFull()
{
    Panel panel = testPanel();
    panel.netmask = 0xFF00FF00;
    QCOMPARE(addressWithNetmask(panel.address, panel.netmask), QStringLiteral("192.168.10.5/255.0.255.0"));
}

void OutputTest::jsonHasItsPromisedShape()
{
    Panel panel = testPanel();
    panel.way = Way::Broadcast;
    panel.description = QString::fromUtf8("Prüfstand");
    QCOMPARE(QJsonDocument(panelJson(panel, interfaceName)).toJson(QJsonDocument::Compact),
             QByteArray("{\"address\":\"192.168.10.5\",\"description\":\"Prüfstand\","
                        "\"gateway\":\"192.168.10.1\",\"interface\":\"eth2\",\"mac\":\"02:00:5e:10:00:01\","
                        "\"netmask\":\"255.255.255.0\",\"prefix\":24,\"source\":\"192.168.10.5\","
                        "\"version\":\"1.234.56.7\",\"way\":\"broadcast\"}"));
}

void OutputTest::unknownsAreNullInJson()
{
    Panel panel = testPanel();
    panel.partitionVersion = 0;
    panel.netmask = 0xFF00FF00;
    const QJsonObject json = panelJson(panel, interfaceName);
    QVERIFY(json.value(QStringLiteral("version")).isNull());
    QVERIFY(json.value(QStringLiteral("prefix")).isNull());
}

void OutputTest::csvHasTheMembersOfJson()
{
    QStringList columns = panelColumns();
    columns.sort();
    QCOMPARE(columns, panelJson(testPanel(), interfaceName).keys());
    QCOMPARE(csvFields(panelJson(testPanel(), interfaceName), panelColumns()),
             QStringList({"02:00:5e:10:00:01", "192.168.10.5", "255.255.255.0", "24", "192.168.10.1",
                          "1.234.56.7", "QM316-44LRNA", "192.168.10.5", "eth2", "unicast"}));
}

void OutputTest::messagesCannotSteerATerminal()
{
    const QString hostile = QString::fromUtf8("a\x1b[2J\nb\r\x7f\u0085\u202e\u2028\ufeffz");
    QCOMPARE(printable(hostile), QStringLiteral("a?[2J?b??????z"));
    QCOMPARE(printable(QString::fromUtf8("Prüfstand 5\"")), QString::fromUtf8("Prüfstand 5\""));
}

QTEST_APPLESS_MAIN(OutputTest)
#include "outputtest.moc"
