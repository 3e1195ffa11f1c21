#ifndef BRIDGECONFIG_H
#define BRIDGECONFIG_H

#include <json/elements.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

// One network bridge. A plain value.
struct BridgeEntry {
    // A new bridge has no name and no members; the rest are the platform service's defaults.
    BridgeEntry();

    QString name;
    QStringList interfaces; // its members, in the document's order
    bool stp;               // spanning tree protocol
    qint32 fd;              // forwarding delay, in seconds
    QString udhcpcOpts;     // options of the DHCP client when the bridge takes its address by DHCP
};

// The "bridge" section of the network manager's document. A plain value; one thread at a time.
class BridgeConfig
{
public:
    // A new section is empty and not enabled.
    BridgeConfig();

    // All members are always written; the bridges in the order of their names.
    json::Object toJson() const;
    QString toJsonString() const;

    // Adds what the object has to the section. Fields whose keys are absent stay as they were. A bridge
    // without a name, or with a name that the section has already, is left out with a warning. A bridge
    // without members is kept, with a warning. Always true. A value of another JSON type throws
    // json::Exception ("Bad cast"); what was read before it stays. The spanning tree is written as "stp" and
    // read from "std", on purpose. It is on where "std" is absent, and therefore in each section that was
    // written here and is read again.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning and the section unchanged, when the text is empty or no JSON
    // object.
    bool fromJsonString(const QString &text);

    bool enabled;
    QStringList interfaces;             // in the document's order
    QMap<QString, BridgeEntry> bridges; // by name

private:
    void addBridge(const json::Object &object);
};

#endif // BRIDGECONFIG_H
