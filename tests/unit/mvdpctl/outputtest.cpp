#include "output.h"

#include "mvdptool/testpanel.h"

#include <QtTest/QtTest>

namespace
{

Marks sharedAddress()
{
    Marks marks;
    marks.sharedAddress = true;
    return marks;
}

Marks sharedAndForeign()
{
    Marks marks = sharedAddress();
    marks.foreignSubnet = true;
    return marks;
}

} // namespace

class OutputTest : public QObject
{
    Q_OBJECT

private slots:
    void marksStandBehindTheAddress();
    void marksAreColoredOnRequest();
    void columnOfNamesIsThereWhenOneHasAName();
    void columnsGoBeforeCellsAreCut_data();
    void columnsGoBeforeCellsAreCut();
    void lastColumnIsCutWhenNoOtherCanGo();
    void detailsHaveTheNameOnTop();
    void labelSaysWhatIsKnown();
};

void OutputTest::marksStandBehindTheAddress()
{
    const QStringList lines =
        panelTable({{testPanel(1), sharedAddress(), {}}, {testPanel(2), sharedAndForeign(), {}}}, {}).lines;
    QVERIFY2(lines.at(1).contains(QStringLiteral("192.168.10.5/24 *   192")), qPrintable(lines.at(1)));
    QVERIFY2(lines.at(2).contains(QStringLiteral("192.168.10.5/24 *!  192")), qPrintable(lines.at(2)));
}

void OutputTest::marksAreColoredOnRequest()
{
    const std::vector<PanelRow> rows = {{testPanel(1), sharedAndForeign(), {}}, {testPanel(2), Marks(), {}}};
    const QStringList plain = panelTable(rows, {60, false}).lines;
    const QStringList colored = panelTable(rows, {60, true}).lines;
    QVERIFY2(colored.at(1).contains(QStringLiteral("/24 \x1b[31m*\x1b[0m\x1b[33m!\x1b[0m  ")),
             qPrintable(colored.at(1)));
    QCOMPARE(QString(colored.at(1)).remove(QRegularExpression(QStringLiteral("\x1b\\[[0-9]+m"))),
             plain.at(1));
    QCOMPARE(colored.at(2), plain.at(2));
}

void OutputTest::columnOfNamesIsThereWhenOneHasAName()
{
    QVERIFY(!panelTable({{testPanel(), Marks(), {}}}, {}).lines.first().contains(QStringLiteral("NAME")));
    const QStringList lines =
        panelTable({{testPanel(1), Marks(), {}}, {testPanel(2), Marks(), "Press 2"}}, {}).lines;
    QCOMPARE(lines.at(0),
             QStringLiteral("MAC ADDRESS        ADDRESS          GATEWAY       VERSION     NAME     "
                            "DESCRIPTION"));
    QVERIFY2(lines.at(1).endsWith(QStringLiteral("1.234.56.7  -        QM316-44LRNA")),
             qPrintable(lines.at(1)));
    QVERIFY2(lines.at(2).endsWith(QStringLiteral("1.234.56.7  Press 2  QM316-44LRNA")),
             qPrintable(lines.at(2)));
}

void OutputTest::columnsGoBeforeCellsAreCut_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("leftOut");
    QTest::newRow("all") << "" << 74 << "";
    QTest::newRow("one less") << "" << 73 << "GATEWAY";
    QTest::newRow("without gateway") << "" << 60 << "GATEWAY";
    QTest::newRow("narrow") << "" << 50 << "GATEWAY VERSION";
    QTest::newRow("no terminal") << "Press 2" << 0 << "";
    QTest::newRow("all with a name") << "Press 2" << 83 << "";
    QTest::newRow("one less with a name") << "Press 2" << 82 << "GATEWAY";
    QTest::newRow("the version, too") << "Press 2" << 57 << "GATEWAY VERSION";
    QTest::newRow("the description rather than the version") << "Press 2" << 56 << "GATEWAY DESCRIPTION";
    QTest::newRow("narrow with a name") << "Press 2" << 50 << "GATEWAY VERSION DESCRIPTION";
}

void OutputTest::columnsGoBeforeCellsAreCut()
{
    QFETCH(QString, name);
    QFETCH(int, columns);
    const PanelTable table = panelTable({{testPanel(), Marks(), name}}, {columns, false});
    QTEST(table.leftOut.join(QLatin1Char(' ')), "leftOut");
    for (const QString &line : table.lines) {
        QVERIFY2(columns == 0 || line.size() <= columns, qPrintable(line));
        QVERIFY2(!line.endsWith(QLatin1Char('>')), qPrintable(line));
    }
}

void OutputTest::lastColumnIsCutWhenNoOtherCanGo()
{
    Panel panel = testPanel();
    panel.description = QString(64, QLatin1Char('x'));
    QVERIFY(panelTable({{panel, Marks(), {}}}, {}).lines.last().endsWith(panel.description));
    const QString cut = panelTable({{panel, Marks(), {}}}, {80, false}).lines.last();
    QCOMPARE(cut.size(), 80);
    QVERIFY(cut.endsWith(QStringLiteral("x>")));
    const QString name =
        panelTable({{panel, Marks(), QString(64, QLatin1Char('n'))}}, {50, false}).lines.last();
    QCOMPARE(name.size(), 50);
    QVERIFY(name.endsWith(QStringLiteral("n>")));
    // On a narrow terminal lines wrap rather than lose the column.
    QVERIFY(panelTable({{panel, Marks(), {}}}, {20, false}).lines.last().endsWith(QStringLiteral("  xxx>")));
}

void OutputTest::detailsHaveTheNameOnTop()
{
    const auto interfaceName = [](unsigned) { return QStringLiteral("eth0"); };
    const QStringList plain = panelDetails(testPanel(), {}, interfaceName);
    QCOMPARE(plain.first(), QStringLiteral("MAC address  02:00:5e:10:00:01"));
    const QStringList named = panelDetails(testPanel(), {"Press 2", "left door"}, interfaceName);
    QCOMPARE(named.mid(0, 2), QStringList({"Name         Press 2", "Remark       left door"}));
    QCOMPARE(named.mid(2), plain);
}

void OutputTest::labelSaysWhatIsKnown()
{
    QCOMPARE(panelLabel(testPanel(), QString()),
             QStringLiteral("02:00:5e:10:00:01 (192.168.10.5, QM316-44LRNA)"));
    QCOMPARE(panelLabel(testPanel(), QStringLiteral("Press 2")),
             QStringLiteral("02:00:5e:10:00:01 (Press 2, 192.168.10.5, QM316-44LRNA)"));
    Panel unknown;
    unknown.source = 0x0A000001;
    QCOMPARE(panelLabel(unknown, QString()), QStringLiteral("00:00:00:00:00:00 (10.0.0.1)"));
}

QTEST_APPLESS_MAIN(OutputTest)
#include "outputtest.moc"
