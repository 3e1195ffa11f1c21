#include "request.h"

#include <QtTest/QtTest>

#include <cstring>

namespace
{

const MacAddress OwnMac = {0x02, 0x00, 0x5E, 0x10, 0x00, 0x01};
const MacAddress OtherMac = {0x02, 0x00, 0x5E, 0x10, 0x00, 0x02};

Received receivedFrom(const MvdpDatagram &datagram)
{
    Received received;
    received.datagram = datagram;
    received.length = 256;
    received.sourcePort = 58553;
    return received;
}

// The identity reply to a request, with a MAC address.
Received replyTo(const Request &request)
{
    Received received = receivedFrom(request.datagram);
    received.datagram.data()[4] = 4;
    received.datagram.data()[5] = 2;
    std::memcpy(received.datagram.data() + 20, OwnMac.data(), OwnMac.size());
    return received;
}

} // namespace

class RequestTest : public QObject
{
    Q_OBJECT

private slots:
    void requestIsWrittenByteForByte();
    void identityReplyIsAnAnswer();
    void changedIdentityReplyIsNone_data();
    void changedIdentityReplyIsNone();
    void typeThreeAnswersASettingOnly();
    void anyMacAnswersARequestToAll();
    void onlyItsMacAnswersARequestToOne();
    void echoMustComeBackUntouched();
    void resetComesBackWithItsTypeChanged();
    void shortEchoIsComparedAsFarAsItWent();
    void destructiveCommandsAreKnown();
};

void RequestTest::requestIsWrittenByteForByte()
{
    const Request request = Request::toMac(MvdpCommand::Identify, OwnMac);
    QByteArray expected = QByteArray::fromHex("5e1306030201040000000000000000000000000002005e100001");
    expected.append(256 - expected.size(), '\0');
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(request.datagram.data()), 256), expected);
    QCOMPARE(request.length, std::size_t(256));
}

void RequestTest::identityReplyIsAnAnswer()
{
    for (const MvdpCommand command : {MvdpCommand::Discover, MvdpCommand::Identify, MvdpCommand::SetAddress,
                                      MvdpCommand::Wink, MvdpCommand::Restart}) {
        const Request request = Request::toMac(command, OwnMac);
        QCOMPARE(int(judge(request, replyTo(request))), int(Verdict::Answer));
    }
}

void RequestTest::changedIdentityReplyIsNone_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("verdict");
    QTest::newRow("magic") << 3 << 4 << int(Verdict::NotProtocol);
    QTest::newRow("version too low") << 4 << 3 << int(Verdict::NotProtocol);
    QTest::newRow("version too high") << 4 << 5 << int(Verdict::NotProtocol);
    QTest::newRow("a request") << 5 << 1 << int(Verdict::NotProtocol);
    QTest::newRow("type of a failed setting") << 5 << 3 << int(Verdict::NotProtocol);
    QTest::newRow("type zero") << 5 << 0 << int(Verdict::NotProtocol);
    QTest::newRow("another command") << 6 << 4 << int(Verdict::OtherCommand);
}

void RequestTest::changedIdentityReplyIsNone()
{
    QFETCH(int, offset);
    QFETCH(int, value);
    QFETCH(int, verdict);
    const Request request = Request::toAll(MvdpCommand::Discover);
    Received reply = replyTo(request);
    reply.datagram.data()[offset] = static_cast<std::uint8_t>(value);
    QCOMPARE(int(judge(request, reply)), verdict);

    Received shortened = replyTo(request);
    shortened.length = 255;
    QCOMPARE(int(judge(request, shortened)), int(Verdict::WrongLength));
    Received lengthened = replyTo(request);
    lengthened.length = 257;
    QCOMPARE(int(judge(request, lengthened)), int(Verdict::WrongLength));
    Received foreign = replyTo(request);
    foreign.sourcePort = 58554;
    QCOMPARE(int(judge(request, foreign)), int(Verdict::NotProtocol));
}

