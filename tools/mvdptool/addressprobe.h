#ifndef ADDRESSPROBE_H
#define ADDRESSPROBE_H

#include "addresses.h"
#include "panel.h"
#include "transport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

// Whether anything on the network holds an address, panel or not.

struct AddressHolder {
    std::uint32_t address = 0;
    std::optional<MacAddress> mac; // nothing: unknown, as behind a router
};

struct ProbeResult {
    std::vector<AddressHolder> held;    // somebody answered for these, in the order of the question
    std::vector<std::uint32_t> unasked; // whether anybody holds these could not be found out
    QString how;                        // "by ARP"; empty when nothing was asked
};

// Asks for all addresses at once. Takes less than a second in all, and ends when all have been answered. At
// most 1000 addresses are asked for, each twice; the others are `unasked`. Changes nothing on the network but
// the neighbour tables.
//
// With the right to open packet sockets (CAP_NET_RAW) it sends ARP requests as RFC 5227 has them, with the
// sender 0.0.0.0, on each interface in use. This finds holders on the wire whatever their subnet.
//
// Without it, a datagram to the address makes the kernel ask by ARP, and its neighbour table shows who
// answered; at most 256 addresses are asked for, because the table is small. Holders in other subnets answer
// such a request only if they have a route to this computer. A neighbour that the kernel knew before counts
// only when it was heard again; otherwise the address is `unasked`. Where net.ipv4.ping_group_range permits
// it, an echo request makes it heard.
//
// An address outside the subnets of the interfaces in use is asked for by way of the routes, too. Whatever it
// sends itself in answer to a datagram, an ICMP error included, shows that it is there.
//
// Only Linux has these ways; elsewhere all addresses are `unasked`. An address of this computer is `held`.
ProbeResult probeAddresses(const std::vector<std::uint32_t> &addresses, const Transport &transport);

// An objection when `address` has a holder without one of the MAC addresses in `expected`. `panels` are those
// that were found.
QStringList strangerObjections(std::uint32_t address, const std::set<MacAddress> &expected,
                               const PanelList &panels, const ProbeResult &result);

// What was possible, as one or two sentences: "192.168.10.20 was asked for by ARP: nobody answered." Nothing
// for no addresses. Whoever answered is in the objections.
QString probeNote(const std::vector<std::uint32_t> &addresses, const ProbeResult &result);

#endif // ADDRESSPROBE_H
