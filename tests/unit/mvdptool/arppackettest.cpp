#include "arppacket.h"

#include <QtTest/QtTest>

namespace
{

using Bytes = std::vector<std::uint8_t>;

// Ethernet, IPv4, addresses of 6 and 4 bytes, a reply; 52:54:00:12:34:56 at 192.168.10.20 to
// 02:00:5e:10:00:01 at 0.0.0.0
const Bytes Reply = {0x00, 0x01, 0x08, 0x00, 0x06, 0x04, 0x00, 0x02, 0x52, 0x54, 0x00, 0x12, 0x34, 0x56,
                     0xC0, 0xA8, 0x0A, 0x14, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00};

bool isSenderIn(const Bytes &bytes)
{
    return arpSender(bytes.data(), bytes.size()).has_value();
}

} // namespace

class ArpPacketTest : public QObject
{
    Q_OBJECT

private slots:
    void probeHasNoSenderAddress();
    void senderOfAReplyIsRead();
    void senderOfARequestIsRead();
    void bytesBehindThePacketAreIgnored();
    void othersHaveNoSender_data();
    void othersHaveNoSender();
    void shortPacketHasNoSender();
};

void ArpPacketTest::probeHasNoSenderAddress()
{
    const ArpPacket expected = {0x00, 0x01, 0x08, 0x00, 0x06, 0x04, 0x00, 0x01, 0x02, 0x00,
                                0x5E, 0x10, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                0x00, 0x00, 0x00, 0x00, 0xC0, 0xA8, 0x0A, 0x14};
    QCOMPARE(arpProbe({0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}, 0xC0A80A14), expected);
}

void ArpPacketTest::senderOfAReplyIsRead()
{
    const auto sender = arpSender(Reply.data(), Reply.size());
    QVERIFY(sender);
    QCOMPARE(sender->first, 0xC0A80A14u);
    QCOMPARE(macText(sender->second), QStringLiteral("52:54:00:12:34:56"));
}

// A holder that asks for others shows itself as well.
void ArpPacketTest::senderOfARequestIsRead()
{
    Bytes request = Reply;
    request[7] = 1;
    QVERIFY(isSenderIn(request));
}

// Ethernet fills short frames up.
void ArpPacketTest::bytesBehindThePacketAreIgnored()
{
    Bytes longer = Reply;
    longer.resize(46);
    QVERIFY(isSenderIn(longer));
}

void ArpPacketTest::othersHaveNoSender_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("value");
    QTest::newRow("another hardware") << 1 << 6;
    QTest::newRow("another protocol") << 2 << 0x86;
    QTest::newRow("another length of the MAC address") << 4 << 8;
    QTest::newRow("another length of the address") << 5 << 16;
    QTest::newRow("an operation above 255") << 6 << 1;
}

void ArpPacketTest::othersHaveNoSender()
{
    QFETCH(const int, offset);
    QFETCH(const int, value);
    Bytes other = Reply;
    other[std::size_t(offset)] = std::uint8_t(value);
    QVERIFY(!isSenderIn(other));
    const ArpPacket probe = arpProbe({}, 0xC0A80A14);
    QVERIFY(!arpSender(probe.data(), probe.size()));
}

void ArpPacketTest::shortPacketHasNoSender()
{
    for (std::size_t size = 0; size < Reply.size(); ++size)
        QVERIFY(!arpSender(Bytes(Reply.begin(), Reply.begin() + std::ptrdiff_t(size)).data(), size));
}

QTEST_APPLESS_MAIN(ArpPacketTest)
#include "arppackettest.moc"
