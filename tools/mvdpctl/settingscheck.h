#ifndef SETTINGSCHECK_H
#define SETTINGSCHECK_H

#include "interfaces.h"
#include "panel.h"

#include <QtCore/QStringList>

#include <cstdint>
#include <optional>
#include <vector>

struct NetworkSettings {
    std::uint32_t address;
    std::uint32_t netmask;
    std::uint32_t gateway; // 0: none
};

// What is not given stays as the panel has it.
struct WantedSettings {
    std::optional<std::uint32_t> address;
    std::optional<std::uint32_t> netmask;
    std::optional<std::uint32_t> gateway;

    NetworkSettings over(const Panel &panel) const
    {
        return {address.value_or(panel.address), netmask.value_or(panel.netmask),
                gateway.value_or(panel.gateway)};
    }
};

inline WantedSettings allOf(const NetworkSettings &settings)
{
    return {settings.address, settings.netmask, settings.gateway};
}

inline bool hasSettings(const Panel &panel, const NetworkSettings &settings)
{
    return panel.address == settings.address && panel.netmask == settings.netmask &&
           panel.gateway == settings.gateway;
}

// Why these settings would not work, one sentence each; empty when nothing speaks against them. A panel
// takes whatever it is told, so this is the only check that there is.
QStringList settingsObjections(const NetworkSettings &settings);

// Why a request to this MAC address may reach more than the one panel that is meant.
QStringList targetObjections(const MacAddress &mac, const PanelList &panels);

// Who else holds the address: another panel, or this computer.
QStringList holderObjections(std::uint32_t address, const MacAddress &own, const std::vector<Panel> &others,
                             const std::vector<NetworkInterface> &interfaces);

#endif // SETTINGSCHECK_H
