#ifndef BRIDGECONFIG_H
#define BRIDGECONFIG_H

#include <json/elements.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

// One network bridge. A plain value.
struct BridgeEntry {
    // A new bridge: no name, no members, the platform service's defaults for the rest.
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
    // A new section: not enabled, nothing in it.
    BridgeConfig();

    // All members are always written; the bridges in the order of their names.
    json::Object toJson() const;
    QString toJsonString() const;

    // Adds to the section what the object has; keys that are absent leave their fields as they were. A bridge
    // without a name is skipped with a warning, and so is one whose name the section has already; one
    // without members gets a warning and is kept. Always true. A value of another JSON type ends in
    // json::Exception ("Bad cast"); what was read before it stays.
    // A bridge's spanning tree is written as "stp" and read from "std", on purpose: in a section that was
    // written here and is read again it is on.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; the section is
    // then as it was.
    bool fromJsonString(const QString &text);

    bool enabled;
    QStringList interfaces;             // in the document's order
    QMap<QString, BridgeEntry> bridges; // by name

private:
    void addBridge(const json::Object &object);
};

#endif // BRIDGECONFIG_H
