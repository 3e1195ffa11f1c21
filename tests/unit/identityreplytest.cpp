#include "identityreply.h"

#include "hwsdplatform.h"
#include "mvdpdatagram.h"
#include "support/identitybytes.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"

#include <QtTest/QtTest>

#include <cstring>

namespace
{

TestBuses *buses = nullptr;

QByteArray reply()
{
    MvdpDatagram datagram;
    std::memset(datagram.data(), 0xEE, 256);
    buildIdentityReply(datagram);
    return QByteArray(reinterpret_cast<const char *>(datagram.data()), 256);
}

} // namespace

class IdentityReplyTest : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { buses->stop(); }

    void replyTellsWhatThePanelIsNow();
    void panelThatCannotBeAskedRepliesAllTheSame();
};

void IdentityReplyTest::replyTellsWhatThePanelIsNow()
{
    QVERIFY(buses->startPanel());
    answerAsPanel(buses->service());
    QCOMPARE(reply(), identityBytes("EE EE EE"));
    QCOMPARE(buses->service().takeCalls(), lines({VersionCall, RecordCall, CodeCall}));

    buses->service().answer("getInterfaceConfig",
                            {panelRecord().replace(latin1("192.168.0.1\""), latin1("172.16.0.9\""))});
    QCOMPARE(reply(), identityBytes("EE EE EE").replace(8, 4, QByteArray::fromHex("090010AC")));
}

void IdentityReplyTest::panelThatCannotBeAskedRepliesAllTheSame()
{
    MvdpDatagram unknown;
    std::memset(unknown.data(), 0xEE, 256);
    unknown.setIdentity(MvdpIdentity());
    QCOMPARE(reply(), QByteArray(reinterpret_cast<const char *>(unknown.data()), 256));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    IdentityReplyTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "identityreplytest.moc"
