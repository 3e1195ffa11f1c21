#ifndef FAULTS_H
#define FAULTS_H

#include "catalogue.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

// The combined effect of all faults on one call.
struct FaultPlan {
    bool disappears = false;
    int awayMs = 0; // 0: until appear() is called
    bool silent = false;
    int delayMs = 0;
    QString errorName; // empty: no error
    QString errorText;
    bool replacesText = false;
    QString text;
    bool wrongType = false;
    QString signature; // empty: any but the right one
    bool noArguments = false;
    int arrayBytes = -1; // -1: arrays are not shortened

    // The reply's values as the faults change them; the right signature is that of `method`.
    QVariantList falsified(const QVariantList &values, const Method &method) const;
};

// The faults that are set. A fault has a key (see keyMeans), a kind, parameters, and the number of calls that
// it applies to (0: until cleared). Key and kind together are its identity: setting it again replaces it.
// Several kinds work together. When two keys of one kind match a method, the one set last applies.
class Faults
{
public:
    // Returns an empty text when the fault is set, else the reason: the key matches no method, the kind is
    // unknown, a parameter is missing, unknown or of the wrong type, or the fault cannot show in a reply of
    // any method that the key matches.
    QString set(const QString &key, const QString &kind, const QJsonObject &parameters, quint32 calls);

    void clear();
    void clear(const QString &key);

    // The plan for a received call. Counts the call.
    FaultPlan take(const Method &method);

    // Objects with "method", "kind", "parameters" and "calls" (left, 0 = until cleared).
    QJsonArray list() const;

private:
    struct Fault {
        QString key;
        QString kind;
        QJsonObject parameters;
        quint32 callsLeft;
        bool counted;
    };
    QVector<Fault> m_faults;
};

#endif // FAULTS_H
