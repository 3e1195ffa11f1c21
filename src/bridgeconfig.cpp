#include "bridgeconfig.h"

#include "jsonfields.h"

#include <QtCore/QDebug>

namespace
{

const char EnabledKey[] = "enabled";
const char InterfacesKey[] = "interfaces"; // of the section and of each bridge
const char ListKey[] = "list";
const char NameKey[] = "name";
const char StpWrittenKey[] = "stp";
const char StpReadKey[] = "std"; // not what is written, on purpose
const char FdKey[] = "fd";
const char UdhcpcOptsKey[] = "udhcpc_opts";

const char DefaultUdhcpcOpts[] = "-t 30 -T 35";
const qint32 DefaultForwardingDelay = 5;

// The blanks at the ends are part of the texts.
const JsonReadWarnings ReadWarnings = {
    "Trying to parse empty bridge json!",
    "Parse error in bridge service json",
    "Scan error in bridge service json ",
    "Unknown bridge service json error ",
};

json::Object toJsonObject(const BridgeEntry &bridge)
{
    json::Object object;
    addText(object, NameKey, bridge.name);
    addTexts(object, InterfacesKey, bridge.interfaces);
    addFlag(object, StpWrittenKey, bridge.stp);
    addInteger(object, FdKey, bridge.fd);
    addText(object, UdhcpcOptsKey, bridge.udhcpcOpts);
    return object;
}

} // namespace

BridgeEntry::BridgeEntry()
    : stp(true)
    , fd(DefaultForwardingDelay)
    , udhcpcOpts(QLatin1String(DefaultUdhcpcOpts))
{
}

BridgeConfig::BridgeConfig()
    : enabled(false)
{
}

json::Object BridgeConfig::toJson() const
{
    json::Array list;
    for (QMap<QString, BridgeEntry>::const_iterator bridge = bridges.constBegin();
         bridge != bridges.constEnd(); ++bridge)
        list.Insert(toJsonObject(bridge.value()));

    json::Object object;
    addFlag(object, EnabledKey, enabled);
    addTexts(object, InterfacesKey, interfaces);
    object.Insert(json::Object::Member(ListKey, list));
    return object;
}

bool BridgeConfig::fromJson(const json::Object &object)
{
    readFlag(object, EnabledKey, enabled);
    readTexts(object, InterfacesKey, interfaces);
    const json::Object::const_iterator listMember = object.Find(ListKey);
    if (listMember == object.End())
        return true;
    const json::Array &list = listMember->element;
    for (json::Array::const_iterator element = list.Begin(); element != list.End(); ++element)
        addBridge(*element);
    return true;
}

void BridgeConfig::addBridge(const json::Object &object)
{
    if (object.Find(NameKey) == object.End()) {
        qWarning() << "Missing bridge name in json";
        return;
    }
    BridgeEntry bridge;
    readText(object, NameKey, bridge.name);
    if (object.Find(InterfacesKey) == object.End())
        qWarning() << "Missing bridge interfaces list in json from bridge " << bridge.name;
    readTexts(object, InterfacesKey, bridge.interfaces);
    if (bridges.contains(bridge.name)) {
        qWarning() << "Bridge " << bridge.name << " aready inserted";
        return;
    }
    readFlag(object, StpReadKey, bridge.stp);
    readInteger(object, FdKey, bridge.fd);
    readText(object, UdhcpcOptsKey, bridge.udhcpcOpts);
    bridges.insert(bridge.name, bridge);
}

QString BridgeConfig::toJsonString() const
{
    return writeJsonObject(toJson());
}

bool BridgeConfig::fromJsonString(const QString &text)
{
    return readRecord(text, ReadWarnings, *this);
}
