#include "mvdpserverobj.h"
#include "toolkitsetup.h"
#include "winkwidget/eventgrabber.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
// QApplication's header moved with the widgets: QtGui in Qt 4, QtWidgets since.
#include <QApplication>

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace
{

const char Version[] = "1.0.0.11";

// The service starts after it all the same.
void printVersionIfAsked(const QStringList &arguments)
{
    if (arguments.size() < 2 || arguments.at(1) != QLatin1String("--version"))
        return;
    std::printf("MVDP Version %s", Version);
    std::fflush(stdout);
}

void leaveWithFailure()
{
    ::_exit(EXIT_FAILURE);
}

// The toolkit calls exit() when it loses the X server. The handlers and destructors that exit() runs, last
// registered first, would wait for the server thread or take away what it uses. Our handler leaves before
// them. Qt registers those of D-Bus, which wait, when a connection is first named; so that is done here, and
// our handler comes after it.
void leaveWithoutDestructors()
{
    const QDBusConnection unused(QLatin1String("none"));
    std::atexit(leaveWithFailure);
}

} // namespace

int main(int argc, char **argv)
{
    // A log whose reader has ended must not end the service. The D-Bus library ignores this signal, too, but
    // only from its first connection on.
    ::signal(SIGPIPE, SIG_IGN);
    disableDesktopScaling();
    disableOpenGl();
    QApplication application(argc, argv);
    disableFontScaling();
    leaveWithoutDestructors();
    // The notice is the only window, and hiding it must not end the program.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setApplicationVersion(QLatin1String(Version));
    printVersionIfAsked(QCoreApplication::arguments());

    // Before the server thread, so that the grabber lives on this one.
    EventGrabber::instance();
    MVDPServerObj server;
    server.start(QThread::InheritPriority);

    const int result = application.exec();
    // The server thread cannot be stopped. A return would run destructors, and Qt aborts when a running
    // thread is destroyed.
    std::fflush(nullptr);
    ::_exit(result);
}
