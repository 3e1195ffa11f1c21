#ifndef TESTPANEL_H
#define TESTPANEL_H

#include "panel.h"

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

#endif // TESTPANEL_H
