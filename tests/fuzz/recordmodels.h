#ifndef RECORDMODELS_H
#define RECORDMODELS_H

#include "bridgeconfig.h"
#include "dnsconfig.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerconfig.h"
#include "recordreading.h"

// What recordreading.h wants to know of each record, written down from the documents' description and not
// from the records' code. expectedReading() goes in the order in which the keys are read.

ExpectedReading expectedReading(const json::Object &object, const NetworkInterfaceConfig *);
ExpectedReading expectedReading(const json::Object &object, const DnsConfig *);
ExpectedReading expectedReading(const json::Object &object, const BridgeConfig *);
ExpectedReading expectedReading(const json::Object &object, const NetworkManagerConfig *);

// Whether a new record that has taken the whole object holds what stands there.
bool holds(const NetworkInterfaceConfig &record, const json::Object &object);
bool holds(const DnsConfig &record, const json::Object &object);
bool holds(const BridgeConfig &record, const json::Object &object);
bool holds(const NetworkManagerConfig &record, const json::Object &object);

bool isSame(const NetworkInterfaceConfig &one, const NetworkInterfaceConfig &other);
bool isSame(const DnsConfig &one, const DnsConfig &other);
bool isSame(const BridgeConfig &one, const BridgeConfig &other);
bool isSame(const NetworkManagerConfig &one, const NetworkManagerConfig &other);

// An interface without a name is refused with all that it holds. Its empty texts and metrics of 0 are not
// written, but a new record has them like that.
NetworkInterfaceConfig rewritten(const NetworkInterfaceConfig &record);
// Nothing is lost.
DnsConfig rewritten(const DnsConfig &record);
// The spanning tree is written as "stp" and read from "std": it is on afterwards.
BridgeConfig rewritten(const BridgeConfig &record);
// What its bridges lose. All interfaces in it have names.
NetworkManagerConfig rewritten(const NetworkManagerConfig &record);

#endif // RECORDMODELS_H
