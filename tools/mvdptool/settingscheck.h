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

// A setting that is not given stays as it is in the panel.
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

// Compares with the reported settings. Whether they are in force is decided in whereabouts.h.
inline bool hasSettings(const Panel &panel, const NetworkSettings &settings)
{
    return panel.address == settings.address && panel.netmask == settings.netmask &&
           panel.gateway == settings.gateway;
}

// Why these settings would not work, one sentence each; empty when there is no objection. A panel accepts any
// settings, so this is the only check.
QStringList settingsObjections(const NetworkSettings &settings);

// Why a request to this MAC address may reach more than the one panel.
QStringList targetObjections(const MacAddress &mac, const PanelList &panels);

// The other holders of the address: panels, or this computer.
QStringList holderObjections(std::uint32_t address, const MacAddress &own, const std::vector<Panel> &others,
                             const std::vector<NetworkInterface> &interfaces);

// An objection when the address is in the subnet of an interface of this computer that did not receive the
// panel's answers.
QStringList cableObjections(std::uint32_t address, const std::vector<NetworkInterface> &heardOn,
                            const std::vector<NetworkInterface> &interfaces);

// An objection when the panel's answers will no longer reach this computer. None for settings to which
// settingsObjections() objects.
QStringList deafnessObjections(const NetworkSettings &settings, const Panel &panel,
                               const std::vector<NetworkInterface> &heardOn);

#endif // SETTINGSCHECK_H
