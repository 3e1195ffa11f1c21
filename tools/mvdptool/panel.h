#ifndef PANEL_H
#define PANEL_H

#include "addresses.h"
#include "mvdpdatagram.h"
#include "transport.h"

#include <QtCore/QString>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

// A panel as one of its identity replies told it. Everything in it came from the network and may be forged;
// the text is safe to print.
struct Panel {
    MacAddress mac = {}; // zero: the panel's platform service is down, it knows nothing of itself
    std::uint32_t address = 0;
    std::uint32_t netmask = 0;
    std::uint32_t gateway = 0;
    std::uint32_t partitionVersion = 0; // 0: the panel could not read it
    QString description;

    std::uint32_t source = 0; // where the reply came from: not always the address it tells
    unsigned interfaceIndex = 0;
    Way way = Way::Unicast;

    static Panel fromReply(const Received &reply);
    // "1.234.56.7"; empty when unknown.
    QString versionText() const;
    // The address that it has on the network: a panel whose platform service is down tells none.
    std::uint32_t heldAddress() const { return address != 0 ? address : source; }
    // For the question who else has an address: the one that it tells and the one that it answers from both
    // count, for either may be the true one. Each once.
    std::vector<std::uint32_t> heldAddresses() const;
    bool holds(std::uint32_t held) const { return held != 0 && (held == address || held == source); }
};

// "1.234.56.7" or "unknown".
QString versionOrUnknown(const Panel &panel);

// Which panel it is: its MAC address, and where its replies come from if that is zero.
using PanelKey = std::pair<MacAddress, std::uint32_t>;
PanelKey keyOf(const Panel &panel);

// Latin-1 bytes up to the first zero as text for people: control characters, C1 controls included, become
// '?' so that a hostile description can neither steer a terminal nor forge a line; blanks at the end go.
QString cleanText(const char *bytes, std::size_t size);

// The panels found so far, one entry a panel. A MAC address names a panel; those that do not know their
// MAC address are told apart by where their replies come from.
class PanelList
{
public:
    // True when this panel was not known before. A known one takes the newer reply's content.
    bool add(const Panel &panel);
    bool knows(const Panel &panel) const { return entryOf(panel) < m_panels.size(); }

    // By address, then MAC address, then source.
    std::vector<Panel> sorted() const;
    const Panel *find(const MacAddress &mac) const;
    bool isEmpty() const { return m_panels.empty(); }
    std::size_t size() const { return m_panels.size(); }

    // Where replies under this MAC address came from; more than one means two panels or a false one.
    std::set<std::uint32_t> sourcesOf(const MacAddress &mac) const;
    // The interfaces that its answers came in by: several when it is connected to all of them.
    std::set<unsigned> interfacesOf(const MacAddress &mac) const;
    bool hasAnswered(std::uint32_t address) const;

private:
    std::size_t entryOf(const Panel &panel) const; // the number of entries when it is not known

    std::vector<Panel> m_panels;
    std::set<std::pair<MacAddress, std::uint32_t>> m_sources;
    std::set<std::pair<MacAddress, unsigned>> m_interfaces;
};

#endif // PANEL_H
