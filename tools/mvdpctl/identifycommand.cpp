#include "command.h"
#include "session.h"
#include "target.h"

#include <QtCore/QJsonDocument>

namespace
{

// What a search found was told to everybody; what is shown was told to this question.
std::optional<Panel> identify(const Panel &found, Session &session)
{
    const auto answer =
        session.exchange.ask(Request::toMac(MvdpCommand::Identify, found.mac), waysTo(found, session),
                             session.searchPatience(), QStringLiteral("asking"));
    return answer ? std::optional<Panel>(Panel::fromReply(*answer)) : std::nullopt;
}

void print(const Panel &panel, Session &session)
{
    const QJsonObject object = session.json(panel);
    switch (session.format) {
    case Format::Json:
        session.terminal.printJson(QJsonDocument(object).toJson());
        break;
    case Format::Csv:
        session.terminal.printCsv(panelColumns());
        session.terminal.printCsv(csvFields(object, panelColumns()));
        break;
    case Format::Text:
        for (const QString &line : panelDetails(panel, session.interfaceNames()))
            session.terminal.print(line);
    }
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const TargetName name = targetFromText(arguments.words().first());
    Session session(arguments, terminal);
    const Panel found = findTarget(session);
    // A panel that is named by its MAC address has been asked by it already.
    const auto panel = name.mac ? found : identify(found, session);
    if (!panel)
        throw Failure{ExitCode::NoAnswer, QStringLiteral("%1 is not heard any more").arg(panelLabel(found)),
                      session.exchange.noAnswerAdvice()};
    print(*panel, session);
    session.noteIgnored();
    return ExitCode::Done;
}

} // namespace

const Command IdentifyCommand = {
    "identify",
    "PANEL",
    "Show the identity of one panel.",
    "A MAC address is asked for everywhere, so that its IP address need not be known\n"
    "nor be reachable. Otherwise all panels are searched for first.",
    {{ThroughOption}, 1, 1},
    run,
};
