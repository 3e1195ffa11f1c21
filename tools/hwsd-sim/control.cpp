#include "control.h"

#include "busname.h"
#include "calllog.h"
#include "faults.h"
#include "panel.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusError>

#include <limits>

Control::Control(Panel &panel, class Faults &faults, CallLog &log, BusName &name)
    : m_panel(panel)
    , m_faults(faults)
    , m_log(log)
    , m_name(name)
{
}

void Control::SetFault(const QString &method, const QString &kind, const QString &parameters, uint calls)
{
    QJsonDocument parsed = QJsonDocument::fromJson(parameters.toUtf8());
    if (parameters.isEmpty())
        parsed = QJsonDocument(QJsonObject());
    if (!parsed.isObject()) {
        sendErrorReply(QDBusError::InvalidArgs, QLatin1String("The parameters are a JSON object"));
        return;
    }
    const QString problem = m_faults.set(method, kind, parsed.object(), calls);
    if (!problem.isEmpty())
        sendErrorReply(QDBusError::InvalidArgs, problem);
}

void Control::ClearFault(const QString &method)
{
    m_faults.clear(method);
}

void Control::ClearFaults()
{
    m_faults.clear();
}

QString Control::Faults() const
{
    return QString::fromUtf8(QJsonDocument(m_faults.list()).toJson(QJsonDocument::Compact));
}

QString Control::Calls() const
{
    return m_log.text();
}

void Control::ClearCalls()
{
    m_log.clear();
}

uint Control::CallCount(const QString &method) const
{
    return m_log.count(method);
}

QString Control::State() const
{
    return QString::fromUtf8(QJsonDocument(m_panel.state.document()).toJson(QJsonDocument::Compact));
}

void Control::SetState(const QString &patch)
{
    const QString problem = m_panel.state.mergeText(patch.toUtf8());
    if (!problem.isEmpty())
        sendErrorReply(QDBusError::InvalidArgs, problem);
}

uint Control::Restarts() const
{
    return static_cast<uint>(m_panel.state.document().value(QLatin1String("restarts")).toInt());
}

void Control::Disappear(uint awayMs)
{
    if (awayMs > static_cast<uint>(std::numeric_limits<int>::max())) {
        sendErrorReply(QDBusError::InvalidArgs, QLatin1String("That is too long"));
        return;
    }
    m_name.disappear(static_cast<int>(awayMs));
}

void Control::Reappear()
{
    const QString problem = m_name.appear();
    if (!problem.isEmpty())
        sendErrorReply(QDBusError::Failed, problem);
}

bool Control::Present() const
{
    return m_name.isPresent();
}
