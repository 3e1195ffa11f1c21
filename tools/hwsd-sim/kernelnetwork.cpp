#include "kernelnetwork.h"

#include "networkdocument.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtCore/QStringList>

namespace
{

const int IpProgramLimitMs = 10000;

QString ipProgram()
{
    const QString name = QLatin1String("ip");
    const QString found = QStandardPaths::findExecutable(name);
    // The PATH of an ordinary user lacks the sbin folders.
    return found.isEmpty()
               ? QStandardPaths::findExecutable(name, {QLatin1String("/usr/sbin"), QLatin1String("/sbin")})
               : found;
}

// Returns an empty text when `ip` succeeded, and puts its standard output into `output`.
QString runIp(const QStringList &arguments, QByteArray &output)
{
    QProcess ip;
    ip.start(ipProgram(), arguments);
    const QString command = QLatin1String("ip ") + arguments.join(QLatin1Char(' '));
    if (!ip.waitForStarted(IpProgramLimitMs))
        return QString(QLatin1String("%1: %2")).arg(command, ip.errorString());
    if (!ip.waitForFinished(IpProgramLimitMs)) {
        ip.kill();
        ip.waitForFinished(IpProgramLimitMs);
        return QString(QLatin1String("%1: no end after %2 ms")).arg(command).arg(IpProgramLimitMs);
    }
    output = ip.readAllStandardOutput();
    if (ip.exitStatus() == QProcess::NormalExit && ip.exitCode() == 0)
        return QString();
    return QString(QLatin1String("%1: %2"))
        .arg(command, QString::fromLocal8Bit(ip.readAllStandardError()).trimmed());
}

QString runIp(const QStringList &arguments)
{
    QByteArray ignoredOutput;
    return runIp(arguments, ignoredOutput);
}

// The interface's IPv4 addresses as "address/prefix".
QString currentAddresses(const QString &name, QStringList &addresses)
{
    QByteArray output;
    QString problem = runIp({QLatin1String("-json"), QLatin1String("-4"), QLatin1String("address"),
                             QLatin1String("show"), QLatin1String("dev"), name},
                            output);
    for (const auto &link : QJsonDocument::fromJson(output).array()) {
        const QJsonArray infos = link.toObject().value(QLatin1String("addr_info")).toArray();
        for (const auto &each : infos) {
            const QJsonObject info = each.toObject();
            const int prefix = info.value(QLatin1String("prefixlen")).toInt();
            if (info.contains(QLatin1String("local")))
                addresses << QString(QLatin1String("%1/%2"))
                                 .arg(info.value(QLatin1String("local")).toString())
                                 .arg(prefix);
        }
    }
    return problem;
}

QString changeAddress(const char *verb, const QString &name, const QString &address,
                      const QStringList &more = QStringList())
{
    return runIp(
        QStringList{QLatin1String("address"), QLatin1String(verb), address, QLatin1String("dev"), name} +
        more);
}

// Adds the new address before it removes the old ones, because an interface loses all its routes with its
// last address.
QString replaceAddresses(const QString &name, const QString &address, int prefix)
{
    const QString wanted = QString(QLatin1String("%1/%2")).arg(address).arg(prefix);
    const QString standIn = address + QLatin1String("/32");
    const QStringList broadcast =
        prefix < 31 ? QStringList{QLatin1String("broadcast"), QLatin1String("+")} : QStringList();
    QStringList old;
    QString problem = currentAddresses(name, old);
    if (!problem.isEmpty() || old == QStringList(wanted))
        return problem;
    if (!old.contains(standIn)) {
        problem = changeAddress("add", name, standIn);
        if (!problem.isEmpty())
            return problem;
    }
    for (const QString &each : old) {
        // Deleting a primary address also deletes its secondary ones, so that a later one may be gone
        // already.
        if (each != standIn)
            changeAddress("del", name, each);
    }
    if (wanted == standIn)
        return QString();
    problem = changeAddress("add", name, wanted, broadcast);
    return problem.isEmpty() ? changeAddress("del", name, standIn) : problem;
}

QString setDefaultRoute(const QString &name, const QString &gateway)
{
    const QStringList device{QLatin1String("dev"), name};
    if (gateway.isEmpty() || gateway == QLatin1String("0.0.0.0")) {
        // Fails when there is no default route; the result is the same.
        runIp(QStringList{QLatin1String("route"), QLatin1String("del"), QLatin1String("default")} + device);
        return QString();
    }
    // onlink: accepts a gateway outside the subnet, as a panel does.
    return runIp(QStringList{QLatin1String("route"), QLatin1String("replace"), QLatin1String("default"),
                             QLatin1String("via"), gateway} +
                 device + QStringList(QLatin1String("onlink")));
}

} // namespace

QString setKernelInterface(const QString &name, const QString &address, const QString &netmask,
                           const QString &gateway)
{
    // The values become arguments of a program, so their form is checked strictly.
    static const QRegularExpression nameForm(QLatin1String("\\A[A-Za-z0-9_][A-Za-z0-9_.-]{0,14}\\z"));
    if (!nameForm.match(name).hasMatch())
        return QString(QLatin1String("\"%1\" is no name of an interface")).arg(name);
    if (!gateway.isEmpty() && !isAddress(gateway))
        return QString(QLatin1String("\"%1\" is no gateway")).arg(gateway);
    if (address.isEmpty() || address == QLatin1String("0.0.0.0"))
        return runIp({QLatin1String("-4"), QLatin1String("address"), QLatin1String("flush"),
                      QLatin1String("dev"), name});
    if (!isAddress(address) || !isNetmask(netmask))
        return QString(QLatin1String("\"%1\" with netmask \"%2\" is no address")).arg(address, netmask);
    QString up = runIp({QLatin1String("link"), QLatin1String("set"), name, QLatin1String("up")});
    if (!up.isEmpty())
        return up;
    QString problem = replaceAddresses(name, address, prefixLength(netmask));
    return problem.isEmpty() ? setDefaultRoute(name, gateway) : problem;
}
