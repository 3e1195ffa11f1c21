#include "identityreply.h"

#include "hwsdplatform.h"
#include "mvdpdatagram.h"

#include "support/panel.h"
#include "support/testbuses.h"

#include <QtTest>

#include <cstring>

namespace
{

TestBuses *buses = nullptr;

QByteArray replyTo(char filling)
{
    MvdpDatagram datagram;
    std::memset(datagram.data(), filling, 256);
    buildIdentityReply(datagram);
    return QByteArray(reinterpret_cast<const char *>(datagram.data()), 256);
}

} // namespace

class IdentityReplyTest : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { buses->stop(); }

    void replyTellsWhatThePanelIs();
    void replyTellsTheStateOfNow();
    void panelThatCannotBeAskedRepliesAllTheSame();
};

void IdentityReplyTest::replyTellsWhatThePanelIs()
{
    QVERIFY(buses->startPanel());
    answerAsPanel(buses->service());
    const QByteArray expected = QByteArray::fromHex("5E130603"         //   0 magic
                                                    "04"               //   4 version
                                                    "EEEEEE"           //   5 as they were
                                                    "0100A8C0"         //   8 192.168.0.1
                                                    "00FFFFFF"         //  12 255.255.255.0
                                                    "FE00A8C0"         //  16 192.168.0.254
                                                    "001A2B3C4D5E"     //  20 MAC address
                                                    "58020F278D01"     //  26 fixed identity
                                                    "0000"             //  32
                                                    "0738EA01"         //  34 version 01 234 56 7
                                                    "0000"             //  38
                                                    "00000200")        //  40 fixed bytes 40
                                + "QM413-JD562" + QByteArray(53, '\0') //  44 description
                                + QByteArray(148, '\0');               // 108 zero to the end
    QCOMPARE(replyTo('\xEE'), expected);
    QCOMPARE(buses->service().takeCalls(),
             (QStringList{QLatin1String(PanelVersionCall), QLatin1String(PanelRecordCall),
                          QLatin1String(PanelModelCall)}));
}

void IdentityReplyTest::replyTellsTheStateOfNow()
{
    QVERIFY(buses->startPanel());
    answerAsPanel(buses->service());
    replyTo('\0');
    buses->service().answer(
        QStringLiteral("getInterfaceConfig"),
        {panelRecord().replace(QStringLiteral("192.168.0.1\""), QStringLiteral("172.16.0.9\""))});
    QCOMPARE(replyTo('\0').mid(8, 4), QByteArray::fromHex("090010AC"));
}

void IdentityReplyTest::panelThatCannotBeAskedRepliesAllTheSame()
{
    const QByteArray expected = QByteArray::fromHex("5E13060304") + QByteArray(3, '\xEE') +
                                QByteArray(18, '\0') + QByteArray::fromHex("58020F278D01") +
                                QByteArray(8, '\0') + QByteArray::fromHex("00000200") + QByteArray(212, '\0');
    QCOMPARE(replyTo('\xEE'), expected);
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
