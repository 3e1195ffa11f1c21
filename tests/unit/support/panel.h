#ifndef PANEL_H
#define PANEL_H

#include "fakeservice.h"

#include <QtCore/QString>

// The answers of a plausible panel for the fake service, and the calls that the service gets. Its identity
// reply is identityBytes().
//   eth0: 192.168.0.1 / 255.255.255.0, gateway 192.168.0.254, all three in force; configured otherwise
//   MAC address 00:1A:2B:3C:4D:5E, partition version text "V01234567", model 506 ("QM413-JD562")
void answerAsPanel(FakeService &service);

// The panel's record, for answerInTurn().
QString panelRecord();

extern const char VersionCall[];
extern const char RecordCall[];
extern const char CodeCall[];
extern const char ApplyCall[];
extern const char ResetCall[];
extern const char RestartCall[];

#endif // PANEL_H