void RequestTest::typeThreeAnswersASettingOnly()
{
    const Request setting = Request::toMac(MvdpCommand::SetAddress, OwnMac);
    Received reply = replyTo(setting);
    reply.datagram.data()[5] = 3;
    QCOMPARE(int(judge(setting, reply)), int(Verdict::Answer));
    const Request identify = Request::toMac(MvdpCommand::Identify, OwnMac);
    reply = replyTo(identify);
    reply.datagram.data()[5] = 3;
    QCOMPARE(int(judge(identify, reply)), int(Verdict::NotProtocol));
}

void RequestTest::anyMacAnswersARequestToAll()
{
    const Request request = Request::toAll(MvdpCommand::Discover);
    Received reply = replyTo(request);
    reply.datagram.setMacAddress(OtherMac.data());
    QCOMPARE(int(judge(request, reply)), int(Verdict::Answer));
}

void RequestTest::onlyItsMacAnswersARequestToOne()
{
    const Request request = Request::toMac(MvdpCommand::Identify, OtherMac);
    QCOMPARE(int(judge(request, replyTo(request))), int(Verdict::OtherMac));
}

void RequestTest::echoMustComeBackUntouched()
{
    Request request = Request::toAll(MvdpCommand::Echo);
    request.datagram.data()[255] = 0xA5;
    Received echo = receivedFrom(request.datagram);
    QCOMPARE(int(judge(request, echo)), int(Verdict::Answer));
    echo.datagram.data()[255] ^= 1;
    QCOMPARE(int(judge(request, echo)), int(Verdict::Altered));
    echo = receivedFrom(request.datagram);
    echo.datagram.data()[5] = 2;
    QVERIFY(judge(request, echo) != Verdict::Answer);
    echo = receivedFrom(request.datagram);
    echo.datagram.data()[0] = 0;
    QCOMPARE(int(judge(request, echo)), int(Verdict::NotProtocol));
    echo = receivedFrom(request.datagram);
    echo.datagram.data()[6] = 1;
    QCOMPARE(int(judge(request, echo)), int(Verdict::OtherCommand));
}

void RequestTest::resetComesBackWithItsTypeChanged()
{
    for (const MvdpCommand command : {MvdpCommand::ResetNetwork, MvdpCommand::RestoreDefaults}) {
        const Request request = Request::toMac(command, OwnMac);
        Received reply = receivedFrom(request.datagram); // keeps version 2
        QVERIFY(judge(request, reply) != Verdict::Answer);
        reply.datagram.data()[5] = 2;
        QCOMPARE(int(judge(request, reply)), int(Verdict::Answer));
        reply.datagram.setMacAddress(OtherMac.data());
        QVERIFY(judge(request, reply) != Verdict::Answer);
    }
}

void RequestTest::shortEchoIsComparedAsFarAsItWent()
{
    Request request = Request::toAll(MvdpCommand::Echo);
    request.length = 20;
    Received echo = receivedFrom(request.datagram);
    echo.datagram.data()[20] = 0x77; // from the panel's previous datagram
    QCOMPARE(int(judge(request, echo)), int(Verdict::Answer));
    echo.datagram.data()[19] = 0x77;
    QCOMPARE(int(judge(request, echo)), int(Verdict::Altered));
}

void RequestTest::destructiveCommandsAreKnown()
{
    QList<int> destructive;
    QList<int> named;
    for (int code = 0; code < 256; ++code) {
        if (isDestructive(static_cast<std::uint8_t>(code)))
            destructive << code;
        if (std::strcmp(commandName(static_cast<std::uint8_t>(code)), "unknown") != 0)
            named << code;
    }
    QCOMPARE(destructive, QList<int>({5, 6, 14, 15, 102}));
    QCOMPARE(named, QList<int>({1, 2, 4, 5, 6, 7, 14, 15, 102}));
}

QTEST_APPLESS_MAIN(RequestTest)
#include "requesttest.moc"
