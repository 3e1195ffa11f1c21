#include "busname.h"
#include "calllog.h"
#include "control.h"
#include "faults.h"
#include "options.h"
#include "panel.h"
#include "serviceobject.h"
#include "terminationsignals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

#include <cstdio>
#include <limits>

namespace
{

enum ExitCode { Ended = 0, Failed = 1, Misused = 2 };

int failure(const QString &text)
{
    std::fprintf(stderr, "hwsd-sim: %s\n", qPrintable(text));
    return Failed;
}

// Merges the state file and then the command line into the panel's state. Returns an empty text, or the
// problem.
QString loadState(const Options &options, PanelState &state)
{
    if (!options.stateFile.isEmpty()) {
        QFile file(options.stateFile);
        if (!file.open(QIODevice::ReadOnly))
            return QString(QLatin1String("%1: %2")).arg(options.stateFile, file.errorString());
        const QString problem = state.mergeText(file.readAll());
        if (!problem.isEmpty())
            return QString(QLatin1String("%1: %2")).arg(options.stateFile, problem);
    }
    return state.merge(options.state);
}

void countRestart(Panel &panel, BusName &name)
{
    const QJsonObject document = panel.state.document();
    const int restarts = document.value(QLatin1String("restarts")).toInt();
    if (restarts < std::numeric_limits<int>::max())
        panel.state.setSection("restarts", restarts + 1);
    const int away = document.value(QLatin1String("restartAwayMs")).toInt(-1);
    // Later, so that the caller gets its reply first.
    if (away >= 0)
        QMetaObject::invokeMethod(
            &name, [&name, away]() { name.disappear(away); }, Qt::QueuedConnection);
}

void announceMouse(const BusName &name, int plugged)
{
    QDBusMessage signal = QDBusMessage::createSignal(QLatin1String("/"), QLatin1String("com.zelt.HWSD"),
                                                     QLatin1String("mousePlugEvent"));
    signal << plugged;
    QDBusConnection(name.connectionName()).send(signal);
}

// Makes the control object reachable for tests. Returns an empty text, or the problem.
QString exportControl(Control &control, QDBusConnection &connection)
{
    if (!connection.isConnected())
        return connection.lastError().message();
    if (connection.registerObject(QLatin1String(Control::objectPath()), &control,
                                  QDBusConnection::ExportAllSlots) &&
        connection.registerService(QLatin1String(Control::serviceName())))
        return QString();
    const QString reason = connection.lastError().message();
    return reason.isEmpty()
               ? QString(QLatin1String("the name %1 is taken")).arg(QLatin1String(Control::serviceName()))
               : reason;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Options options;
    const Options::Outcome outcome = options.parse(application.arguments());
    if (outcome == Options::Outcome::PrintText) {
        std::fputs(qPrintable(options.text), stdout);
        return Ended;
    }
    if (outcome == Options::Outcome::UsageError) {
        std::fprintf(stderr, "hwsd-sim: %s\nhwsd-sim --help tells more.\n", qPrintable(options.text));
        return Misused;
    }

    Panel panel(options.applyToKernel);
    const QString stateProblem = loadState(options, panel.state);
    if (!stateProblem.isEmpty())
        return failure(stateProblem);
    if (options.printState) {
        std::fputs(QJsonDocument(panel.state.document()).toJson().constData(), stdout);
        return Ended;
    }

    Faults faults;
    CallLog log;
    ServiceObject service(panel, faults, log);
    BusName name(options.bus, service);
    panel.restart = [&panel, &name]() { countRestart(panel, name); };
    panel.announceMouse = [&name](int plugged) { announceMouse(name, plugged); };
    QObject::connect(&service, &ServiceObject::disappearanceWanted, &name, &BusName::disappear,
                     Qt::QueuedConnection);

    Control control(panel, faults, log, name);
    QDBusConnection controlConnection = options.bus.connect(QLatin1String("control"));
    QString problem = exportControl(control, controlConnection);
    if (problem.isEmpty())
        problem = name.appear();
    if (!problem.isEmpty())
        return failure(QString(QLatin1String("%1: %2")).arg(options.bus.text(), problem));
    // A signal that the D-Bus library emits locally; it is not sent on the bus.
    controlConnection.connect(QString(), QLatin1String("/org/freedesktop/DBus/Local"),
                              QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"),
                              &name, SLOT(endWithoutBus()));
    if (!quitOnTerminationSignals(application))
        return failure(QLatin1String("cannot handle signals"));

    std::printf("hwsd-sim: ready on %s\n", qPrintable(options.bus.text()));
    std::fflush(stdout);
    return application.exec();
}
