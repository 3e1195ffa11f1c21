#ifndef TESTPANEL_H
#define TESTPANEL_H

#include "panel.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <cstdint>

// 192.168.10.5/24 behind 192.168.10.1, version 1.234.56.7, answering from its own address.
inline Panel testPanel(std::uint8_t lastMacByte = 1, std::uint32_t address = 0xC0A80A05)
{
    Panel panel;
    panel.mac = {0x02, 0x00, 0x5E, 0x10, 0x00, lastMacByte};
    panel.address = address;
    panel.netmask = 0xFFFFFF00;
    panel.gateway = 0xC0A80A01;
    panel.partitionVersion = 0x01EA3807;
    panel.description = QStringLiteral("QM316-44LRNA");
    panel.source = address;
    panel.interfaceIndex = 2;
    return panel;
}

// "192.168.10.5/24" or "192.168.10.5/255.0.255.0", and the gateway.
inline NetworkSettings testSettings(const QString &address, const QString &gateway)
{
    return {ipv4FromText(address.section('/', 0, 0)).value(),
            netmaskFromText(address.section('/', 1)).value(), ipv4FromText(gateway).value()};
}

#endif // TESTPANEL_H
