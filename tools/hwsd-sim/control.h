#ifndef CONTROL_H
#define CONTROL_H

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <QtDBus/QDBusContext>

class BusName;
class CallLog;
class Faults;
struct Panel;

// The interface for tests, on a separate connection so that it stays when the service disappears. Every
// method takes effect before it returns. A method that fails has no effect and returns an InvalidArgs or
// Failed error.
class Control : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mvdpserver.HwsdSim1")

public:
    // All four must outlive this object.
    Control(Panel &panel, Faults &faults, CallLog &log, BusName &name);

    static const char *serviceName() { return "org.mvdpserver.HwsdSim"; }
    static const char *objectPath() { return "/org/mvdpserver/HwsdSim"; }

public Q_SLOTS:
    // `parameters` is a JSON object or empty; `calls` 0 means until cleared.
    void SetFault(const QString &method, const QString &kind, const QString &parameters, uint calls);
    void ClearFault(const QString &method);
    void ClearFaults();
    QString Faults() const;

    QString Calls() const;
    void ClearCalls();
    uint CallCount(const QString &method) const;

    QString State() const;
    void SetState(const QString &patch);
    uint Restarts() const;

    // 0 ms: until Reappear.
    void Disappear(uint awayMs);
    void Reappear();
    bool Present() const;

private:
    Panel &m_panel;
    class Faults &m_faults;
    CallLog &m_log;
    BusName &m_name;
};

#endif // CONTROL_H
