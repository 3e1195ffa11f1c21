#include "command.h"
#include "confirm.h"
#include "interrupt.h"
#include "outcomeadvice.h"
#include "panelreturn.h"
#include "planinput.h"
#include "planrun.h"
#include "plantable.h"
#include "session.h"
#include "settingschange.h"
#include "target.h"
#include "waiting.h"
#include "whereabouts.h"
#include "wirecheck.h"

namespace
{

const char ForceAdvice[] = "--force sends such settings all the same.";
const char OtherGatewayAdvice[] =
    "The gateway is the one that the panel has: give another with --gateway, 0.0.0.0 for "
    "none; then only computers in its subnet hear it. ";
const char OtherNetmaskAdvice[] =
    "The netmask is the one that the panel tells: give another with --netmask. ";
const char GatewayAdvice[] = "Give it a gateway with --gateway. ";

struct Objections {
    QStringList sentences;
    QString advice;
};

Objections objectionsTo(const Panel &panel, const WantedSettings &wanted, const PanelList &panels,
                        Session &session)
{
    const NetworkSettings settings = wanted.over(panel);
    const auto &interfaces = session.transport.localInterfaces();
    const auto heardOn = interfacesAmong(interfaces, panels.interfacesOf(panel.mac));
    const QStringList ofOthers = targetObjections(panel.mac, panels) +
                                 holderObjections(settings.address, panel.mac, panels.sorted(), interfaces) +
                                 cableObjections(settings.address, heardOn, interfaces) +
                                 strangersAt(settings.address, panel, panels, session);
    const QStringList ofSettings = settingsObjections(settings);
    const QStringList ofDeafness = deafnessObjections(settings, panel, heardOn);
    const bool isKeptNetmaskWrong = !wanted.netmask && prefixLength(settings.netmask).value_or(0) == 0;
    const bool isKeptGatewayWrong = !wanted.gateway && !ofSettings.isEmpty() &&
                                    settingsObjections({settings.address, settings.netmask, 0}).isEmpty();
    QString advice = QString::fromLatin1(ForceAdvice);
    if (isKeptNetmaskWrong)
        advice.prepend(QLatin1String(OtherNetmaskAdvice));
    else if (isKeptGatewayWrong)
        advice.prepend(QLatin1String(OtherGatewayAdvice));
    else if (!ofDeafness.isEmpty())
        advice.prepend(QLatin1String(GatewayAdvice));
    return {ofOthers + ofSettings + ofDeafness, advice};
}

void report(const SetResult &set, const NetworkSettings &wanted, const Panel &panel, Session &session)
{
    const Outcome outcome = set.outcome;
    const QString sentence = outcomeSentence(outcome, panel.mac, wanted);
    const ExitCode code = outcomeCode(outcome);
    const auto waited = session.arguments.isSet("wait") ? set.shownAfter : std::nullopt;
    session.writer->record(outcomeColumns(),
                           outcomeJson(outcome, panel.mac, allOf(wanted), panel,
                                       session.names.labelOf(panel.mac), waited, session.interfaceNames()));
    if (code == ExitCode::Done)
        session.writer->say(waited ? sentence + QStringLiteral(" It took %1.").arg(secondsText(*waited))
                                   : sentence);
    else if (set.isHeard) // its earlier state is not shown
        session.writer->print(session.details(panel));
    session.noteIgnored();
    if (code != ExitCode::Done)
        throw Failure{code, sentence, adviceAfter(set)};
}

// --dry-run: the change as a plan of one step.
void tell(const Panel &panel, const NetworkSettings &settings, bool isThere, bool isObjectedTo,
          Session &session)
{
    PlanStep step;
    step.entry.mac = panel.mac;
    step.now = panel;
    step.wanted = settings;
    step.isWhereItTells = isThere;
    step.isObjectedTo = isObjectedTo;
    QJsonObject record =
        outcomeJson(Outcome::NotTried, panel.mac, allOf(settings), panel, session.names.labelOf(panel.mac),
                    std::nullopt, session.interfaceNames());
    record.insert(QStringLiteral("result"),
                  QLatin1String(expectedResult(step, session.arguments.isSet("force"))));
    session.writer->record(outcomeColumns(), record);
    session.writer->print(planLines({{step}, {}}, session.terminal.columns()));
    if (!isObjectedTo || session.arguments.isSet("force")) // else the refusal says so
        session.terminal.note(QStringLiteral("No settings were sent."));
    session.noteIgnored();
}

ExitCode runOne(const Arguments &arguments, Session &session)
{
    const PanelName name = panelNameFromText(arguments.words().first(), session.names);
    const PanelList panels = searchFor(name, session);
    Panel panel = onlyMatch(name, panels, session);
    const WantedSettings wanted = arguments.settings();
    const NetworkSettings settings = wanted.over(panel);
    const bool isThere = isWhereItTells(panel, session.exchange);
    if (hasSettings(panel, settings) && isThere && !arguments.isSet("force")) {
        report(unsent(Outcome::AlreadySo), settings, panel, session);
        return ExitCode::Done;
    }
    if (!isThere && panel.address != 0)
        session.terminal.warn(elsewhereText(panel) + QStringLiteral(": what it tells may not be in force"));
    const Objections objections = objectionsTo(panel, wanted, panels, session);
    const bool isDryRun = arguments.isSet("dry-run");
    if (isDryRun)
        tell(panel, settings, isThere, !objections.sentences.isEmpty(), session);
    weighObjections(objections.sentences, arguments.isSet("force"), session.terminal, objections.advice);
    if (isDryRun)
        return ExitCode::Done;
    const QString question =
        hasSettings(panel, settings)
            ? QStringLiteral("Send %1 the settings that it tells, %2, once more?")
                  .arg(session.label(panel), settingsText(settings))
            : QStringLiteral("Change %1 from %2 to %3?")
                  .arg(session.label(panel), settingsText(settingsOf(panel)), settingsText(settings));
    askConsent(arguments, session.terminal, question);
    // With --wait, Ctrl-C ends the wait with what is known.
    std::optional<InterruptGuard> guard;
    std::optional<SettingsWait> wait;
    if (arguments.isSet("wait")) {
        guard.emplace();
        wait = SettingsWait{ReturnLimit, [&guard] { return guard->isInterrupted(); }};
    }
    const SetResult result =
        applySettings(session.exchange, panel, settings, session.arguments.patience(SetRounds, SetTimeout),
                      session.reachedAt(), wait);
    report(result, settings, panel, session);
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
    if (!fromFile && arguments.isSet("format"))
        throwUsage(QStringLiteral("--format goes with --from"));
    PlanContent plan;
    if (fromFile) {
        plan = readPlan(arguments, terminal);
    } else {
        panelNameFromText(arguments.words().first(), PanelNames());
        arguments.settings(); // refuses malformed values before anything is sent
        // A plan is shown before its consent is required.
        if (!arguments.isSet("dry-run"))
            requireConsent(arguments, terminal, QStringLiteral("'set' changes panels"));
    }
    Session session(arguments, terminal);
    return fromFile ? runPlan(plan, session) : runOne(arguments, session);
}

} // namespace

