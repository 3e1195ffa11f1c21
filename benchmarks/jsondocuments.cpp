#include "jsondocuments.h"

#include <json/writer.h>

#include <sstream>

using json::Array;
using json::Boolean;
using json::Number;
using json::Object;
using json::String;

namespace
{

std::string text(const Object &object)
{
    std::ostringstream stream;
    json::Writer::Write(object, stream);
    return stream.str();
}

Object networkInterface(int index)
{
    const std::string number = std::to_string(index);
    Object object;
    object["name"] = String("eth" + number);
    object["label"] = String("Plant network " + number);
    object["mac_address"] = String("00:1a:2b:3c:4d:5e");
    object["ip_address"] = String("192.168." + number + ".10");
    object["netmask"] = String("255.255.255.0");
    object["gateway_ip"] = String("192.168." + number + ".254");
    object["metric"] = Number(10 + index);
    object["dhcp"] = Boolean(false);
    object["configured"] = Boolean(true);
    object["readonly"] = Boolean(false);
    object["virtual"] = Boolean(false);
    object["hidden"] = Boolean(false);
    object["actual_netmask"] = String("255.255.255.0");
    object["actual_ip_address"] = String("192.168." + number + ".10");
    object["actual_gateway_ip"] = String("192.168." + number + ".254");
    object["actual_metric"] = Number(10 + index);
    return object;
}

Object bridge()
{
    Object object;
    object["name"] = String("br0");
    object["interfaces"][0] = String("eth0");
    object["interfaces"][1] = String("eth1");
    object["stp"] = Boolean(true);
    object["fd"] = Number(5);
    object["udhcpc_opts"] = String("-t 30 -T 35");
    return object;
}

} // namespace

std::string interfaceText()
{
    return text(networkInterface(0));
}

std::string documentText(int interfaces)
{
    Object document;
    document["version"] = Number(1);
    document["hostname"] = String("panel-hall-3");
    document["dns"]["servers"][0]["ip"] = String("192.168.0.2");
    document["dns"]["servers"][1]["ip"] = String("192.168.0.3");
    document["dns"]["search"][0]["name"] = String("plant.example");
    document["bridge"]["enabled"] = Boolean(true);
    document["bridge"]["interfaces"][0] = String("br0");
    document["bridge"]["list"][0] = bridge();
    Array &list = document["interfaces"];
    for (int i = 0; i < interfaces; ++i)
        list.Insert(networkInterface(i));
    return text(document);
}
