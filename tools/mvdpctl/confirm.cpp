#include "confirm.h"

void requireConsent(const Arguments &arguments, const Terminal &terminal, const QString &what)
{
    if (arguments.isSet("yes") || terminal.canAsk())
        return;
    throwUsage(what + QStringLiteral(" and there is no terminal to ask on"),
               QStringLiteral("Give --yes to send it all the same."));
}

void askConsent(const Arguments &arguments, Terminal &terminal, const QString &question)
{
    if (arguments.isSet("yes") || terminal.ask(question))
        return;
    throwUsage(QStringLiteral("nothing was sent"), QStringLiteral("Answer y, or give --yes."));
}

void weighObjections(const QStringList &objections, bool isForced, Terminal &terminal, const QString &advice)
{
    for (const QString &objection : objections)
        terminal.error(isForced ? QStringLiteral("warning: ") + objection : objection);
    if (!objections.isEmpty() && !isForced)
        throwUsage(QStringLiteral("nothing was sent"), advice);
}
