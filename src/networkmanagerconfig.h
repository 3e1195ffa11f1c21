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
// one thread at a time. A document is read into once; reading again needs a new one.
class NetworkManagerConfig
{
public:
    // A new document has version 0 and is empty.
    NetworkManagerConfig();

    // All five members are always written; the interfaces in the order of their names.
    json::Object toJson() const;
    QString toJsonString() const;

    // Fills the document. False, with a warning, in these cases:
    // - "version" is missing (all else may be),
    // - this document has a version other than 0 already,
    // - an interface has no name, or a name that the document has already; an element of "interfaces" that is
    //   no object counts as an interface without a name.
    // Any other value of another JSON type throws json::Exception ("Bad cast"). In all these cases what was
    // read before stays, interfaces included.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; else true, also
    // when fromJson returned false.
    bool fromJsonString(const QString &text);

    qint32 version; // of the document's form; not checked
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
