#ifndef TERMINATIONSIGNALS_H
#define TERMINATIONSIGNALS_H

class QCoreApplication;

// After this call SIGTERM and SIGINT end the application's event loop with 0. False when the handlers cannot
// be installed.
bool quitOnTerminationSignals(QCoreApplication &application);

#endif // TERMINATIONSIGNALS_H
