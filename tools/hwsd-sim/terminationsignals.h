#ifndef TERMINATIONSIGNALS_H
#define TERMINATIONSIGNALS_H

class QCoreApplication;

// From now on SIGTERM and SIGINT end the application's event loop with 0.
bool quitOnTerminationSignals(QCoreApplication *application);

#endif
