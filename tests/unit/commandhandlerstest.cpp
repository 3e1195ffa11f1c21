#include "commandhandlers.h"

#include "hwsdplatform.h"
#include "mvdpdatagram.h"
#include "winkwidget/eventgrabber.h"

#include "support/messagecatcher.h"
#include "support/namespaces.h"
#include "support/panel.h"
#include "support/testbuses.h"

#include <QApplication>
#include <QtTest>

#include <cstring>
#include <memory>
#include <thread>

#include <unistd.h>

// In a mount namespace of the test's own, with an empty /mnt, and a working directory of each test's own.

namespace
{

TestBuses *buses = nullptr;

const char RelativeMarker[] = "mntdatahmi\x0D"
                              "estorecdsdefault.bin";
const char AbsoluteMarker[] = "/mnt/data/hmi/restorecdsdefault.bin";

const char WriteCallStart[] = "/NetworkManager com.zelt.HWSD.NetworkManager.setInterfaceConfigJSON(s:eth0,s:";
const char ApplyCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.applyNewConfiguration()";
const char ResetCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.resetConfiguration()";
const char RestartCall[] = "/ com.zelt.HWSD.restartSystem()";
const char SyncNote[] = "sync";

QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

QStringList lines(std::initializer_list<const char *> texts)
{
    QStringList list;
    for (const char *text : texts)
        list.append(latin1(text));
    return list;
}

// A request whose every other byte tells its place, with address 172.16.0.9 / 255.255.0.0, gateway 172.16.0.1
// and the panel's MAC address.
QByteArray request(int command)
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(static_cast<char>(i));
    bytes.replace(0, 8, QByteArray::fromHex("5E130603 02 01 00 A7"));
    bytes[6] = static_cast<char>(command);
    bytes.replace(8, 18, QByteArray::fromHex("090010AC 0000FFFF 010010AC 001A2B3C4D5E"));
    return bytes;
}

// The identity reply of the panel that the fake service plays.
QByteArray identity(int packetType, int command)
{
    QByteArray bytes = QByteArray::fromHex("5E130603 04 00 00 A7"
                                           "0100A8C0 00FFFFFF FE00A8C0 001A2B3C4D5E"
                                           "58020F278D01 0000 0738EA01 0000 00000200") +
                       "QM413-JD562" + QByteArray(201, '\0');
    bytes[5] = static_cast<char>(packetType);
    bytes[6] = static_cast<char>(command);
    return bytes;
}

// Counts the wink requests that arrive at the grabber and keeps them from being carried out.
class WinkCounter : public QObject
{
public:
    WinkCounter() { EventGrabber::instance()->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return false;
        ++count;
        inThisThread = inThisThread && QThread::currentThread() == thread();
        return true;
    }
    int count = 0;
    bool inThisThread = true;
};

} // namespace

// In place of the C library's: a test shall not wait for the machine's disks, and wants to know.
extern "C" void sync() noexcept
{
    QString note = latin1(SyncNote);
    if (QFile::exists(latin1(RelativeMarker)))
        note += latin1(" with relative marker");
    if (QFile::exists(latin1(AbsoluteMarker)))
        note += latin1(" with absolute marker");
    buses->service().note(note);
}

class CommandHandlersTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void discoverIsAnsweredByIdentity();
    void discoverDoesNotLookAtTheMacAddress();
    void echoIsTheRequestItself();
    void identifyIsAnsweredByIdentity();

    void setAddressStagesAppliesAndTellsWhatIsInForce();
    void setAddressThatCannotBeAppliedIsAnsweredByType3_data();
    void setAddressThatCannotBeAppliedIsAnsweredByType3();
    void setAddressWhoseWriteIsRefusedCountsAsDone();

    void restoreRelativeLeavesItsMarkerInTheWorkingDirectory();
    void restoreRelativeWithoutMarkerGoesOnSilently();
    void winkIsPostedToTheGuiThread();
    void resetNetworkSendsTheRequestBack();
    void restoreAbsoluteLeavesItsMarker();
    void restoreAbsoluteWithoutFolderWarnsAndGoesOn();
    void markerThatIsThereIsLeftAsItIs_data();
    void markerThatIsThereIsLeftAsItIs();
    void restartIsAnsweredByIdentity();
    void refusedActionsAreAnsweredAllTheSame_data();
    void refusedActionsAreAnsweredAllTheSame();

    void requestForAnotherPanelIsDropped_data();
    void requestForAnotherPanelIsDropped();
    void unknownCommandIsDropped();

