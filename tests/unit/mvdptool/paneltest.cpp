#include "panel.h"

#include "testpanel.h"

#include <QtTest/QtTest>

#include <algorithm>

namespace
{

// The head of an identity reply as a panel sends it; all that follows is zero.
const std::uint8_t ReplyHead[] = {
    0x5E, 0x13, 0x06, 0x03, // magic
    0x04, 0x02, 0x01, 0x00, // version 4, reply, discover
    0x05, 0x0A, 0xA8, 0xC0, // 192.168.10.5, last octet first
    0x00, 0xFF, 0xFF, 0xFF, // 255.255.255.0
    0x01, 0x0A, 0xA8, 0xC0, // 192.168.10.1
    0x02, 0x00, 0x5E, 0x10, 0x00, 0x01, 0x58, 0x02, 0x0F, 0x27, 0x8D,
    0x01, 0x00, 0x00, 0x07, 0x38, 0xEA, 0x01, // 1.234.56.7, last part first
    0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 'Q',  'M',  '3',  '1',  '6',
};

} // namespace

class PanelTest : public QObject
{
    Q_OBJECT

private slots:
    void replyBecomesAPanel();
    void textIsCleaned_data();
    void textIsCleaned();
    void unknownVersionHasNoText();
    void sameMacIsOnePanelAndTheNewerReplyCounts();
    void panelsWithoutMacAreToldApartBySource();
    void panelsAreSortedByAddressAsNumbers();
    void oneMacFromTwoSourcesIsRemembered();
    void answersCountByAddressAndBySource();
};

void PanelTest::replyBecomesAPanel()
{
    Received reply;
    std::copy(std::begin(ReplyHead), std::end(ReplyHead), reply.datagram.data());
    reply.length = MvdpDatagram::Size;
    reply.source = 0x0A090002;
    reply.interfaceIndex = 7;
    reply.way = Way::Multicast;
    const Panel panel = Panel::fromReply(reply);
    QCOMPARE(macText(panel.mac), QStringLiteral("02:00:5e:10:00:01"));
    QCOMPARE(panel.address, 0xC0A80A05u);
    QCOMPARE(panel.netmask, 0xFFFFFF00u);
    QCOMPARE(panel.gateway, 0xC0A80A01u);
    QCOMPARE(panel.versionText(), QStringLiteral("1.234.56.7"));
    QCOMPARE(panel.description, QStringLiteral("QM316"));
    QCOMPARE(panel.source, 0x0A090002u);
    QCOMPARE(panel.interfaceIndex, 7u);
    QCOMPARE(wayName(panel.way), QStringLiteral("multicast"));
}

void PanelTest::textIsCleaned_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QByteArray("QM316-44LRNA") << "QM316-44LRNA";
    QTest::newRow("empty") << QByteArray() << "";
    QTest::newRow("ends at the first zero") << QByteArray("QM\0"
                                                          "316",
                                                          6)
                                            << "QM";
    QTest::newRow("no zero at all") << QByteArray(64, 'x') << QString(64, QLatin1Char('x'));
    QTest::newRow("Latin-1") << QByteArray("Pr\xFC"
                                           "fstand \xB5")
                             << QString::fromUtf8("Prüfstand µ");
    QTest::newRow("escape sequence") << QByteArray("\x1b]0;title\x07\x1b[31m") << "?]0;title??[31m";
    QTest::newRow("line ends and tabulator") << QByteArray("a\r\nb\tc\vd\fe\bf") << "a??b?c?d?e?f";
    QTest::newRow("delete") << QByteArray("a\x7f") << "a?";
    QTest::newRow("eight-bit control sequence") << QByteArray("a\x9b"
                                                              "31mb\x85"
                                                              "c\x80")
                                                << "a?31mb?c?";
    QTest::newRow("invisible") << QByteArray("a\xA0"
                                             "b\xAD"
                                             "c")
                               << "a b-c";
    QTest::newRow("blanks at the end") << QByteArray("a  \xA0 ") << "a";
    QTest::newRow("only blanks") << QByteArray("   ") << "";
}

void PanelTest::textIsCleaned()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(cleanText(bytes.constData(), static_cast<std::size_t>(bytes.size())), text);
}

void PanelTest::unknownVersionHasNoText()
{
    QCOMPARE(Panel().versionText(), QString());
}

void PanelTest::sameMacIsOnePanelAndTheNewerReplyCounts()
{
    PanelList panels;
    QVERIFY(panels.add(testPanel(1, 0xC0A80A05)));
    QVERIFY(!panels.add(testPanel(1, 0xC0A80A06)));
    QVERIFY(panels.add(testPanel(2, 0xC0A80A05)));
    QCOMPARE(panels.size(), std::size_t(2));
    QCOMPARE(panels.find(testPanel(1).mac)->address, 0xC0A80A06u);
    QVERIFY(panels.find(testPanel(3).mac) == nullptr);
}

void PanelTest::panelsWithoutMacAreToldApartBySource()
{
    Panel unknown;
    PanelList panels;
    unknown.source = 0xC0A80A05;
    QVERIFY(panels.add(unknown));
    QVERIFY(!panels.add(unknown));
    unknown.source = 0xC0A80A06;
    QVERIFY(panels.add(unknown));
    QCOMPARE(panels.size(), std::size_t(2));
}

void PanelTest::panelsAreSortedByAddressAsNumbers()
{
    PanelList panels;
    panels.add(testPanel(1, 0xC0A80A0A)); // 192.168.10.10
    panels.add(testPanel(4, 0xC0A80A09)); // 192.168.10.9
    panels.add(testPanel(3, 0xC0A80A09));
    panels.add(testPanel(2, 0x0A000001)); // 10.0.0.1
    QByteArray order;
    for (const Panel &panel : panels.sorted())
        order += static_cast<char>('0' + panel.mac[5]);
    QCOMPARE(order, QByteArray("2341"));
}

void PanelTest::oneMacFromTwoSourcesIsRemembered()
{
    PanelList panels;
    Panel panel = testPanel();
    panels.add(panel);
    panel.source = 0xC0A80A63;
    panels.add(panel);
    panels.add(panel);
    QCOMPARE(panels.sourcesOf(panel.mac).size(), std::size_t(2));
    QCOMPARE(panels.sourcesOf(testPanel(2).mac).size(), std::size_t(0));
}

void PanelTest::answersCountByAddressAndBySource()
{
    PanelList panels;
    Panel panel = testPanel();
    panel.source = 0x0A000001;
    panels.add(panel);
    QVERIFY(panels.hasAnswered(panel.address));
    QVERIFY(panels.hasAnswered(0x0A000001));
    QVERIFY(!panels.hasAnswered(0x0A000002));
}

QTEST_APPLESS_MAIN(PanelTest)
#include "paneltest.moc"
