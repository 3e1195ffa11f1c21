#ifndef WHEREABOUTS_H
#define WHEREABOUTS_H

#include "exchange.h"
#include "settingscheck.h"

#include <QtCore/QString>

#include <vector>

// Where a panel is, beside what it tells of that.
//
// The settings in a reply are what the panel last knew. When it cannot read them afresh they stay as they
// were, and after a failed change they are those that it was told to take. Of them only the address can be
// checked from here. The panel has the address that it tells when one of these holds:
//   1. Its answer came from there.
//   2. It answers what is sent to it there. An answer to the group leaves from the address of the interface
//      that the panel's routes lead to, which may be another.
//   3. A router that translates addresses lies between. Its sign: the answer came to this computer alone, as
//      panels answer within their own subnet, and this computer has no address in that subnet.
// Of any other panel neither "already so" nor "applied" may be said.

// What one answer shows: 1 and 3. `interfaces` are all of this computer.
bool isShownToBeThere(const Panel &panel, const std::vector<NetworkInterface> &interfaces);

// Asks the panel at its address if need be, for three seconds at the most.
bool isWhereItTells(const Panel &panel, Exchange &exchange);

// "02:00:5e:10:00:01 tells the address 192.168.10.5 but answered from 192.168.10.7"
QString elsewhereText(const Panel &panel);

// A panel answers computers outside its own subnet through its gateway; without one those answers cannot
// leave it. Says which computers hear it then, without a full stop, when these settings keep its answers from
// the interfaces that heard it; else empty.
QString deafnessText(const NetworkSettings &settings, const Panel &panel,
                     const std::vector<NetworkInterface> &heardOn);

#endif // WHEREABOUTS_H
