#ifndef CONFIRM_H
#define CONFIRM_H

#include "arguments.h"
#include "terminal.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

// To be called before anything is sent. Throws Failure when --yes is not given and there is no terminal to
// ask on.
void requireConsent(const Arguments &arguments, const Terminal &terminal, const QString &what);

// Asks, unless --yes is given; throws Failure when the answer is no.
void askConsent(const Arguments &arguments, Terminal &terminal, const QString &question);

// Throws Failure with the objections and this advice when there are any. When forced, prints each objection
// as a warning instead.
void weighObjections(const QStringList &objections, bool isForced, Terminal &terminal,
                     const QString &advice = QString());

#endif // CONFIRM_H
