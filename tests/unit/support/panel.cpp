#include "panel.h"

const char PanelVersionCall[] = "/MainOSInfo com.zelt.HWSD.PartitionInfo.info()";
const char PanelRecordCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:eth0)";
const char PanelModelCall[] = "/SystemInfo com.zelt.HWSD.SystemInfo.manufactureCode()";

QString panelRecord()
{
    return QStringLiteral("{\"name\":\"eth0\",\"mac_address\":\"00:1A:2B:3C:4D:5E\",\"dhcp\":true,"
                          "\"ip_address\":\"10.9.9.9\",\"netmask\":\"255.0.0.0\",\"gateway_ip\":\"10.9.9.1\","
                          "\"actual_ip_address\":\"192.168.0.1\",\"actual_netmask\":\"255.255.255.0\","
                          "\"actual_gateway_ip\":\"192.168.0.254\"}");
}

void answerAsPanel(FakeService &service)
{
    service.answer(QStringLiteral("getInterfaceConfig"), {panelRecord()});
    service.answer(QStringLiteral("setInterfaceConfigJSON"), {0});
    service.answer(QStringLiteral("applyNewConfiguration"), {0});
    service.answer(QStringLiteral("resetConfiguration"), {0});
    service.answer(QStringLiteral("restartSystem"), {0});
    service.answer(QStringLiteral("info"), {partitionInfoOnWire("V01234567")});
    service.answer(QStringLiteral("manufactureCode"), {QByteArray::fromHex("FA010000")});
}