const Command SetCommand = {
    "set",
    "PANEL [--address A] [--netmask M] [--gateway G]\n       mvdpctl set --from FILE",
    "Give panels another address, netmask and gateway.",
    "Looks for the panel, checks the new settings, asks, sends them, and searches\n"
    "again to see whether the panel shows them. What is not given stays as the panel\n"
    "has it. --gateway 0.0.0.0 means none: then only computers with an address in the\n"
    "panel's subnet hear it. --timeout (5 seconds) and --rounds (3) are for the\n"
    "answer to the settings, and as long again for the panel to show them; --wait is\n"
    "for panels that restart first.\n"
    "\n"
    "FILE.csv or FILE.json is a plan for many panels, with the columns or members\n"
    "mac, address, netmask and gateway; name, remark and any others come back in the\n"
    "result. 'mvdpctl plan' makes one, and what 'discover --csv' or '--json' prints\n"
    "is another. A dash is standard input. The plan is shown and asked about once.\n"
    "Panels that are as planned already are skipped, so it can be run again. Exit\n"
    "status: 3 when any panel refused or did not take the settings, else 4 when this\n"
    "computer could not send, else 1 when any panel is not as planned.",
    {{{"address", "ADDRESS", "The new address, alone or as ADDRESS/PREFIX."},
      {"netmask", "NETMASK", "The new netmask, as 255.255.255.0 or as 24."},
      {"gateway", "ADDRESS", "The new gateway."},
      {"from", "FILE", "Take panels and settings from FILE.csv or FILE.json."},
      {"format", "FORMAT", "How FILE is written: csv or json."},
      {"dry-run", nullptr, "Tell what would be done, and send no settings."},
      ToOption,
      WaitOption,
      {"force", nullptr, "Send also settings that look wrong, with a warning."}},
     0,
     1},
    run,
};
