#ifndef WHEREABOUTS_H
#define WHEREABOUTS_H

#include "exchange.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <vector>

// Whether a panel has the address that it reports.
//
// The settings in a reply are what the panel last knew. When it cannot read them they stay as they were, and
// after a failed change they are those of the request. Only the address can be checked from here. The panel
// has the reported address when one of these holds:
//   1. Its answer came from that address.
//   2. It answers what is sent to that address. An answer to the group leaves from the address of the
//      interface that the panel's routes select, which may be another one.
//   3. A router that translates addresses lies between. It is recognised by a unicast answer (panels answer
//      by unicast within their own subnet) although this computer has no address in that subnet.
// For any other panel neither "already so" nor "applied" may be reported.

// Checks by one answer: conditions 1 and 3. `interfaces` are all of this computer.
bool isShownToBeThere(const Panel &panel, const std::vector<NetworkInterface> &interfaces);

// Checks all three; sends a request to the panel's address if needed, for three seconds at most. `question`
// is Identify or Discover, and not what was asked everywhere just before: a late answer to that would be
// taken for one from the address.
bool isWhereItTells(const Panel &panel, Exchange &exchange, MvdpCommand question = MvdpCommand::Identify);

// "02:00:5e:10:00:01 tells the address 192.168.10.5 but answered from 192.168.10.7"
QString elsewhereText(const Panel &panel);

// A panel answers computers outside its own subnet through its gateway; without a gateway those answers
// cannot leave the subnet. When these settings keep its answers from the interfaces that received them so
// far, says which computers can still receive them, without a full stop; else empty.
QString deafnessText(const NetworkSettings &settings, const Panel &panel,
                     const std::vector<NetworkInterface> &heardOn);

#endif // WHEREABOUTS_H
