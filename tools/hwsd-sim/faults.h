#ifndef FAULTS_H
#define FAULTS_H

#include "catalogue.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

// What all faults together do to one call.
struct FaultPlan {
    bool disappears = false;
    int awayMs = 0; // 0: until it is told to come back
    bool silent = false;
    int delayMs = 0;
    QString errorName; // empty: no error
    QString errorText;
    bool replacesText = false;
    QString text;
    bool wrongType = false;
    QString signature; // empty: any other than the right one
    bool noArguments = false;
    int arrayBytes = -1; // -1: arrays as they are

    // The reply's values as the faults leave them; `method` tells the right signature.
    QVariantList falsified(const QVariantList &values, const Method &method) const;
};

// The faults that are set. A fault has a key (see keyMeans), a kind, parameters, and a number of calls it is
// good for, 0 meaning until it is cleared. Key and kind together are its identity: setting it again replaces
// it. Several kinds work together; of two keys that mean the same method the one set last wins.
class Faults
{
public:
    // Returns an empty text when the fault is set, else why not: the key means no method, the kind is
    // unknown, a parameter is missing, unknown or of the wrong type, or no method of the key could show the
    // fault.
    QString set(const QString &key, const QString &kind, const QJsonObject &parameters, quint32 calls);

    void clear();
    void clear(const QString &key);

    // The plan for a call that has come in; counts down.
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
