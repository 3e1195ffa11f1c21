#include "command.h"
#include "confirm.h"
#include "planrun.h"
#include "session.h"
#include "setter.h"
#include "target.h"

#include <QtCore/QJsonDocument>

namespace
{

WantedSettings wantedSettings(const Arguments &arguments)
{
    return {arguments.address("address"), arguments.netmask("netmask"), arguments.address("gateway")};
}

QString advice(bool isOnlyTheKeptGatewayWrong)
{
    QString text = QStringLiteral("--force sends such settings all the same.");
    if (isOnlyTheKeptGatewayWrong)
        text.prepend(QStringLiteral("The gateway is the one that the panel has: give another with --gateway, "
                                    "0.0.0.0 for none. "));
    return text;
}

void checkSettings(const Panel &panel, const WantedSettings &wanted, const PanelList &panels,
                   Session &session)
{
    NetworkSettings settings = wanted.over(panel);
    const QStringList ofOthers =
        targetObjections(panel.mac, panels) +
        holderObjections(settings.address, panel.mac, panels.sorted(), session.transport.interfaces());
    const QStringList ofSettings = settingsObjections(settings);
    settings.gateway = 0;
    const bool isGateway = !wanted.gateway && ofOthers.isEmpty() && settingsObjections(settings).isEmpty();
    weighObjections(ofOthers + ofSettings, session.arguments.isSet("force"), session.terminal,
                    advice(isGateway));
}

void report(Outcome outcome, const NetworkSettings &wanted, const Panel &panel, Session &session)
{
    const QJsonObject result = outcomeJson(outcome, panel.mac, allOf(wanted), panel, session);
    const QString sentence = outcomeSentence(outcome, panel.mac, wanted);
    const ExitCode code = outcomeCode(outcome);
    switch (session.format) {
    case Format::Json:
        session.terminal.printJson(QJsonDocument(result).toJson());
        break;
    case Format::Csv:
        session.terminal.printCsv(outcomeColumns());
        session.terminal.printCsv(outcomeFields(result));
        break;
    case Format::Text:
        if (code == ExitCode::Done)
            session.terminal.say(sentence);
        else
            printResult({}, panel, Format::Text, session.interfaceNames(), session.terminal);
    }
    session.noteIgnored();
    if (code != ExitCode::Done)
        throw Failure{code, sentence, outcomeAdvice(outcome)};
}

ExitCode runOne(const Arguments &arguments, Session &session)
{
    const TargetName name = targetFromText(arguments.words().first());
    const PanelList panels = searchFor(name, session);
    Panel panel = onlyMatch(name, panels, session);
    const WantedSettings wanted = wantedSettings(arguments);
    const NetworkSettings settings = wanted.over(panel);
    if (hasSettings(panel, settings) && !arguments.isSet("force")) {
        report(Outcome::AlreadySo, settings, panel, session);
        return ExitCode::Done;
    }
    checkSettings(panel, wanted, panels, session);
    const QString now = settingsText({panel.address, panel.netmask, panel.gateway});
    askConsent(
        arguments, session.terminal,
        QStringLiteral("Change %1 from %2 to %3?").arg(panelLabel(panel), now, settingsText(settings)));
    const Outcome outcome = applySettings(session, panel, settings);
    report(outcome, settings, panel, session);
    return ExitCode::Done;
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    const bool anySetting =
        arguments.isSet("address") || arguments.isSet("netmask") || arguments.isSet("gateway");
    const bool fromFile = arguments.isSet("from");
    if (fromFile && (anySetting || !arguments.words().isEmpty()))
        throwUsage(QStringLiteral("--from takes the panels and their settings from the file alone"));
    if (!fromFile && arguments.words().isEmpty())
        throwUsage(QStringLiteral("an argument is missing: name a panel, or give --from"));
    if (!fromFile && !anySetting)
        throwUsage(QStringLiteral("give at least one of --address, --netmask and --gateway"));
    std::vector<PlanEntry> entries;
    if (fromFile) {
        entries = readPlan(arguments.text("from"));
    } else {
        targetFromText(arguments.words().first());
        wantedSettings(arguments); // finds mistyped values before anything is sent
    }
    requireConsent(arguments, terminal, QStringLiteral("'set' changes panels"));
    Session session(arguments, terminal);
    return fromFile ? runPlan(entries, session) : runOne(arguments, session);
}

} // namespace

const Command SetCommand = {
    "set",
    "PANEL [--address A] [--netmask M] [--gateway G]\n       mvdpctl set --from FILE",
    "Give panels another address, netmask and gateway.",
    "Looks for the panel, checks the new settings, asks, sends them, and searches\n"
    "again to see whether the panel shows them. What is not given stays as the panel\n"
    "has it. --gateway 0.0.0.0 means none. --timeout (5 seconds) and --rounds (3) are\n"
    "for the answer to the settings, and as long again for the panel to show them.\n"
    "\n"
    "FILE.csv or FILE.json is a plan for many panels, with the columns or members\n"
    "mac, address, netmask and gateway; what 'discover --csv' or '--json' prints is\n"
    "one to begin with. The plan is shown and asked about once. Panels that are as\n"
    "planned already are skipped, so it can be run again. Exit status: 3 when any\n"
    "panel refused, else 4 when this computer could not send, else 1 when any panel\n"
    "is not as planned.",
    {{{"address", "ADDRESS", "The new address."},
      {"netmask", "NETMASK", "The new netmask, as 255.255.255.0 or as 24."},
      {"gateway", "ADDRESS", "The new gateway."},
      {"from", "FILE", "Take panels and settings from FILE.csv or FILE.json."},
      ThroughOption,
      {"force", nullptr, "Send also settings that look wrong, with a warning."}},
     0,
     1},
    run,
};
