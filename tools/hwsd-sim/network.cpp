#include "network.h"

#include "kernelnetwork.h"
#include "networkdocument.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>

namespace
{

// The keys that a caller may change. Others in a record are ignored.
const char *const ConfigurableKeys[] = {"label", "ip_address", "netmask", "gateway_ip", "metric", "dhcp"};

// The version in the documents of this network manager.
const int DocumentVersion = 1;

} // namespace

Network::Network(PanelState &state, bool applyToKernel)
    : m_state(state)
    , m_applyToKernel(applyToKernel)
{
}

bool Network::knows(const QString &name) const
{
    return m_state.section("interfaces").contains(name);
}

QString Network::interfaceText(const QString &name) const
{
    return compactText(record(name));
}

QString Network::configure(const QString &name, const QString &recordText)
{
    QJsonObject wanted;
    QString problem = parseObject(recordText, wanted);
    if (!problem.isEmpty())
        return problem;
    problem = checkInterfaceRecord(wanted, name);
    if (!problem.isEmpty())
        return problem;
    if (record(name).value(QLatin1String("readonly")).toBool())
        return QString(QLatin1String("interface \"%1\" is read-only")).arg(name);
    setConfiguration(name, wanted);
    return QString();
}

QString Network::documentText() const
{
    QJsonArray interfaces;
    const QJsonObject records = m_state.section("interfaces");
    for (const auto &each : records)
        interfaces.append(each);
    QJsonObject document;
    document.insert(QLatin1String("version"), DocumentVersion);
    document.insert(QLatin1String("interfaces"), interfaces);
    for (const char *key : {"hostname", "dns", "bridge"})
        document.insert(QLatin1String(key), m_state.document().value(QLatin1String(key)));
    return compactText(document);
}

QString Network::configureDocument(const QString &text)
{
    QJsonObject wanted;
    QString problem = parseObject(text, wanted);
    if (!problem.isEmpty())
        return problem;
    problem = checkNetworkDocument(wanted);
    if (!problem.isEmpty())
        return problem;
    const QJsonArray interfaces = wanted.value(QLatin1String("interfaces")).toArray();
    for (const auto &each : interfaces) {
        const QString name = each.toObject().value(QLatin1String("name")).toString();
        if (!knows(name))
            return QString(QLatin1String("there is no interface \"%1\"")).arg(name);
    }
    for (const char *key : {"hostname", "dns", "bridge"})
        if (wanted.contains(QLatin1String(key)))
            m_state.setSection(key, wanted.value(QLatin1String(key)));
    for (const auto &each : interfaces) {
        const QString name = each.toObject().value(QLatin1String("name")).toString();
        // Callers send back the whole document with its read-only interfaces, so this is not an error.
        if (!record(name).value(QLatin1String("readonly")).toBool())
            setConfiguration(name, each.toObject());
    }
    return QString();
}

QString Network::apply()
{
    const QStringList names = pending();
    for (const QString &name : names) {
        if (!knows(name))
            continue;
        QString problem = putIntoEffect(name, record(name));
        if (!problem.isEmpty())
            return problem;
        QStringList rest = pending();
        rest.removeAll(name);
        setPending(rest);
    }
    setPending(QStringList());
    return QString();
}

QString Network::reset()
{
    const QJsonObject factory = m_state.section("factory");
    const QJsonObject interfaces = factory.value(QLatin1String("interfaces")).toObject();
    for (const QString &name : interfaces.keys()) {
        if (!knows(name))
            continue;
        QJsonObject configured = record(name);
        const QJsonObject original = interfaces.value(name).toObject();
        for (const QString &key : original.keys())
            configured.insert(key, original.value(key));
        QString problem = putIntoEffect(name, configured);
        if (!problem.isEmpty())
            return problem;
    }
    for (const char *key : {"hostname", "dns", "bridge"})
        if (factory.contains(QLatin1String(key)))
            m_state.setSection(key, factory.value(QLatin1String(key)));
    setPending(QStringList());
    return QString();
}

QJsonObject Network::record(const QString &name) const
{
    return m_state.section("interfaces").value(name).toObject();
}

void Network::setConfiguration(const QString &name, const QJsonObject &wanted)
{
    QJsonObject configured = record(name);
    for (const char *key : ConfigurableKeys)
        if (wanted.contains(QLatin1String(key)))
            configured.insert(QLatin1String(key), wanted.value(QLatin1String(key)));
    QJsonObject interfaces = m_state.section("interfaces");
    interfaces.insert(name, configured);
    m_state.setSection("interfaces", interfaces);
    QStringList names = pending();
    if (!names.contains(name))
        setPending(names << name);
}

// The address, netmask and gateway that the configuration results in: its own, or with DHCP those of the
// lease.
QJsonObject Network::effectOf(const QString &name, const QJsonObject &configured) const
{
    if (!configured.value(QLatin1String("dhcp")).toBool())
        return configured;
    return m_state.section("leases").value(name).toObject();
}

QString Network::putIntoEffect(const QString &name, QJsonObject configured)
{
    const QJsonObject effect = effectOf(name, configured);
    const QString address = effect.value(QLatin1String("ip_address")).toString();
    const QString netmask = effect.value(QLatin1String("netmask")).toString();
    const QString gateway = effect.value(QLatin1String("gateway_ip")).toString();
    if (m_applyToKernel) {
        QString problem = setKernelInterface(name, address, netmask, gateway);
        if (!problem.isEmpty())
            return problem;
    }
    configured.insert(QLatin1String("actual_ip_address"), address);
    configured.insert(QLatin1String("actual_netmask"), netmask);
    configured.insert(QLatin1String("actual_gateway_ip"), gateway);
    configured.insert(QLatin1String("actual_metric"), configured.value(QLatin1String("metric")));
    configured.insert(QLatin1String("configured"), true);
    QJsonObject interfaces = m_state.section("interfaces");
    interfaces.insert(name, configured);
    m_state.setSection("interfaces", interfaces);
    return QString();
}

QStringList Network::pending() const
{
    QStringList names;
    for (const auto &name : m_state.document().value(QLatin1String("pending")).toArray())
        names << name.toString();
    return names;
}

void Network::setPending(const QStringList &names)
{
    m_state.setSection("pending", QJsonArray::fromStringList(names));
}
