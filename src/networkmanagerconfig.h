#ifndef NETWORKMANAGERCONFIG_H
#define NETWORKMANAGERCONFIG_H

#include "bridgeconfig.h"
#include "dnsconfig.h"
#include "networkinterfaceconfig.h"

#include <json/elements.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

// The network manager's whole document, as getConfigJSON gives it and setConfigJSON takes it. A plain value;
// one thread at a time. It is filled once: to read again, start from a new one.
class NetworkManagerConfig
{
public:
    // A new document: version 0, everything empty.
    NetworkManagerConfig();

    // All five members are always written; the interfaces in the order of their names.
    json::Object toJson() const;
    QString toJsonString() const;

    // Fills the document; only "version" is required. False, with a warning, when it is missing, when this
    // document has a version other than 0 already, when an interface has no name, or one that the document
    // has already; what was read before stays, interfaces included. What is no object among the interfaces
    // counts as one without a name. Another value of another JSON type ends in json::Exception ("Bad cast"),
    // and what was read before it stays.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; true otherwise,
    // also when fromJson then refused the object.
    bool fromJsonString(const QString &text);

    qint32 version; // of the document's form; any number will do
    QString hostname;
    DnsConfig dns;
    BridgeConfig bridge;
    QMap<QString, NetworkInterfaceConfig> interfaces; // by name

private:
    bool readVersion(const json::Object &object);
    bool readDns(const json::Object &object);
    bool readBridge(const json::Object &object);
    bool readInterfaces(const json::Object &object);
    bool addInterface(const json::Object &object);
};

#endif // NETWORKMANAGERCONFIG_H
