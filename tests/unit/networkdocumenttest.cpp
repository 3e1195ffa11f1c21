// The whole way of the network manager's document: from the simulated platform service over a bus into the
// record, and back.

#include "networkmanagerconfig.h"
#include "networkmanagerinterface.h"

#include "support/messagecatcher.h"
#include "support/privatebus.h"
#include "support/recordreading.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QTemporaryFile>
#include <QtTest>

#include <memory>

namespace
{

const char State[] =
    "{\"hostname\":\"mixer\","
    "\"dns\":{\"servers\":[{\"ip\":\"192.168.10.2\"},{\"ip\":\"192.168.10.3\"}],\"search\":[]},"
    "\"bridge\":{\"enabled\":true,\"interfaces\":[\"eth1\"],\"list\":["
    "{\"name\":\"br1\",\"interfaces\":[\"eth1\"],\"std\":false,\"fd\":2,\"udhcpc_opts\":\"-n\"},"
    "{\"name\":\"br0\",\"interfaces\":[]}]}}";

const int PatienceMs = 60000;

} // namespace

class NetworkDocumentTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void documentOfTheServiceIsRead();
    void changedDocumentIsTakenByTheService();

private:
    NetworkManagerConfig read();

    PrivateBus m_bus;
    QProcess m_service;
    std::unique_ptr<ComZeltHWSDNetworkManagerInterface> m_networkManager;
};

void NetworkDocumentTest::initTestCase()
{
    QVERIFY(m_bus.start());
    const QString address = QString::fromLocal8Bit(m_bus.address());
    QTemporaryFile state;
    QVERIFY(state.open());
    state.write(State);
    state.close();
    m_service.setProcessChannelMode(QProcess::ForwardedChannels);
    m_service.start(latin1(HWSD_SIM), {latin1("--bus"), address, latin1("--state"), state.fileName()});
    QVERIFY(m_service.waitForStarted());

    QDBusConnection connection = QDBusConnection::connectToBus(address, latin1("document"));
    QVERIFY(connection.isConnected());
    const QString name = latin1("com.zelt.HWSD");
    QTRY_VERIFY_WITH_TIMEOUT(connection.interface()->isServiceRegistered(name), PatienceMs);
    m_networkManager.reset(
        new ComZeltHWSDNetworkManagerInterface(name, latin1("/NetworkManager"), connection));
}

void NetworkDocumentTest::cleanupTestCase()
{
    m_networkManager.reset();
    QDBusConnection::disconnectFromBus(latin1("document"));
    m_service.terminate();
    m_service.waitForFinished(PatienceMs);
}

NetworkManagerConfig NetworkDocumentTest::read()
{
    NetworkManagerConfig document;
    QDBusPendingReply<QString> text = m_networkManager->getConfigJSON();
    text.waitForFinished();
    const RecordReading reading = readText(document, text.value());
    if (reading.result != latin1("true") || !reading.warnings.isEmpty())
        QTest::qFail(qPrintable(reading.result + reading.warnings.join(QLatin1Char('\n'))), __FILE__,
                     __LINE__);
    return document;
}

void NetworkDocumentTest::documentOfTheServiceIsRead()
{
    const NetworkManagerConfig document = read();
    QCOMPARE(document.version, 1);
    QCOMPARE(document.hostname, latin1("mixer"));
    QCOMPARE(document.dns.servers, QStringList() << latin1("192.168.10.2") << latin1("192.168.10.3"));
    QCOMPARE(document.dns.search, QStringList());
    QCOMPARE(document.bridge.enabled, true);
    QCOMPARE(document.bridge.interfaces, QStringList(latin1("eth1")));
    QCOMPARE(QStringList(document.bridge.bridges.keys()), QStringList() << latin1("br0") << latin1("br1"));
    const BridgeEntry bridge = document.bridge.bridges.value(latin1("br1"));
    QCOMPARE(bridge.interfaces, QStringList(latin1("eth1")));
    QCOMPARE(bridge.stp, false);
    QCOMPARE(bridge.fd, 2);
    QCOMPARE(bridge.udhcpcOpts, latin1("-n"));
    QCOMPARE(QStringList(document.interfaces.keys()), QStringList(latin1("eth0")));
    const NetworkInterfaceConfig eth0 = document.interfaces.value(latin1("eth0"));
    QCOMPARE(eth0.ipAddress, latin1("192.168.10.5"));
    QCOMPARE(eth0.actualNetmask, latin1("255.255.255.0"));
    QCOMPARE(eth0.isVirtual, false);
}

void NetworkDocumentTest::changedDocumentIsTakenByTheService()
{
    NetworkManagerConfig document = read();
    document.hostname = latin1("kettle");
    document.dns.search << latin1("plant.example");
    document.bridge.bridges.remove(latin1("br0"));
    document.interfaces[latin1("eth0")].ipAddress = latin1("192.168.10.77");

    QDBusPendingReply<int> written = m_networkManager->setConfigJSON(document.toJsonString());
    written.waitForFinished();
    QVERIFY2(written.isValid(), qPrintable(written.error().message()));
    QCOMPARE(written.value(), 0);
    QDBusPendingReply<int> applied = m_networkManager->applyNewConfiguration();
    applied.waitForFinished();
    QVERIFY2(applied.isValid(), qPrintable(applied.error().message()));

    NetworkManagerConfig again = read();
    QCOMPARE(again.interfaces.value(latin1("eth0")).actualIpAddress, latin1("192.168.10.77"));
    // All but what the service reports is as it was written; and what is written has no "std".
    document.bridge.bridges[latin1("br1")].stp = true;
    document.interfaces[latin1("eth0")].actualIpAddress = latin1("192.168.10.77");
    QCOMPARE(again.toJsonString(), document.toJsonString());
}

QTEST_GUILESS_MAIN(NetworkDocumentTest)

#include "networkdocumenttest.moc"
