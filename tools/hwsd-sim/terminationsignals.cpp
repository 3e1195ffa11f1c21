#include "terminationsignals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

namespace
{

// A signal handler may do little more than write to a pipe, which the event loop reads.
int signalPipe[2];

void onSignal(int)
{
    const int savedErrno = errno;
    const char byte = 0;
    // A full pipe already makes the event loop quit.
    if (write(signalPipe[1], &byte, 1) < 0) {
    }
    errno = savedErrno;
}

} // namespace

bool quitOnTerminationSignals(QCoreApplication &application)
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    // The application owns it.
    QSocketNotifier *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, []() { QCoreApplication::quit(); });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    return sigaction(SIGTERM, &action, nullptr) == 0 && sigaction(SIGINT, &action, nullptr) == 0;
}
