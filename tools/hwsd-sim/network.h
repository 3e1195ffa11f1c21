#ifndef NETWORK_H
#define NETWORK_H

#include "panelstate.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The network manager behind the D-Bus methods. Callers set the configured values (ip_address, netmask,
// gateway_ip, metric, dhcp); applying copies them to the actual_ values. Until then the interface's name is
// in "pending". Every operation returns an empty text when it is done, else the reason why nothing was
// changed.
class Network
{
public:
    // With `applyToKernel` the real interfaces of this network namespace follow. The state must outlive this
    // object.
    Network(PanelState &state, bool applyToKernel);

    bool knows(const QString &name) const;
    QString interfaceText(const QString &name) const;
    QString configure(const QString &name, const QString &recordText);

    QString documentText() const;
    QString configureDocument(const QString &text);

    QString apply();
    QString reset();

private:
    QJsonObject record(const QString &name) const;
    void setConfiguration(const QString &name, const QJsonObject &wanted);
    QJsonObject effectOf(const QString &name, const QJsonObject &configured) const;
    QString putIntoEffect(const QString &name, QJsonObject configured);
    QStringList pending() const;
    void setPending(const QStringList &names);

    PanelState &m_state;
    bool m_applyToKernel;
};

#endif // NETWORK_H
