#include "privatebus.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QtDebug>

PrivateBus::PrivateBus() = default;

PrivateBus::~PrivateBus()
{
    stop();
}

QByteArray PrivateBus::address() const
{
    return "unix:path=" + QFile::encodeName(m_folder.filePath(QStringLiteral("bus")));
}

bool PrivateBus::start()
{
    // Without service folders, so that the bus cannot start anything of the machine.
    QFile configuration(m_folder.filePath(QStringLiteral("bus.conf")));
    if (!configuration.open(QIODevice::WriteOnly))
        return false;
    configuration.write("<busconfig><type>session</type><listen>" + address() +
                        "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                        "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                        "<allow own=\"*\"/></policy></busconfig>\n");
    configuration.close();
    // Through setpriv, so that the daemon also ends when the test crashes.
    m_daemon.start(QStringLiteral("setpriv"),
                   {QStringLiteral("--pdeathsig"), QStringLiteral("KILL"), QStringLiteral("dbus-daemon"),
                    QStringLiteral("--config-file=") + configuration.fileName(),
                    QStringLiteral("--print-address"), QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile")});
    // The address is printed when the socket listens.
    if (m_daemon.waitForStarted(60000) && (m_daemon.canReadLine() || m_daemon.waitForReadyRead(60000)))
        return true;
    qWarning() << "dbus-daemon:" << m_daemon.errorString() << m_daemon.readAllStandardError();
    return false;
}

void PrivateBus::stop()
{
    if (m_daemon.state() == QProcess::NotRunning)
        return;
    m_daemon.terminate();
    m_daemon.waitForFinished(60000);
    m_daemon.readAllStandardOutput();
    m_daemon.readAllStandardError();
    QFile::remove(m_folder.filePath(QStringLiteral("bus")));
}
