#ifndef RECORDMODELS_H
#define RECORDMODELS_H

#include "bridgeconfig.h"
#include "dnsconfig.h"
#include "networkinterfaceconfig.h"
#include "networkmanagerconfig.h"
#include "recordreading.h"

// The models that recordreading.h needs of each record, written from the documents' description and not from
// the records' code. expectedReading() follows the order in which the keys are read.

ExpectedReading expectedReading(const json::Object &object, const NetworkInterfaceConfig *);
ExpectedReading expectedReading(const json::Object &object, const DnsConfig *);
ExpectedReading expectedReading(const json::Object &object, const BridgeConfig *);
ExpectedReading expectedReading(const json::Object &object, const NetworkManagerConfig *);

// True when a new record that has read the whole object has the object's values.
bool holds(const NetworkInterfaceConfig &record, const json::Object &object);
bool holds(const DnsConfig &record, const json::Object &object);
bool holds(const BridgeConfig &record, const json::Object &object);
bool holds(const NetworkManagerConfig &record, const json::Object &object);

bool isSame(const NetworkInterfaceConfig &one, const NetworkInterfaceConfig &other);
bool isSame(const DnsConfig &one, const DnsConfig &other);
bool isSame(const BridgeConfig &one, const BridgeConfig &other);
bool isSame(const NetworkManagerConfig &one, const NetworkManagerConfig &other);

// An interface without a name is refused with all its members. Empty texts and metrics of 0 are not written;
// a new record has them.
NetworkInterfaceConfig rewritten(const NetworkInterfaceConfig &record);
// Nothing is lost.
DnsConfig rewritten(const DnsConfig &record);
// The spanning tree is written as "stp" and read from "std": it is on afterwards.
BridgeConfig rewritten(const BridgeConfig &record);
// As its bridges. All its interfaces have names.
NetworkManagerConfig rewritten(const NetworkManagerConfig &record);

#endif // RECORDMODELS_H
