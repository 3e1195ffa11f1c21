#include "commandhandlers.h"

#include "hwsdplatform.h"
#include "mvdpdatagram.h"
#include "support/identitybytes.h"
#include "support/messagecatcher.h"
#include "support/namespaces.h"
#include "support/panel.h"
#include "support/testbuses.h"
#include "support/texts.h"
#include "winkwidget/eventgrabber.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

#include <unistd.h>

#include <cstring>
#include <memory>
#include <thread>

// Runs in its own mount namespace with an empty /mnt; each test has its own working directory.

namespace
{

TestBuses *buses = nullptr;

const char RelativeMarker[] = "mntdatahmi\x0D"
                              "estorecdsdefault.bin";
const char AbsoluteFolder[] = "/mnt/data/hmi";
const char AbsoluteMarker[] = "/mnt/data/hmi/restorecdsdefault.bin";

const QStringList IdentityCalls = lines({VersionCall, RecordCall, CodeCall});

// A request with address 172.16.0.9 / 255.255.0.0, gateway 172.16.0.1 and the panel's MAC address. Every
// other byte has the value of its offset.
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

// The panel's reply to that request.
QByteArray replyTo(int command)
{
    if (command == 2)
        return request(2);
    if (command == 14 || command == 15)
        return request(command).replace(5, 1, "\x02");
    return identityBytes("02 00 A7").replace(6, 1, QByteArray(1, static_cast<char>(command)));
}

// The files in the working directory and in the absolute marker's folder.
QStringList files()
{
    QStringList found = QDir().entryList(QDir::Files);
    for (const QString &name : QDir(latin1(AbsoluteFolder)).entryList(QDir::Files))
        found.append(latin1(AbsoluteFolder) + QLatin1Char('/') + name);
    return found;
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

// Replaces the C library's function: a test must not wait for the disks, and checks the calls. The refresh is
// a call with an answer, so that the calls before it are on the list when sync is noted.
extern "C" void sync() noexcept
{
    HWSDPlatform::instance()->refreshNetworkState();
    buses->service().note((QStringList(latin1("sync")) + files()).join(QLatin1Char(' ')));
}

class CommandHandlersTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void commandIsCarriedOutAndAnswered_data();
    void commandIsCarriedOutAndAnswered();
    void discoverAndEchoDoNotLookAtTheMacAddress();
    void winkIsPostedToTheGuiThread();

    void setAddressStagesAppliesAndTellsWhatIsInForce();
    void setAddressThatCannotBeAppliedIsAnsweredByType3_data();
    void setAddressThatCannotBeAppliedIsAnsweredByType3();
    void setAddressWhoseWriteIsRefusedCountsAsDone();

    void restoreRelativeWithoutMarkerGoesOnSilently();
    void restoreAbsoluteWithoutFolderWarnsAndGoesOn();
    void markerThatIsThereIsLeftAsItIs_data();
    void markerThatIsThereIsLeftAsItIs();
    void refusedActionsAreAnsweredAllTheSame_data();
    void refusedActionsAreAnsweredAllTheSame();

    void requestForAnotherPanelIsDropped_data();
    void requestForAnotherPanelIsDropped();
    void unknownCommandIsDropped();

private:
    // Handles the bytes on another thread, as the server does. True when they are to be sent.
    bool handle(QByteArray &bytes);
    // The calls so far; a further call proves that none was still under way.
    QStringList allCalls();
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
    QVERIFY(QDir().mkpath(latin1(AbsoluteFolder)));
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

QStringList CommandHandlersTest::allCalls()
{
    HWSDPlatform::instance()->resetConfiguration();
    QStringList calls = service().takeCalls();
    if (calls.isEmpty() || calls.takeLast() != latin1(ResetCall))
        return lines({"not even the further call"});
    return calls;
}

void CommandHandlersTest::commandIsCarriedOutAndAnswered_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("files");
    const auto row = [](int command, const QStringList &calls, const char *marker = nullptr) {
        const QStringList files = marker ? QStringList(latin1(marker)) : QStringList();
        QTest::addRow("%d", command) << command << calls << files;
    };
    const QString withMarker = latin1("sync ");
    const QStringList read = lines({RecordCall});
    row(1, IdentityCalls);
    row(2, {});
    row(4, IdentityCalls);
    row(6,
        read + QStringList(withMarker + latin1(RelativeMarker)) + lines({ResetCall, RestartCall}) +
            IdentityCalls,
        RelativeMarker);
    row(7, IdentityCalls);
    row(14, lines({ResetCall, RecordCall, "sync", RestartCall}));
    row(15, read + QStringList(withMarker + latin1(AbsoluteMarker)) + lines({ResetCall, RestartCall}),
        AbsoluteMarker);
    row(102, QStringList(latin1(RestartCall)) + IdentityCalls);
}

void CommandHandlersTest::commandIsCarriedOutAndAnswered()
{
    QFETCH(int, command);
    QFETCH(QStringList, calls);
    QByteArray bytes = request(command);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(command));
    QCOMPARE(m_warnings, QStringList());
    QCOMPARE(allCalls(), calls);
    QTEST(files(), "files");
    for (const QString &marker : files())
        QCOMPARE(QFile(marker).size(), qint64(0));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(m_winks->count, command == 7 ? 1 : 0);
}

