#include "dump.h"

#include "mvdpdatagram.h"

#include <QtTest/QtTest>

#include <cstring>

class DumpTest : public QObject
{
    Q_OBJECT

private slots:
    void hexHasSixteenBytesALine();
    void equalLinesAreShownOnceAndTheLastAlways();
    void fieldsBeyondTheLengthAreLeftOut();
    void hostileDescriptionIsClean();
};

void DumpTest::hexHasSixteenBytesALine()
{
    std::uint8_t bytes[18];
    for (std::uint8_t index = 0; index < sizeof bytes; ++index)
        bytes[index] = index;
    QCOMPARE(hexLines(bytes, sizeof bytes),
             QStringLiteral("    0  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n   16  10 11"));
}

void DumpTest::equalLinesAreShownOnceAndTheLastAlways()
{
    const std::uint8_t bytes[80] = {};
    const QString zeros = QStringLiteral("00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    QCOMPARE(hexLines(bytes, sizeof bytes), QStringLiteral("    0  %1\n  *\n   64  %1").arg(zeros));
    QCOMPARE(hexLines(bytes, 0), QString());
}

void DumpTest::fieldsBeyondTheLengthAreLeftOut()
{
    MvdpDatagram datagram;
    datagram.setRequestHeader(MvdpCommand::Discover);
    QCOMPARE(fieldLines(datagram, 8),
             QStringLiteral("  magic 5e130603, version 2, type 1 (request), command 1 (discover), tag 00"));
    QCOMPARE(fieldLines(datagram, 7), QString());
    QVERIFY(fieldLines(datagram, 20).endsWith(QStringLiteral("gateway 0.0.0.0")));
}

void DumpTest::hostileDescriptionIsClean()
{
    MvdpDatagram datagram;
    std::memcpy(datagram.data() + MvdpDatagram::Description, "a\x1b[2J\nb\x9b", 8);
    QVERIFY(fieldLines(datagram, MvdpDatagram::Size).endsWith(QStringLiteral("description 'a?[2J?b?'")));
}

QTEST_APPLESS_MAIN(DumpTest)
#include "dumptest.moc"
