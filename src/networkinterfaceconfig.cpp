#include "networkinterfaceconfig.h"

#include "jsonfields.h"

#include <QtCore/QDebug>

namespace
{

const char NameKey[] = "name";
const char LabelKey[] = "label";
const char MacAddressKey[] = "mac_address";
const char IpAddressKey[] = "ip_address";
const char NetmaskKey[] = "netmask";
const char GatewayIpKey[] = "gateway_ip";
const char MetricKey[] = "metric";
const char DhcpKey[] = "dhcp";
const char ConfiguredKey[] = "configured";
const char ReadonlyKey[] = "readonly";
const char VirtualKey[] = "virtual";
const char HiddenKey[] = "hidden";
const char ActualNetmaskKey[] = "actual_netmask";
const char ActualIpAddressKey[] = "actual_ip_address";
const char ActualGatewayIpKey[] = "actual_gateway_ip";
const char ActualMetricKey[] = "actual_metric";

// The blanks at the ends are part of the texts.
const JsonReadWarnings ReadWarnings = {
    "Trying to parse empty network interface json!",
    "Parse error in network interface json",
    "Scan error in network interface json ",
    "Unknown network interface json error ",
};

void addTextUnlessEmpty(json::Object &object, const char *key, const QString &value)
{
    if (!value.isEmpty())
        addText(object, key, value);
}

void addIntegerUnlessZero(json::Object &object, const char *key, qint32 value)
{
    if (value != 0)
        addInteger(object, key, value);
}

} // namespace

NetworkInterfaceConfig::NetworkInterfaceConfig()
    : readonly(true)
    , dhcp(false)
    , metric(0)
    , actualMetric(0)
    , isVirtual(true)
    , hidden(true)
    , configured(false)
{
}

json::Object NetworkInterfaceConfig::toJson() const
{
    json::Object object;
    addText(object, NameKey, name);
    addTextUnlessEmpty(object, LabelKey, label);
    addTextUnlessEmpty(object, MacAddressKey, macAddress);
    addTextUnlessEmpty(object, IpAddressKey, ipAddress);
    addTextUnlessEmpty(object, NetmaskKey, netmask);
    addTextUnlessEmpty(object, GatewayIpKey, gatewayIp);
    addIntegerUnlessZero(object, MetricKey, metric);
    addFlag(object, DhcpKey, dhcp);
    addFlag(object, ConfiguredKey, configured);
    addFlag(object, ReadonlyKey, readonly);
    addFlag(object, VirtualKey, isVirtual);
    addFlag(object, HiddenKey, hidden);
    addTextUnlessEmpty(object, ActualNetmaskKey, actualNetmask);
    addTextUnlessEmpty(object, ActualIpAddressKey, actualIpAddress);
    addTextUnlessEmpty(object, ActualGatewayIpKey, actualGatewayIp);
    addIntegerUnlessZero(object, ActualMetricKey, actualMetric);
    return object;
}

bool NetworkInterfaceConfig::fromJson(const json::Object &object)
{
    const json::Object::const_iterator nameMember = object.Find(NameKey);
    if (nameMember == object.End()) {
        qWarning() << "Cannot find interface name in json";
        return false;
    }
    const json::String &nameText = nameMember->element;
    if (nameText.Value().empty()) {
        qWarning() << "Empty interface name in json";
        return false;
    }
    name = fromJsonText(nameText.Value());
    readText(object, LabelKey, label);
    readText(object, IpAddressKey, ipAddress);
    readText(object, ActualIpAddressKey, actualIpAddress);
    readText(object, NetmaskKey, netmask);
    readText(object, ActualNetmaskKey, actualNetmask);
    readText(object, GatewayIpKey, gatewayIp);
    readText(object, ActualGatewayIpKey, actualGatewayIp);
    readInteger(object, MetricKey, metric);
    readInteger(object, ActualMetricKey, actualMetric);
    readFlag(object, DhcpKey, dhcp);
    readFlag(object, ReadonlyKey, readonly);
    readFlag(object, VirtualKey, isVirtual);
    readFlag(object, HiddenKey, hidden);
    readFlag(object, ConfiguredKey, configured);
    readText(object, MacAddressKey, macAddress);
    return true;
}

QString NetworkInterfaceConfig::toJsonString() const
{
    return writeJsonObject(toJson());
}

bool NetworkInterfaceConfig::fromJsonString(const QString &text)
{
    return readRecord(text, ReadWarnings, *this);
}