private:
    // Handles the bytes on another thread, as the server does. True when they are to be sent.
    bool handle(QByteArray &bytes);
    bool hasAbsoluteFolder() { return QDir().mkpath(latin1("/mnt/data/hmi")); }
    FakeService &service() { return buses->service(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<WinkCounter> m_winks;
    QStringList m_warnings;
};

void CommandHandlersTest::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
    QDir(latin1("/mnt/data")).removeRecursively();
    m_winks.reset(new WinkCounter);
    QVERIFY(buses->startPanel());
    answerAsPanel(service());
    // The server reads the state for each datagram before it hands it over.
    QVERIFY(HWSDPlatform::instance()->refreshNetworkState());
    service().takeCalls();
}

void CommandHandlersTest::cleanup()
{
    buses->stop();
    QCoreApplication::sendPostedEvents();
    m_winks.reset();
    QDir::setCurrent(latin1("/"));
    m_folder.reset();
}

bool CommandHandlersTest::handle(QByteArray &bytes)
{
    MvdpDatagram datagram;
    std::memcpy(datagram.data(), bytes.constData(), 256);
    bool send = false;
    MessageCatcher messages;
    std::thread server([&datagram, &send] { send = handleCommand(datagram); });
    server.join();
    m_warnings = messages.take();
    bytes = QByteArray(reinterpret_cast<const char *>(datagram.data()), 256);
    return send;
}

void CommandHandlersTest::discoverIsAnsweredByIdentity()
{
    QByteArray bytes = request(1);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 1));
    QCOMPARE(service().takeCalls(), lines({PanelVersionCall, PanelRecordCall, PanelModelCall}));
}

void CommandHandlersTest::discoverDoesNotLookAtTheMacAddress()
{
    QByteArray bytes = request(1);
    bytes.replace(20, 6, QByteArray(6, '\xFF'));
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 1));
}

void CommandHandlersTest::echoIsTheRequestItself()
{
    for (const char *mac : {"001A2B3C4D5E", "FFFFFFFFFFFF"}) {
        QByteArray bytes = request(2).replace(20, 6, QByteArray::fromHex(mac));
        const QByteArray sent = bytes;
        QVERIFY(handle(bytes));
        QCOMPARE(bytes, sent);
        QCOMPARE(service().takeCalls(), QStringList());
    }
}

void CommandHandlersTest::identifyIsAnsweredByIdentity()
{
    QByteArray bytes = request(4);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 4));
    QCOMPARE(service().takeCalls(), lines({PanelVersionCall, PanelRecordCall, PanelModelCall}));
}

void CommandHandlersTest::setAddressStagesAppliesAndTellsWhatIsInForce()
{
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 5));
    const QString written =
        latin1("{\n\t\"name\" : \"eth0\",\n\t\"mac_address\" : \"00:1A:2B:3C:4D:5E\",\n"
               "\t\"ip_address\" : \"172.16.0.9\",\n\t\"netmask\" : \"255.255.0.0\",\n"
               "\t\"gateway_ip\" : \"172.16.0.1\",\n\t\"dhcp\" : false,\n"
               "\t\"configured\" : false,\n\t\"readonly\" : true,\n\t\"virtual\" : true,\n"
               "\t\"hidden\" : true,\n\t\"actual_netmask\" : \"255.255.255.0\",\n"
               "\t\"actual_ip_address\" : \"192.168.0.1\",\n"
               "\t\"actual_gateway_ip\" : \"192.168.0.254\"\n})");
    QCOMPARE(service().takeCalls(),
             (QStringList{latin1(PanelRecordCall), latin1(WriteCallStart) + written, latin1(ApplyCall),
                          latin1(PanelVersionCall), latin1(PanelRecordCall), latin1(PanelModelCall)}));
}

