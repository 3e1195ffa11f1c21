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
    void nameOfOnePanelIsItsMacAddress();
    void mistypedAddressesAreRecognized();
    void panelsAreMatched_data();
    void panelsAreMatched();
};

void PanelNameTest::wordsAreRead()
{
    QVERIFY(panelNameFromText(QStringLiteral("02-00-5E-10-00-01"), {}).mac.has_value());
    QCOMPARE(panelNameFromText(QStringLiteral(" 10.0.0.1 "), {}).address.value_or(0), 0x0A000001u);
    const PanelName description = panelNameFromText(QStringLiteral("10.0.0"), {});
    QVERIFY(!description.mac && !description.address);
    QCOMPARE(description.text, QStringLiteral("10.0.0"));
}

void PanelNameTest::emptyWordIsRefused()
{
    for (const char *word : {"", "  "}) {
        try {
            panelNameFromText(QLatin1String(word), {});
            QFAIL("it was taken for the name of every panel");
        } catch (const ToolError &error) {
            QCOMPARE(error.kind, ToolError::BadInput);
        }
    }
}

void PanelNameTest::nameOfOnePanelIsItsMacAddress()
{
    const PanelNames names = PanelNames::fromBytes(
        "mac,name\n02:00:5e:10:00:01,Press\n02:00:5e:10:00:02,twin\n02:00:5e:10:00:03,twin\n", "names.csv");
    const PanelName press = panelNameFromText(QStringLiteral("press"), names);
    QVERIFY(press.isName);
    QCOMPARE(macText(press.mac.value()), QStringLiteral("02:00:5e:10:00:01"));
    const PanelName twin = panelNameFromText(QStringLiteral("twin"), names);
    QVERIFY(twin.isName && !twin.mac);
    const PanelName piece = panelNameFromText(QStringLiteral("pres"), names);
    QVERIFY(!piece.isName && !piece.mac);
}

void PanelNameTest::mistypedAddressesAreRecognized()
{
    for (const char *mac : {"02:00:5e:10:00:1", "02:00:5e:10:00", "02:00:5e:10:00:011", "02:00:5e:10:00:0g",
                            "02-00-5e-10-00-0l", "02:00:5e:10:00:01:02", "02005e10000", "02005e1000011"})
        QVERIFY2(looksLikeMac(QLatin1String(mac)), mac);
    for (const char *other :
         {"02:00:5e:10:00:01", "02005e100001", "QM316-44LRNA", "Press 1", "cafe", "10.0.0.1", "1234567890",
          "a-b-c-d", "decadefaced", "Cabinet-7-left-door-of-hall"})
        QVERIFY2(!looksLikeMac(QLatin1String(other)), other);
    for (const char *address : {"192.168.10.256", "192.168.10", "192.168.10.", "1.2.3.4.5", "010.0.0.1"})
        QVERIFY2(looksLikeIpv4(QLatin1String(address)), address);
    for (const char *other : {"192.168.10.1", "1.5", "Press 1", "", "1.2.x.4", "192"})
        QVERIFY2(!looksLikeIpv4(QLatin1String(other)), other);
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
    row("name", "Cabinet 12", "2");
    row("name that is a piece of another", "CABINET 1", "1");
    row("piece of two names", "cabinet", "12");
    row("piece of a name and of a description", "1", "132");
    row("name of two panels", "twin", "3");
    row("name that nobody has", "Cabinet 2", "");
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
    const PanelNames names = PanelNames::fromBytes("mac,name\n02:00:5e:10:00:01,Cabinet 1\n"
                                                   "02:00:5e:10:00:02,Cabinet 12\n02:00:5e:10:00:03,twin\n"
                                                   "02:00:5e:10:00:09,Twin\n",
                                                   "names.csv");
    QString result;
    for (const Panel &panel : matches(panelNameFromText(word, names), panels))
        result += QString::number(panel.mac[5]);
    QCOMPARE(result, found);
}

QTEST_APPLESS_MAIN(PanelNameTest)
#include "panelnametest.moc"
