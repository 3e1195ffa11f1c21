#include "privatexserver.h"

#include <QtCore/QStringList>
#include <QtCore/QtDebug>

PrivateXServer::~PrivateXServer()
{
    if (m_server.state() == QProcess::NotRunning)
        return;
    m_server.terminate();
    m_server.waitForFinished(60000);
}

bool PrivateXServer::start(int width, int height)
{
    m_server.setProcessChannelMode(QProcess::SeparateChannels);
    // The kill signal is sent when this process ends in any way. The number of the display is printed when
    // the server listens.
    m_server.start(QStringLiteral("setpriv"),
                   {QStringLiteral("--pdeathsig"), QStringLiteral("KILL"), QStringLiteral("--"),
                    QStringLiteral("Xvfb"), QStringLiteral("-displayfd"), QStringLiteral("1"),
                    QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("%1x%2x24").arg(width).arg(height), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp"), QStringLiteral("-noreset")});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(60000)) {
            qWarning() << "Xvfb:" << m_server.errorString() << m_server.readAllStandardError();
            return false;
        }
    }
    m_display = ":" + m_server.readLine().trimmed();
    return true;
}
