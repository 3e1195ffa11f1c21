#ifndef CONFIRM_H
#define CONFIRM_H

#include "arguments.h"
#include "terminal.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

// To be called before anything is sent: throws Failure when neither --yes is given nor anybody can be asked.
void requireConsent(const Arguments &arguments, const Terminal &terminal, const QString &what);

// Asks, unless --yes is given; throws Failure when the answer is no.
void askConsent(const Arguments &arguments, Terminal &terminal, const QString &question);

// Says what speaks against sending; throws Failure with this advice if anything does, unless it is forced.
// Then each objection is a warning.
void weighObjections(const QStringList &objections, bool isForced, Terminal &terminal,
                     const QString &advice = QString());

#endif // CONFIRM_H