void CommandHandlersTest::discoverAndEchoDoNotLookAtTheMacAddress()
{
    for (const int command : {1, 2}) {
        QByteArray bytes = request(command).replace(20, 6, QByteArray(6, '\xFF'));
        const QByteArray sent = bytes;
        QVERIFY(handle(bytes));
        QCOMPARE(bytes, command == 2 ? sent : replyTo(1));
    }
}

void CommandHandlersTest::winkIsPostedToTheGuiThread()
{
    for (int wink = 0; wink < 2; ++wink) {
        QByteArray bytes = request(7);
        QVERIFY(handle(bytes));
    }
    QCOMPARE(m_winks->count, 0); // not yet: the handler does not wait
    QTRY_COMPARE_WITH_TIMEOUT(m_winks->count, 2, 60000);
    QVERIFY(m_winks->inThisThread);
}

void CommandHandlersTest::setAddressStagesAppliesAndTellsWhatIsInForce()
{
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(5));
    QStringList calls = allCalls();
    const QString written = calls.value(1);
    calls.removeAt(1);
    QCOMPARE(calls, lines({RecordCall, ApplyCall}) + IdentityCalls);
    QVERIFY2(written.contains(latin1("setInterfaceConfigJSON(s:eth0,")), qPrintable(written));
    QVERIFY2(written.contains(latin1("\t\"ip_address\" : \"172.16.0.9\",\n\t\"netmask\" : \"255.255.0.0\",\n"
                                     "\t\"gateway_ip\" : \"172.16.0.1\",\n\t\"dhcp\" : false,\n")),
             qPrintable(written));
}

void CommandHandlersTest::setAddressThatCannotBeAppliedIsAnsweredByType3_data()
{
    QTest::addColumn<QVariantList>("answer");
    QTest::newRow("no record") << QVariantList();
    QTest::newRow("a number for a record") << QVariantList{5};
    QTest::newRow("mistyped record") << QVariantList{latin1(R"({"name":"eth0","dhcp":"no"})")};
}

void CommandHandlersTest::setAddressThatCannotBeAppliedIsAnsweredByType3()
{
    QFETCH(QVariantList, answer);
    // The apply gets an error, the reply's reading a valid record.
    service().answerInTurn("getInterfaceConfig", {answer, QVariantList{panelRecord()}});
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(5).replace(5, 1, "\x03"));
    QCOMPARE(allCalls(), QStringList(latin1(RecordCall)) + IdentityCalls);
}

void CommandHandlersTest::setAddressWhoseWriteIsRefusedCountsAsDone()
{
    service().answer("setInterfaceConfigJSON", ErrorReply);
    QByteArray bytes = request(5);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(5));
    QVERIFY(!allCalls().contains(latin1(ApplyCall)));
}

void CommandHandlersTest::restoreRelativeWithoutMarkerGoesOnSilently()
{
    QVERIFY(QDir().mkdir(latin1(RelativeMarker))); // a folder cannot be opened for writing
    QByteArray bytes = request(6);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(6));
    QCOMPARE(m_warnings, QStringList());
    QCOMPARE(allCalls(), lines({ResetCall, RestartCall}) + IdentityCalls);
}

void CommandHandlersTest::restoreAbsoluteWithoutFolderWarnsAndGoesOn()
{
    QVERIFY(QDir(latin1("/mnt/data")).removeRecursively());
    QByteArray bytes = request(15);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(15));
    QCOMPARE(m_warnings, lines({"creation of file failed"}));
    QCOMPARE(allCalls(), lines({ResetCall, RestartCall}));
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
    QFile file(marker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("older");
    file.close();
    QByteArray bytes = request(command);
    QVERIFY(handle(bytes));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("older"));
    QCOMPARE(service().takeCalls().value(1), latin1("sync ") + marker);
}

void CommandHandlersTest::refusedActionsAreAnsweredAllTheSame_data()
{
    QTest::addColumn<int>("command");
    for (const int command : {6, 14, 15, 102})
        QTest::addRow("%d", command) << command;
}

void CommandHandlersTest::refusedActionsAreAnsweredAllTheSame()
{
    QFETCH(int, command);
    service().answer("resetConfiguration", ErrorReply);
    service().answer("restartSystem", ErrorReply);
    QByteArray bytes = request(command);
    QVERIFY(handle(bytes));
    QCOMPARE(bytes, replyTo(command));
    QCOMPARE(m_warnings, QStringList());
    QVERIFY(allCalls().contains(latin1(RestartCall)));
}

// The datagram's own test covers every byte of the address.
void CommandHandlersTest::requestForAnotherPanelIsDropped_data()
{
    QTest::addColumn<int>("command");
    for (const int command : {4, 5, 6, 7, 14, 15, 102})
        QTest::addRow("%d", command) << command;
}

void CommandHandlersTest::requestForAnotherPanelIsDropped()
{
    QFETCH(int, command);
    QByteArray bytes = request(command);
    bytes[25] = static_cast<char>(bytes.at(25) ^ 1);
    QVERIFY(!handle(bytes));
    QCOMPARE(m_warnings, QStringList());
    QCOMPARE(allCalls(), QStringList());
    QCOMPARE(files(), QStringList());
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
    QCOMPARE(allCalls(), QStringList());
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
