#ifndef HWSDPLATFORM_H
#define HWSDPLATFORM_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <atomic>
#include <memory>

class NetworkInterfaceConfig;
struct HwsdLink;

namespace json
{
class Exception;
} // namespace json

// The process-wide facade over the platform service: network state of one interface, the actions on the
// device, and the device's identity. Each group of operations has a source file of its own, named below.
//
// IPv4 values are numbers whose most significant byte is the first dotted octet.
//
// Operations that talk to the service connect to it when that has not been done yet (each for up to 40 s,
// with a service that hangs) and return false, 0 or an empty text when it cannot be reached. Each call then
// blocks until the service answers, or for D-Bus's own time-out.
//
// Threads: the server thread uses everything. The GUI thread may at any time call instance(),
// ipAddressString() and systemInfoText(); what these read is an atomic number or is published complete
// through an atomic pointer and never changed afterwards, so there is no lock.
class HWSDPlatform : public QObject
{
    Q_OBJECT
public:
    // --- The one facade and its connection: hwsdplatform.cpp

    // Made on first use.
    static HWSDPlatform *instance();
    // Afterwards instance() makes a new one. The link to the service stays open: it belongs to the process.
    ~HWSDPlatform();

    // --- Network: hwsdplatformnetwork.cpp

    // Chooses the interface that the network operations are about; "" stands for "eth0". Refreshes
    // nothing. Always true.
    bool setInterface(const char *name);

    // The cached network state, as of the last refresh or setter; all zero before the first.
    bool macAddress(unsigned char out[6]) const; // always true
    quint32 ipAddress() const { return m_ipAddress; }
    quint32 netmask() const { return m_netmask; }
    quint32 gateway() const { return m_gateway; }
    QString ipAddressString() const; // dotted quad

    // Stage a static setting for the next applyConfiguration(), which turns DHCP off. Always true.
    bool setIpAddress(quint32 address);
    bool setNetmask(quint32 netmask);
    bool setGateway(quint32 gateway);

    // Reads the interface's settings in force into the cache. False only when there is no bus: when the
    // service refuses, or answers with a value of a wrong type (a warning, once), the cache stays as it was.
    // An answer that is no JSON object, or one without a name, counts as an empty record: address, netmask,
    // gateway and the first byte of the MAC address become 0, DHCP is off.
    bool refreshNetworkState();

    // Writes the staged settings and has the service put them into force, without waiting to see it happen.
    // False when the interface's record cannot be read, and nothing is sent then; a refused write is true all
    // the same, because the protocol's "not applied" speaks of the reading alone. A record that reads as
    // empty (see above) is filled with the settings and sent like any other.
    bool applyConfiguration();

    // --- Actions on the device: hwsdplatformactions.cpp

    // Puts the factory's network configuration into force; true when the service agreed. The cache stays.
    bool resetConfiguration();

    // Asks for a restart of the device without waiting for the answer; false when nobody can be asked. A
    // service that was not up yet when the link was made is looked for again.
    bool restartSystem();

    // --- Identity: hwsdplatformidentity.cpp

    // The version of the operating system's partition; 0 while it is unknown, and then asked for again by the
    // next call. The four numbers of a text that ends in "WWXXXYYZ" stand in bytes 3 to 0; XXX above 255
    // reaches into the byte of WW.
    quint32 partitionVersion();

    // The maker's names of models, by manufacture code, from the factory settings file; read anew each time.
    void deviceName(QHash<int, QString> &names) const;

    // What this panel is, as text: found out once, then the same for the life of the process. systemInfo()
    // copies it as Latin-1 to the start of the caller's 64 bytes, cut to fit and not terminated, and always
    // returns true.
    bool systemInfo(char *out);
    QString systemInfoText();

private:
    HWSDPlatform();

    // True when a link to the service is held afterwards.
    bool connectToPlatform();
    // The link, connecting first if need be; null when that fails.
    HwsdLink *link();

    enum class RecordReading { Done, Refused, Mistyped };
    // The interface's record as the service has it. A text that is no JSON object gives an empty record.
    RecordReading readInterfaceRecord(const HwsdLink &service, NetworkInterfaceConfig &record);
    // The record in a text. The same text comes with nearly every datagram, and is then not parsed again.
    const NetworkInterfaceConfig &recordFromText(const QString &text);
    // Once for each message and interface until a reading goes well: the record is read with every datagram.
    void warnOfMistypedRecord(const json::Exception &error);
    void cacheMacAddress(const QString &text);

    // The description, finding it out first if need be; null while the service cannot be reached.
    const QString *systemDescription();
    QString findSystemDescription(const HwsdLink &service) const;

    std::atomic<HwsdLink *> m_link;
    std::atomic<const QString *> m_systemDescription; // owned; null: not known yet
    std::atomic<quint32> m_ipAddress;

    // The server thread's own.
    quint32 m_partitionVersion; // 0: not known yet
    unsigned char m_macAddress[6];
    quint32 m_netmask;
    quint32 m_gateway;
    QString m_interfaceName;
    bool m_dhcp;
    // The last record without a warning, and its text; an empty text stands for none.
    std::unique_ptr<const NetworkInterfaceConfig> m_record;
    QString m_recordText;
    // By interface, what was last warned of; not since a reading that went well.
    QHash<QString, QByteArray> m_toldMistyped;
};

#endif // HWSDPLATFORM_H