void CommandHandlersTest::setAddressThatCannotBeAppliedIsAnsweredByType3_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("no record") << QVariantList();
    QTest::newRow("a number for a record") << QVariantList{5};
    QTest::newRow("mistyped record") << QVariantList{latin1("{\"name\":\"eth0\",\"dhcp\":\"no\"}")};
}

void CommandHandlersTest::setAddressThatCannotBeAppliedIsAnsweredByType3()
{
    QFETCH(QVariantList, answer);
    // Refused for the apply, in order again for the reply.
    service().answerInTurn(latin1("getInterfaceConfig"), {answer, QVariantList{panelRecord()}});
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(3, 5));
    QCOMPARE(service().takeCalls(),
             lines({PanelRecordCall, PanelVersionCall, PanelRecordCall, PanelModelCall}));
}

void CommandHandlersTest::setAddressWhoseWriteIsRefusedCountsAsDone()
{
    service().refuse(latin1("setInterfaceConfigJSON"));
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 5));
    QVERIFY(!service().takeCalls().contains(latin1(ApplyCall)));
}

void CommandHandlersTest::restoreRelativeLeavesItsMarkerInTheWorkingDirectory()
{
    QVERIFY(hasAbsoluteFolder());
    QByteArray bytes = request(6);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 6));
    QCOMPARE(service().takeCalls(), lines({"sync with relative marker", ResetCall, RestartCall,
                                           PanelVersionCall, PanelRecordCall, PanelModelCall}));
    QCOMPARE(latin1(RelativeMarker).size(), 31);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), lines({RelativeMarker}));
    QCOMPARE(QFileInfo(latin1(RelativeMarker)).size(), qint64(0));
    QCOMPARE(QDir(latin1("/mnt/data/hmi")).entryList(QDir::Files), QStringList());
    QCOMPARE(m_warnings, QStringList());
}

void CommandHandlersTest::restoreRelativeWithoutMarkerGoesOnSilently()
{
    QVERIFY(QDir().mkdir(latin1(RelativeMarker))); // a folder cannot be opened for writing
    QByteArray bytes = request(6);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 6));
    QCOMPARE(service().takeCalls(),
             lines({ResetCall, RestartCall, PanelVersionCall, PanelRecordCall, PanelModelCall}));
    QCOMPARE(m_warnings, QStringList());
}

void CommandHandlersTest::winkIsPostedToTheGuiThread()
{
    for (int wink = 0; wink < 2; ++wink) {
        QByteArray bytes = request(7);
        QVERIFY(handle(bytes));
        QCOMPARE(bytes, identity(2, 7));
    }
    QCOMPARE(m_winks->count, 0); // not yet: the handler does not wait
    QTRY_COMPARE_WITH_TIMEOUT(m_winks->count, 2, 60000);
    QVERIFY(m_winks->inThisThread);
    QCOMPARE(service().takeCalls(),
             lines({PanelVersionCall, PanelRecordCall, PanelModelCall, PanelRecordCall}));
}

void CommandHandlersTest::resetNetworkSendsTheRequestBack()
{
    QByteArray bytes = request(14);
    const QByteArray expected = request(14).replace(5, 1, "\x02");
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, expected);
    QCOMPARE(service().waitForCalls(3), lines({ResetCall, SyncNote, RestartCall}));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList());
}

void CommandHandlersTest::restoreAbsoluteLeavesItsMarker()
{
    QVERIFY(hasAbsoluteFolder());
    QByteArray bytes = request(15);
    const QByteArray expected = request(15).replace(5, 1, "\x02");
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, expected);
    QCOMPARE(service().waitForCalls(3), lines({"sync with absolute marker", ResetCall, RestartCall}));
    QCOMPARE(QDir(latin1("/mnt/data/hmi")).entryList(QDir::Files), lines({"restorecdsdefault.bin"}));
    QCOMPARE(QFileInfo(latin1(AbsoluteMarker)).size(), qint64(0));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList());
    QCOMPARE(m_warnings, QStringList());
}

void CommandHandlersTest::restoreAbsoluteWithoutFolderWarnsAndGoesOn()
{
    QByteArray bytes = request(15);
    const QByteArray expected = request(15).replace(5, 1, "\x02");
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, expected);
    QCOMPARE(service().waitForCalls(2), lines({ResetCall, RestartCall}));
    QCOMPARE(m_warnings, lines({"creation of file failed"}));
    QVERIFY(!QFile::exists(latin1("/mnt/data")));
}

