#ifndef TERMINATIONSIGNALS_H
#define TERMINATIONSIGNALS_H

class QCoreApplication;

// From now on SIGTERM and SIGINT end the application's event loop with 0. False when the signals cannot be
// had.
bool quitOnTerminationSignals(QCoreApplication &application);

#endif // TERMINATIONSIGNALS_H
