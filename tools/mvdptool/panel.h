#ifndef PANEL_H
#define PANEL_H

#include "addresses.h"
#include "mvdpdatagram.h"
#include "transport.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

// The content of one identity reply. It came from the network and may be forged; the text is safe to print.
struct Panel {
    MacAddress mac = {}; // zero: the panel's platform service is down
    std::uint32_t address = 0;
    std::uint32_t netmask = 0;
    std::uint32_t gateway = 0;
    std::uint32_t partitionVersion = 0; // 0: unknown to the panel
    QString description;

    std::uint32_t source = 0; // where the reply came from; can differ from `address`
    unsigned interfaceIndex = 0;
    Way way = Way::Unicast;

    static Panel fromReply(const Received &reply);
    // "1.234.56.7"; empty when unknown.
    QString versionText() const;
    // The panel's address on the network. A panel whose platform service is down reports none; it is then the
    // source.
    std::uint32_t heldAddress() const { return address != 0 ? address : source; }
    // The addresses that may conflict with those of others: the reported one and the source, since either may
    // be the true one. Each once.
    std::vector<std::uint32_t> heldAddresses() const;
    bool holds(std::uint32_t held) const { return held != 0 && (held == address || held == source); }
};

// "1.234.56.7" or "unknown".
QString versionOrUnknown(const Panel &panel);

// Identifies a panel: its MAC address and, if that is zero, the source of its replies.
using PanelKey = std::pair<MacAddress, std::uint32_t>;
PanelKey keyOf(const Panel &panel);

// Latin-1 bytes up to the first zero as text for people. Control characters, C1 controls included, become
// '?', so that a hostile description can neither steer a terminal nor forge a line. Blanks at the end are
// removed.
QString cleanText(const char *bytes, std::size_t size);

// The panels found so far, one entry for each PanelKey.
class PanelList
{
public:
    // True when this panel was not in the list. For a panel in the list the newer reply's content replaces
    // the older.
    bool add(const Panel &panel);
    bool knows(const Panel &panel) const { return entryOf(panel) < m_panels.size(); }

    // By address, then MAC address, then source.
    std::vector<Panel> sorted() const;
    const Panel *find(const MacAddress &mac) const;
    bool isEmpty() const { return m_panels.empty(); }
    std::size_t size() const { return m_panels.size(); }

    // The sources of replies under this MAC address. More than one means that two panels share it or that it
    // is forged.
    std::set<std::uint32_t> sourcesOf(const MacAddress &mac) const;
    // The interfaces that received its answers; several when the panel is connected to all of them.
    std::set<unsigned> interfacesOf(const MacAddress &mac) const;
    bool hasAnswered(std::uint32_t address) const;

private:
    std::size_t entryOf(const Panel &panel) const; // the number of entries when it is not in the list

    std::vector<Panel> m_panels;
    std::set<std::pair<MacAddress, std::uint32_t>> m_sources;
    std::set<std::pair<MacAddress, unsigned>> m_interfaces;
};

#endif // PANEL_H
