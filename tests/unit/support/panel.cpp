#include "panel.h"

const char VersionCall[] = "/MainOSInfo com.zelt.HWSD.PartitionInfo.info()";
const char RecordCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:eth0)";
const char CodeCall[] = "/SystemInfo com.zelt.HWSD.SystemInfo.manufactureCode()";
const char ApplyCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.applyNewConfiguration()";
const char ResetCall[] = "/NetworkManager com.zelt.HWSD.NetworkManager.resetConfiguration()";
const char RestartCall[] = "/ com.zelt.HWSD.restartSystem()";

QString panelRecord()
{
    return QStringLiteral(R"({"name":"eth0","mac_address":"00:1A:2B:3C:4D:5E","dhcp":true,)"
                          R"("ip_address":"10.9.9.9","netmask":"255.0.0.0","gateway_ip":"10.9.9.1",)"
                          R"("actual_ip_address":"192.168.0.1","actual_netmask":"255.255.255.0",)"
                          R"("actual_gateway_ip":"192.168.0.254"})");
}

void answerAsPanel(FakeService &service)
{
    service.answer("getInterfaceConfig", {panelRecord()});
    for (const char *method :
         {"setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration", "restartSystem"})
        service.answer(method, {0});
    service.answer("info", {partitionInfoOnWire("V01234567")});
    service.answer("manufactureCode", {QByteArray::fromHex("FA010000")});
}
