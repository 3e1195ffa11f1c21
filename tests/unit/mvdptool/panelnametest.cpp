#include "panelname.h"

#include "testpanel.h"
#include "toolerror.h"

#include <QtTest/QtTest>

class PanelNameTest : public QObject
{
    Q_OBJECT

private slots:
    void wordsAreRead();
    void emptyWordIsRefused();
    void panelsAreMatched_data();
    void panelsAreMatched();
};

void PanelNameTest::wordsAreRead()
{
    QVERIFY(panelNameFromText(QStringLiteral("02-00-5E-10-00-01")).mac.has_value());
    QCOMPARE(panelNameFromText(QStringLiteral(" 10.0.0.1 ")).address.value_or(0), 0x0A000001u);
    const PanelName description = panelNameFromText(QStringLiteral("10.0.0"));
    QVERIFY(!description.mac && !description.address);
    QCOMPARE(description.text, QStringLiteral("10.0.0"));
}

void PanelNameTest::emptyWordIsRefused()
{
    for (const char *word : {"", "  "}) {
        try {
            panelNameFromText(QLatin1String(word));
            QFAIL("it was taken for the name of every panel");
        } catch (const ToolError &error) {
            QCOMPARE(error.kind, ToolError::BadInput);
        }
    }
}

void PanelNameTest::panelsAreMatched_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("found"); // the last bytes of the MAC addresses, by address
    const auto row = [](const char *name, const char *word, const char *found) {
        QTest::newRow(name) << word << found;
    };
    row("MAC address", "02:00:5e:10:00:02", "2");
    row("unknown MAC address", "02:00:5e:10:00:09", "");
    row("address", "192.168.10.6", "2");
    row("address of two", "192.168.10.5", "13");
    row("address that it answers from", "10.9.0.2", "2");
    row("piece of an address", "192.168.10", "");
    row("piece of one description", "press 2", "2");
    row("in another case", "PRESS 2", "2");
    row("whole description that is a piece of another", "Press 1", "13");
    row("piece of all", "ress", "132");
    row("pattern", "Press .", "");
}

void PanelNameTest::panelsAreMatched()
{
    QFETCH(QString, word);
    QFETCH(QString, found);
    PanelList panels;
    const char *descriptions[] = {"Press 1", "Press 2", "Press 11"};
    for (std::uint8_t number = 1; number <= 3; ++number) {
        Panel panel = testPanel(number, number == 2 ? 0xC0A80A06 : 0xC0A80A05);
        panel.description = QLatin1String(descriptions[number - 1]);
        panel.source = number == 2 ? 0x0A090002 : panel.address;
        panels.add(panel);
    }
    QString result;
    for (const Panel &panel : matches(panelNameFromText(word), panels))
        result += QString::number(panel.mac[5]);
    QCOMPARE(result, found);
}

QTEST_APPLESS_MAIN(PanelNameTest)
#include "panelnametest.moc"
