#ifndef NETWORKINTERFACECONFIG_H
#define NETWORKINTERFACECONFIG_H

#include <json/elements.h>

#include <QtCore/QString>
#include <QtCore/QtGlobal>

// One network interface as the platform service's network manager describes it in JSON. A plain value; one
// thread at a time. Addresses are kept as the service writes them and never looked at. The plain fields are
// what a client sets, the "actual" ones what the service reports as in force; a client sends these back
// unchanged.
class NetworkInterfaceConfig
{
public:
    // A new record: no name, read-only, virtual and hidden, neither DHCP nor configured.
    NetworkInterfaceConfig();

    // The record as a JSON object. Empty texts and metrics of 0 are left out, so that a key that was absent
    // on reading stays absent.
    json::Object toJson() const;
    QString toJsonString() const;

    // Fills the record from an object; keys that are absent leave their fields as they were, unknown keys are
    // ignored. False, with a warning and the record unchanged, when the name is missing or empty. A
    // known key with a value of another JSON type ends in json::Exception ("Bad cast"); what was
    // stored before it stays.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; true otherwise,
    // also when the object was then refused for its name.
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
