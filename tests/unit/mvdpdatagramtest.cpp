#include "mvdpdatagram.h"

#include "support/identitybytes.h"

#include <QtTest/QtTest>

#include <cstring>

namespace
{

QByteArray bytesOf(const MvdpDatagram &datagram)
{
    return QByteArray(reinterpret_cast<const char *>(datagram.data()), 256);
}

MvdpDatagram filledWith(char byte)
{
    MvdpDatagram datagram;
    std::memset(datagram.data(), byte, 256);
    return datagram;
}

void setHeader(MvdpDatagram &datagram, const char *sevenBytesInHex)
{
    const QByteArray header = QByteArray::fromHex(sevenBytesInHex);
    Q_ASSERT(header.size() == 7);
    std::memcpy(datagram.data(), header.constData(), 7);
}

MvdpIdentity exampleIdentity()
{
    MvdpIdentity identity;
    identity.ipAddress = 0xC0A80001u; // 192.168.0.1
    identity.netmask = 0xFFFFFF00u;   // 255.255.255.0
    identity.gateway = 0xC0A800FEu;   // 192.168.0.254
    const std::uint8_t mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    std::memcpy(identity.macAddress, mac, sizeof mac);
    identity.partitionVersion = 0x01EA3807u;
    std::memcpy(identity.description, "QM413-JD562", 11);
    return identity;
}

} // namespace

class MvdpDatagramTest : public QObject
{
    Q_OBJECT
private slots:
    void newDatagramIsAllZero();
    void requestHeaderIsLiteral();
    void headerIsARequestOrNot_data();
    void headerIsARequestOrNot();
    void headerIsAReplyOrNot_data();
    void headerIsAReplyOrNot();
    void numbersAreLittleEndian();
    void settersTouchOnlyTheirField();
    void identityReplyIsLiteral();
    void fullDescriptionFillsItsBlockAndNoMore();
    void emptyIdentityIsZeroWhereNothingIsFixed();
    void macAddressDiffersInEveryByte();
};

void MvdpDatagramTest::newDatagramIsAllZero()
{
    QCOMPARE(bytesOf(MvdpDatagram()), QByteArray(256, '\0'));
}

void MvdpDatagramTest::requestHeaderIsLiteral()
{
    MvdpDatagram datagram = filledWith('\xEE');
    datagram.setRequestHeader(MvdpCommand::Restart);
    // magic, version 2, type request, command 102; the rest as it was
    QCOMPARE(bytesOf(datagram), QByteArray::fromHex("5E130603 02 01 66") + QByteArray(249, '\xEE'));
}

void MvdpDatagramTest::headerIsARequestOrNot_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<bool>("accepted");
    const auto row = [](const char *name, const char *header, bool accepted) {
        QTest::newRow(name) << QByteArray(header) << accepted;
    };
    row("version 0", "5E130603 00 01 01", false);
    row("version 1", "5E130603 01 01 01", false);
    row("version 2", "5E130603 02 01 01", true);
    row("version 3", "5E130603 03 01 01", true);
    row("version 4", "5E130603 04 01 01", true);
    row("version 127", "5E130603 7F 01 01", true);
    row("version 128", "5E130603 80 01 01", true);
    row("version 255", "5E130603 FF 01 01", true);
    row("type 0", "5E130603 02 00 01", false);
    row("type 2, a reply", "5E130603 04 02 01", false);
    row("type 3, a reply", "5E130603 04 03 05", false);
    row("type 255", "5E130603 02 FF 01", false);
    row("magic, first byte", "5F130603 02 01 01", false);
    row("magic, second byte", "5E120603 02 01 01", false);
    row("magic, third byte", "5E130703 02 01 01", false);
    row("magic, last byte", "5E130604 02 01 01", false);
    row("magic, big-endian", "0306135E 02 01 01", false);
    row("all zero", "00000000 00 00 00", false);
    row("command 0 is none of the header's business", "5E130603 02 01 00", true);
    row("command 255 is none of the header's business", "5E130603 02 01 FF", true);
}

void MvdpDatagramTest::headerIsARequestOrNot()
{
    QFETCH(QByteArray, header);
    MvdpDatagram datagram = filledWith('\xEE');
    setHeader(datagram, header.constData());
    QTEST(datagram.isRequest(), "accepted");
}

