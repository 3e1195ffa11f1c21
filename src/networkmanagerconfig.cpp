#include "networkmanagerconfig.h"

#include "jsonfields.h"

#include <QtCore/QDebug>

namespace
{

const char VersionKey[] = "version";
const char HostnameKey[] = "hostname";
const char DnsKey[] = "dns";
const char BridgeKey[] = "bridge";
const char InterfacesKey[] = "interfaces";

// The blanks at the ends are part of the texts.
const JsonReadWarnings ReadWarnings = {
    "Trying to parse empty network configuration json!",
    "Parse error in network manager json",
    "Scan error in network manager json ",
    "Unknown network manager json error ",
};

} // namespace

NetworkManagerConfig::NetworkManagerConfig()
    : version(0)
{
}

json::Object NetworkManagerConfig::toJson() const
{
    json::Array array;
    for (QMap<QString, NetworkInterfaceConfig>::const_iterator interface = interfaces.constBegin();
         interface != interfaces.constEnd(); ++interface)
        array.Insert(interface.value().toJson());

    json::Object object;
    addInteger(object, VersionKey, version);
    addText(object, HostnameKey, hostname);
    object.Insert(json::Object::Member(DnsKey, dns.toJson()));
    object.Insert(json::Object::Member(BridgeKey, bridge.toJson()));
    object.Insert(json::Object::Member(InterfacesKey, array));
    return object;
}

bool NetworkManagerConfig::fromJson(const json::Object &object)
{
    if (!readVersion(object))
        return false;
    readText(object, HostnameKey, hostname);
    return readDns(object) && readBridge(object) && readInterfaces(object);
}

bool NetworkManagerConfig::readVersion(const json::Object &object)
{
    if (object.Find(VersionKey) == object.End()) {
        qWarning() << "Missing required field version, abort network configuration parsing";
        return false;
    }
    qint32 number = 0;
    readInteger(object, VersionKey, number);
    if (version != 0) {
        qWarning() << "Unsupported network manager version " << number;
        return false;
    }
    version = number;
    return true;
}

bool NetworkManagerConfig::readDns(const json::Object &object)
{
    const json::Object::const_iterator member = object.Find(DnsKey);
    return member == object.End() || dns.fromJson(member->element);
}

// Reads into a new section, which replaces the present one when it is complete.
bool NetworkManagerConfig::readBridge(const json::Object &object)
{
    const json::Object::const_iterator member = object.Find(BridgeKey);
    if (member == object.End())
        return true;
    BridgeConfig section;
    const bool read = section.fromJson(member->element);
    if (read)
        bridge = section;
    return read;
}

bool NetworkManagerConfig::readInterfaces(const json::Object &object)
{
    const json::Object::const_iterator member = object.Find(InterfacesKey);
    if (member == object.End())
        return true;
    // A copy, because the cast below replaces an element that is no object by an empty one.
    json::Array array = member->element;
    for (json::Array::iterator element = array.Begin(); element != array.End(); ++element) {
        if (!addInterface(static_cast<json::Object &>(*element)))
            return false;
    }
    return true;
}

bool NetworkManagerConfig::addInterface(const json::Object &object)
{
    NetworkInterfaceConfig interface;
    if (!interface.fromJson(object))
        return false;
    if (interfaces.contains(interface.name)) {
        qWarning() << "Interface " << interface.name << " already defined";
        return false;
    }
    interfaces.insert(interface.name, interface);
    return true;
}

QString NetworkManagerConfig::toJsonString() const
{
    return writeJsonObject(toJson());
}

bool NetworkManagerConfig::fromJsonString(const QString &text)
{
    return readRecord(text, ReadWarnings, *this);
}