void CommandHandlersTest::markerThatIsThereIsLeftAsItIs_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QString>("marker");
    QTest::newRow("relative") << 6 << latin1(RelativeMarker);
    QTest::newRow("absolute") << 15 << latin1(AbsoluteMarker);
}

void CommandHandlersTest::markerThatIsThereIsLeftAsItIs()
{
    QFETCH(int, command);
    QFETCH(QString, marker);
    QVERIFY(hasAbsoluteFolder());
    QFile file(marker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("older");
    file.close();
    QByteArray bytes = request(command);
    QVERIFY(handle(bytes));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("older"));
    QVERIFY(service().takeCalls().value(0).startsWith(latin1(SyncNote)));
}

void CommandHandlersTest::restartIsAnsweredByIdentity()
{
    QByteArray bytes = request(102);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, identity(2, 102));
    QCOMPARE(service().takeCalls(), lines({RestartCall, PanelVersionCall, PanelRecordCall, PanelModelCall}));
}

void CommandHandlersTest::refusedActionsAreAnsweredAllTheSame_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("6") << 6 << identity(2, 6);
    QTest::newRow("14") << 14 << request(14).replace(5, 1, "\x02");
    QTest::newRow("15") << 15 << request(15).replace(5, 1, "\x02");
    QTest::newRow("102") << 102 << identity(2, 102);
}

void CommandHandlersTest::refusedActionsAreAnsweredAllTheSame()
{
    QFETCH(int, command);
    QFETCH(QByteArray, reply);
    QVERIFY(hasAbsoluteFolder());
    service().refuse(latin1("resetConfiguration"));
    service().refuse(latin1("restartSystem"));
    QByteArray bytes = request(command);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, reply);
    QCOMPARE(m_warnings, QStringList());
    QStringList calls;
    while (!calls.contains(latin1(RestartCall))) {
        const QStringList more = service().waitForCalls(1);
        QVERIFY(!more.isEmpty());
        calls += more;
    }
}

void CommandHandlersTest::requestForAnotherPanelIsDropped_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("position");
    for (const int command : {4, 5, 6, 7, 14, 15, 102}) {
        for (int position = 20; position < 26; ++position)
            QTest::addRow("command %d, byte %d", command, position) << command << position;
    }
}

void CommandHandlersTest::requestForAnotherPanelIsDropped()
{
    QFETCH(int, command);
    QFETCH(int, position);
    QVERIFY(hasAbsoluteFolder());
    QByteArray bytes = request(command);
    bytes[position] = static_cast<char>(bytes.at(position) ^ 1);
    QVERIFY(!handle(bytes));
    // Nothing was asked behind our back either: the next call is ours.
    HWSDPlatform::instance()->resetConfiguration();
    QCOMPARE(service().takeCalls(), lines({ResetCall}));
    QCOMPARE(m_warnings, QStringList());
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList());
    QCOMPARE(QDir(latin1("/mnt/data/hmi")).entryList(QDir::Files), QStringList());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(m_winks->count, 0);
    QCOMPARE(HWSDPlatform::instance()->ipAddress(), 0xC0A80001u);
}

void CommandHandlersTest::unknownCommandIsDropped()
{
    const QList<int> known = {1, 2, 4, 5, 6, 7, 14, 15, 102};
    for (int command = 0; command < 256; ++command) {
        if (known.contains(command))
            continue;
        QByteArray bytes = request(command);
        QVERIFY2(!handle(bytes), qPrintable(QString::number(command)));
        QCOMPARE(m_warnings, QStringList());
    }
    HWSDPlatform::instance()->resetConfiguration();
    QCOMPARE(service().takeCalls(), lines({ResetCall}));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(m_winks->count, 0);
}

int main(int argc, char **argv)
{
    enterOwnMountNamespace();
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    TestBuses ownBuses;
    buses = &ownBuses;
    const std::unique_ptr<EventGrabber> grabber(EventGrabber::instance());
    CommandHandlersTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "commandhandlerstest.moc"
