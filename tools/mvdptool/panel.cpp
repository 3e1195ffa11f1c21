#include "panel.h"

#include <algorithm>
#include <tuple>

namespace
{

// Bounds the memory that forged replies can take.
const std::size_t SourceLimit = 16384;

} // namespace

PanelKey keyOf(const Panel &panel)
{
    return {panel.mac, isZero(panel.mac) ? panel.source : 0};
}

Panel Panel::fromReply(const Received &reply)
{
    Panel panel;
    const MvdpDatagram &datagram = reply.datagram;
    std::copy_n(datagram.macAddress(), panel.mac.size(), panel.mac.begin());
    panel.address = datagram.ipAddress();
    panel.netmask = datagram.netmask();
    panel.gateway = datagram.gateway();
    panel.partitionVersion = datagram.partitionVersion();
    panel.description = cleanText(datagram.description(), MvdpDatagram::DescriptionSize);
    panel.source = reply.source;
    panel.interfaceIndex = reply.interfaceIndex;
    panel.way = reply.way;
    return panel;
}

std::vector<std::uint32_t> Panel::heldAddresses() const
{
    std::vector<std::uint32_t> held;
    if (address != 0)
        held.push_back(address);
    if (source != 0 && source != address)
        held.push_back(source);
    return held;
}

QString Panel::versionText() const
{
    // One byte a part, the first part highest, like an address.
    return partitionVersion == 0 ? QString() : ipv4Text(partitionVersion);
}

QString versionOrUnknown(const Panel &panel)
{
    const QString version = panel.versionText();
    return version.isEmpty() ? QStringLiteral("unknown") : version;
}

QString cleanText(const char *bytes, std::size_t size)
{
    const char *end = std::find(bytes, bytes + size, '\0');
    QString text = QString::fromLatin1(bytes, static_cast<int>(end - bytes));
    for (QChar &character : text) {
        const ushort code = character.unicode();
        if (code < 0x20 || (code >= 0x7F && code < 0xA0))
            character = QLatin1Char('?');
        else if (code == 0xA0) // no-break blank
            character = QLatin1Char(' ');
        else if (code == 0xAD) // soft hyphen: its width differs between terminals
            character = QLatin1Char('-');
    }
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

bool PanelList::add(const Panel &panel)
{
    if (m_sources.size() < SourceLimit)
        m_sources.insert({panel.mac, panel.source});
    if (m_interfaces.size() < SourceLimit)
        m_interfaces.insert({panel.mac, panel.interfaceIndex});
    const std::size_t entry = entryOf(panel);
    if (entry < m_panels.size()) {
        m_panels[entry] = panel;
        return false;
    }
    m_panels.push_back(panel);
    return true;
}

std::size_t PanelList::entryOf(const Panel &panel) const
{
    const auto known = std::find_if(m_panels.begin(), m_panels.end(),
                                    [key = keyOf(panel)](const Panel &other) { return keyOf(other) == key; });
    return static_cast<std::size_t>(known - m_panels.begin());
}

std::vector<Panel> PanelList::sorted() const
{
    std::vector<Panel> panels = m_panels;
    std::sort(panels.begin(), panels.end(), [](const Panel &one, const Panel &other) {
        return std::tie(one.address, one.mac, one.source) < std::tie(other.address, other.mac, other.source);
    });
    return panels;
}

const Panel *PanelList::find(const MacAddress &mac) const
{
    const auto found = std::find_if(m_panels.begin(), m_panels.end(),
                                    [&mac](const Panel &panel) { return panel.mac == mac; });
    return found == m_panels.end() ? nullptr : &*found;
}

std::set<std::uint32_t> PanelList::sourcesOf(const MacAddress &mac) const
{
    std::set<std::uint32_t> sources;
    for (const auto &entry : m_sources) {
        if (entry.first == mac)
            sources.insert(entry.second);
    }
    return sources;
}

std::set<unsigned> PanelList::interfacesOf(const MacAddress &mac) const
{
    std::set<unsigned> interfaces;
    for (const auto &entry : m_interfaces) {
        if (entry.first == mac)
            interfaces.insert(entry.second);
    }
    return interfaces;
}

bool PanelList::hasAnswered(std::uint32_t address) const
{
    return std::any_of(m_panels.begin(), m_panels.end(), [address](const Panel &panel) {
        return panel.address == address || panel.source == address;
    });
}
