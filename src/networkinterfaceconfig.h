#ifndef NETWORKINTERFACECONFIG_H
#define NETWORKINTERFACECONFIG_H

#include <json/elements.h>

#include <QtCore/QString>
#include <QtCore/QtGlobal>

// One network interface as the platform service's network manager describes it in JSON. A plain value; one
// thread at a time. Addresses are kept as the platform service writes them and are not checked. A client sets
// the plain fields. The "actual" fields report what is in force; a client sends them back unchanged.
class NetworkInterfaceConfig
{
public:
    // A new record has no name, is read-only, virtual and hidden, and neither uses DHCP nor is configured.
    NetworkInterfaceConfig();

    // The record as a JSON object. Empty texts and metrics of 0 are left out, so that a key that was absent
    // on reading stays absent.
    json::Object toJson() const;
    QString toJsonString() const;

    // Fills the record from an object. Fields whose keys are absent stay as they were; unknown keys are
    // ignored. False, with a warning and the record unchanged, when the name is missing or empty. A known key
    // with a value of another JSON type throws json::Exception ("Bad cast"); what was read before it stays.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; else true, also
    // when fromJson returned false.
    bool fromJsonString(const QString &text);

    QString name; // such as "eth0"; the record's identity
    QString label;
    bool readonly; // not to be changed by the user
    bool dhcp;
    qint32 metric;
    qint32 actualMetric;
    QString netmask;
    QString actualNetmask;
    QString macAddress;
    QString ipAddress;
    QString actualIpAddress;
    QString gatewayIp;
    QString actualGatewayIp;
    bool isVirtual;
    bool hidden;     // not to be shown to the user
    bool configured; // the service has a stored configuration
};

#endif // NETWORKINTERFACECONFIG_H
