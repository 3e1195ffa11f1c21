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

inline NetworkSettings settingsOf(const Panel &panel)
{
    return {panel.address, panel.netmask, panel.gateway};
}

inline WantedSettings allOf(const NetworkSettings &settings)
{
    return {settings.address, settings.netmask, settings.gateway};
}

// What it tells; whether that is in force is another matter, see whereabouts.h.
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

// That the address is in the subnet of another of this computer's interfaces than those that heard the panel.
QStringList cableObjections(std::uint32_t address, const std::vector<NetworkInterface> &heardOn,
                            const std::vector<NetworkInterface> &interfaces);

// That this computer will not hear the panel any more. Says nothing of settings to which settingsObjections()
// has something to say.
QStringList deafnessObjections(const NetworkSettings &settings, const Panel &panel,
                               const std::vector<NetworkInterface> &heardOn);

#endif // SETTINGSCHECK_H
