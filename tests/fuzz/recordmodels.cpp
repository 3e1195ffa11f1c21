#include "recordmodels.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <tuple>

namespace
{

const std::string &textOf(const json::UnknownElement &element)
{
    return static_cast<const json::String &>(element).Value();
}

// Continues an expectation, for a record inside another.
void expectInterface(const json::Object &object, ExpectedReading &expected)
{
    const json::UnknownElement *name = expected.member(object, "name", JsonKind::String);
    if (expected.mistyped)
        return;
    if (name == nullptr || textOf(*name).empty()) {
        expected.refuse();
        return;
    }
    for (const char *key : {"label", "ip_address", "actual_ip_address", "netmask", "actual_netmask",
                            "gateway_ip", "actual_gateway_ip", "mac_address"})
        expected.member(object, key, JsonKind::String);
    for (const char *key : {"metric", "actual_metric"})
        expected.member(object, key, JsonKind::Number);
    for (const char *key : {"dhcp", "readonly", "virtual", "hidden", "configured"})
        expected.member(object, key, JsonKind::Boolean);
}

void expectDns(const json::Object &object, ExpectedReading &expected)
{
    // The elements of the lists may be of any kind.
    expected.member(object, "servers", JsonKind::Array);
    expected.member(object, "search", JsonKind::Array);
}

void expectBridge(const json::Object &object, std::set<std::string> &names, ExpectedReading &expected)
{
    if (!has(object, "name")) {
        ++expected.warnings;
        return;
    }
    const json::UnknownElement *name = expected.member(object, "name", JsonKind::String);
    if (!name)
        return;
    if (!has(object, "interfaces"))
        ++expected.warnings;
    expected.texts(object, "interfaces");
    if (expected.isOver())
        return;
    if (!names.insert(textOf(*name)).second) {
        ++expected.warnings;
        return;
    }
    expected.member(object, "std", JsonKind::Boolean);
    expected.member(object, "fd", JsonKind::Number);
    expected.member(object, "udhcpc_opts", JsonKind::String);
}

void expectBridges(const json::Object &object, ExpectedReading &expected)
{
    expected.member(object, "enabled", JsonKind::Boolean);
    expected.texts(object, "interfaces");
    const json::UnknownElement *list = expected.member(object, "list", JsonKind::Array);
    if (!list)
        return;
    std::set<std::string> names;
    for (const json::UnknownElement &bridge : static_cast<const json::Array &>(*list)) {
        if (expected.isOver() || !expected.checked(bridge, JsonKind::Object))
            return;
        expectBridge(bridge, names, expected);
    }
}

void expectInterfaces(const json::Array &interfaces, ExpectedReading &expected)
{
    std::set<std::string> names;
    for (const json::UnknownElement &element : interfaces) {
        // A value that is no object counts as an empty one.
        const json::Object object =
            kindOf(element) == JsonKind::Object ? static_cast<const json::Object &>(element) : json::Object();
        expectInterface(object, expected);
        if (expected.isOver())
            return;
        if (!names.insert(textOf(object["name"])).second) {
            expected.refuse();
            return;
        }
    }
}

QString qtText(const json::UnknownElement &element)
{
    const std::string &text = textOf(element);
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

QString textIn(const json::Object &object, const char *key, const char *otherwise = "")
{
    return has(object, key) ? qtText(object[key]) : QString::fromLatin1(otherwise);
}

bool flagIn(const json::Object &object, const char *key, bool otherwise)
{
    return has(object, key) ? static_cast<const json::Boolean &>(object[key]).Value() : otherwise;
}

// Rounded toward zero and limited to 32 bits.
qint32 integerIn(const json::Object &object, const char *key, qint32 otherwise)
{
    if (!has(object, key))
        return otherwise;
    const double number = std::trunc(static_cast<const json::Number &>(object[key]).Value());
    return static_cast<qint32>(std::max(-2147483648.0, std::min(2147483647.0, number)));
}

QStringList textsIn(const json::Object &object, const char *key)
{
    QStringList texts;
    if (has(object, key)) {
        for (const json::UnknownElement &text : static_cast<const json::Array &>(object[key]))
            texts << qtText(text);
    }
    return texts;
}

// The texts called key of a list's objects; empty where there is none.
QStringList namedTextsIn(const json::Object &object, const char *list, const char *key)
{
    QStringList texts;
    if (!has(object, list))
        return texts;
    for (const json::UnknownElement &element : static_cast<const json::Array &>(object[list])) {
        const bool found = kindOf(element) == JsonKind::Object && has(element, key) &&
                           kindOf(element[key]) == JsonKind::String;
        texts << (found ? qtText(element[key]) : QString());
    }
    return texts;
}

bool holds(const BridgeEntry &bridge, const json::Object &object)
{
    return bridge.name == textIn(object, "name") && bridge.interfaces == textsIn(object, "interfaces") &&
           bridge.stp == flagIn(object, "std", true) && bridge.fd == integerIn(object, "fd", 5) &&
           bridge.udhcpcOpts == textIn(object, "udhcpc_opts", "-t 30 -T 35");
}

auto valuesOf(const NetworkInterfaceConfig &record)
{
    return std::tie(record.name, record.label, record.readonly, record.dhcp, record.metric,
                    record.actualMetric, record.netmask, record.actualNetmask, record.macAddress,
                    record.ipAddress, record.actualIpAddress, record.gatewayIp, record.actualGatewayIp,
                    record.isVirtual, record.hidden, record.configured);
}

auto valuesOf(const BridgeEntry &bridge)
{
    return std::tie(bridge.name, bridge.interfaces, bridge.stp, bridge.fd, bridge.udhcpcOpts);
}

bool isSame(const BridgeEntry &one, const BridgeEntry &other)
{
    return valuesOf(one) == valuesOf(other);
}

// Of two maps by name.
template <class Map>
bool isSameMap(const Map &one, const Map &other)
{
    if (one.keys() != other.keys())
        return false;
    for (const QString &name : one.keys()) {
        REQUIRE(one.value(name).name == name);
        if (!isSame(one.value(name), other.value(name)))
            return false;
    }
    return true;
}

} // namespace

ExpectedReading expectedReading(const json::Object &object, const NetworkInterfaceConfig *)
{
    ExpectedReading expected;
    expectInterface(object, expected);
    return expected;
}

ExpectedReading expectedReading(const json::Object &object, const DnsConfig *)
{
    ExpectedReading expected;
    expectDns(object, expected);
    return expected;
}

ExpectedReading expectedReading(const json::Object &object, const BridgeConfig *)
{
    ExpectedReading expected;
    expectBridges(object, expected);
    return expected;
}

ExpectedReading expectedReading(const json::Object &object, const NetworkManagerConfig *)
{
    ExpectedReading expected;
    if (!has(object, "version")) {
        expected.refuse();
        return expected;
    }
    expected.member(object, "version", JsonKind::Number);
    expected.member(object, "hostname", JsonKind::String);
    if (const json::UnknownElement *dns = expected.member(object, "dns", JsonKind::Object))
        expectDns(*dns, expected);
    if (const json::UnknownElement *bridge = expected.member(object, "bridge", JsonKind::Object))
        expectBridges(*bridge, expected);
    if (const json::UnknownElement *interfaces = expected.member(object, "interfaces", JsonKind::Array))
        expectInterfaces(*interfaces, expected);
    return expected;
}

bool holds(const NetworkInterfaceConfig &record, const json::Object &object)
{
    return record.name == textIn(object, "name") && record.label == textIn(object, "label") &&
           record.readonly == flagIn(object, "readonly", true) &&
           record.dhcp == flagIn(object, "dhcp", false) && record.metric == integerIn(object, "metric", 0) &&
           record.actualMetric == integerIn(object, "actual_metric", 0) &&
           record.netmask == textIn(object, "netmask") &&
           record.actualNetmask == textIn(object, "actual_netmask") &&
           record.macAddress == textIn(object, "mac_address") &&
           record.ipAddress == textIn(object, "ip_address") &&
           record.actualIpAddress == textIn(object, "actual_ip_address") &&
           record.gatewayIp == textIn(object, "gateway_ip") &&
           record.actualGatewayIp == textIn(object, "actual_gateway_ip") &&
           record.isVirtual == flagIn(object, "virtual", true) &&
           record.hidden == flagIn(object, "hidden", true) &&
           record.configured == flagIn(object, "configured", false);
}

bool holds(const DnsConfig &record, const json::Object &object)
{
    return record.servers == namedTextsIn(object, "servers", "ip") &&
           record.search == namedTextsIn(object, "search", "name");
}

bool holds(const BridgeConfig &record, const json::Object &object)
{
    std::set<QString> names;
    if (has(object, "list")) {
        for (const json::UnknownElement &bridge : static_cast<const json::Array &>(object["list"])) {
            const json::Object &bridgeObject = bridge;
            // The first bridge of a name counts.
            if (has(bridgeObject, "name") && names.insert(textIn(bridgeObject, "name")).second &&
                !holds(record.bridges.value(textIn(bridgeObject, "name")), bridgeObject))
                return false;
        }
    }
    return static_cast<std::size_t>(record.bridges.size()) == names.size() &&
           record.enabled == flagIn(object, "enabled", false) &&
           record.interfaces == textsIn(object, "interfaces");
}

bool holds(const NetworkManagerConfig &record, const json::Object &object)
{
    const json::Array none;
    const json::Array &interfaces =
        has(object, "interfaces") ? static_cast<const json::Array &>(object["interfaces"]) : none;
    for (const json::UnknownElement &element : interfaces) {
        if (!holds(record.interfaces.value(textIn(element, "name")), element))
            return false;
    }
    const json::Object empty;
    const auto section = [&](const char *key) -> const json::Object & {
        return has(object, key) ? static_cast<const json::Object &>(object[key]) : empty;
    };
    return static_cast<std::size_t>(record.interfaces.size()) == interfaces.Size() &&
           record.version == integerIn(object, "version", 0) &&
           record.hostname == textIn(object, "hostname") && holds(record.dns, section("dns")) &&
           holds(record.bridge, section("bridge"));
}

bool isSame(const NetworkInterfaceConfig &one, const NetworkInterfaceConfig &other)
{
    return valuesOf(one) == valuesOf(other);
}

bool isSame(const DnsConfig &one, const DnsConfig &other)
{
    return one.servers == other.servers && one.search == other.search;
}

bool isSame(const BridgeConfig &one, const BridgeConfig &other)
{
    return one.enabled == other.enabled && one.interfaces == other.interfaces &&
           isSameMap(one.bridges, other.bridges);
}

bool isSame(const NetworkManagerConfig &one, const NetworkManagerConfig &other)
{
    return one.version == other.version && one.hostname == other.hostname && isSame(one.dns, other.dns) &&
           isSame(one.bridge, other.bridge) && isSameMap(one.interfaces, other.interfaces);
}

NetworkInterfaceConfig rewritten(const NetworkInterfaceConfig &record)
{
    return record.name.isEmpty() ? NetworkInterfaceConfig() : record;
}

DnsConfig rewritten(const DnsConfig &record)
{
    return record;
}

BridgeConfig rewritten(const BridgeConfig &record)
{
    BridgeConfig left = record;
    for (BridgeEntry &bridge : left.bridges)
        bridge.stp = true;
    return left;
}

NetworkManagerConfig rewritten(const NetworkManagerConfig &record)
{
    NetworkManagerConfig left = record;
    left.bridge = rewritten(record.bridge);
    return left;
}