void MvdpDatagramTest::headerIsAReplyOrNot_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<bool>("accepted");
    const auto row = [](const char *name, const char *header, bool accepted) {
        QTest::newRow(name) << QByteArray(header) << accepted;
    };
    row("done", "5E130603 04 02 01", true);
    row("not applied", "5E130603 04 03 05", true);
    row("a request", "5E130603 04 01 01", false);
    row("type 0", "5E130603 04 00 01", false);
    row("type 4", "5E130603 04 04 01", false);
    row("magic", "5E130604 04 02 01", false);
}

void MvdpDatagramTest::headerIsAReplyOrNot()
{
    QFETCH(QByteArray, header);
    MvdpDatagram datagram;
    setHeader(datagram, header.constData());
    QTEST(datagram.isReply(), "accepted");
}

void MvdpDatagramTest::numbersAreLittleEndian()
{
    MvdpDatagram datagram;
    // 192.168.0.1, then 255.255.0.129, then 128.2.3.255, from byte 8 on
    const QByteArray fields = QByteArray::fromHex("0100A8C0 8100FFFF FF030280");
    std::memcpy(datagram.data() + 8, fields.constData(), 12);
    QCOMPARE(datagram.ipAddress(), 0xC0A80001u);
    QCOMPARE(datagram.netmask(), 0xFFFF0081u);
    QCOMPARE(datagram.gateway(), 0x800203FFu);

    const QByteArray version = QByteArray::fromHex("0738EA81");
    std::memcpy(datagram.data() + 34, version.constData(), 4);
    QCOMPARE(datagram.partitionVersion(), 0x81EA3807u);
}

void MvdpDatagramTest::settersTouchOnlyTheirField()
{
    MvdpDatagram datagram = filledWith('\xEE');
    datagram.setPacketType(MvdpPacketType::ReplyNotApplied);
    datagram.setIpAddress(0x01020304u);
    datagram.setNetmask(0xFFFE0000u);
    datagram.setGateway(0x0A0B0C0Du);
    const std::uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
    datagram.setMacAddress(mac);
    const QByteArray expected = QByteArray(5, '\xEE') + '\x03' + QByteArray(2, '\xEE') +
                                QByteArray::fromHex("04030201 0000FEFF 0D0C0B0A 010203040506") +
                                QByteArray(230, '\xEE');
    QCOMPARE(bytesOf(datagram), expected);
}

void MvdpDatagramTest::identityReplyIsLiteral()
{
    MvdpDatagram datagram = filledWith('\xEE');
    // Type, command and tag are those of the request.
    setHeader(datagram, "5E130603 02 03 05");
    datagram.setIdentity(exampleIdentity());
    QCOMPARE(bytesOf(datagram), identityBytes("03 05 EE"));
}

void MvdpDatagramTest::fullDescriptionFillsItsBlockAndNoMore()
{
    MvdpIdentity identity = exampleIdentity();
    std::memset(identity.description, '\xFF', sizeof identity.description);
    MvdpDatagram datagram = filledWith('\xEE');
    datagram.setIdentity(identity);
    QCOMPARE(bytesOf(datagram).mid(40),
             QByteArray::fromHex("00000200") + QByteArray(64, '\xFF') + QByteArray(148, '\0'));
    QCOMPARE(QByteArray(datagram.description(), 64), QByteArray(64, '\xFF'));
}

void MvdpDatagramTest::emptyIdentityIsZeroWhereNothingIsFixed()
{
    MvdpDatagram datagram = filledWith('\xEE');
    datagram.setIdentity(MvdpIdentity());
    QCOMPARE(bytesOf(datagram), QByteArray::fromHex("5E130603 04 EEEEEE") + QByteArray(18, '\0') +
                                    QByteArray::fromHex("58020F278D01") + QByteArray(8, '\0') +
                                    QByteArray::fromHex("00000200") + QByteArray(212, '\0'));
}

void MvdpDatagramTest::macAddressDiffersInEveryByte()
{
    const std::uint8_t mac[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    // From the byte before the field to the byte behind it.
    for (int position = -1; position <= 6; ++position) {
        MvdpDatagram datagram;
        datagram.setMacAddress(mac);
        QVERIFY(datagram.hasMacAddress(mac));
        datagram.data()[20 + position] ^= 0x80;
        QCOMPARE(datagram.hasMacAddress(mac), position < 0 || position > 5);
    }
}

QTEST_GUILESS_MAIN(MvdpDatagramTest)

#include "mvdpdatagramtest.moc"
