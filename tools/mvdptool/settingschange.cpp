#include "settingschange.h"

#include "discovery.h"
#include "target.h"
#include "whereabouts.h"

#include <algorithm>
#include <iterator>

namespace
{

// A panel changes its settings within a second or two; asking more often than this finds out no sooner.
const std::chrono::milliseconds CheckTimeout(1000);

// Zeros name no panel: what another one tells must not pass for this one's answer.
const Panel *findIn(const PanelList &panels, const MacAddress &mac)
{
    return isZero(mac) ? nullptr : panels.find(mac);
}

class Setter
{
public:
    Setter(Session &session, const NetworkSettings &settings)
        : m_session(session)
        , m_settings(settings)
        , m_patience(session.arguments.patience(SetRounds, SetTimeout))
    {
    }

    SetResult run(Panel &panel);

private:
    Outcome outcome(Panel &panel);
    QString silenceAdvice(Outcome outcome, const Panel &before) const;
    std::optional<Received> sendSettings(const Panel &panel);
    PanelList searchAsFarAsPossible(const Search &search);
    bool isHeardWithSettings(Panel &panel, const Search &search);
    bool verify(Panel &panel);

    Session &m_session;
    NetworkSettings m_settings;
    Patience m_patience;
    bool m_heardAgain = false;
};

SetResult Setter::run(Panel &panel)
{
    showOnly(panel, m_session);
    const Panel before = panel;
    SetResult result = {outcome(panel), {}};
    result.isHeard = m_heardAgain;
    result.advice = m_heardAgain ? outcomeAdvice(result.outcome) : silenceAdvice(result.outcome, before);
    return result;
}

// When the settings put the panel out of hearing, it says only that.
QString Setter::silenceAdvice(Outcome outcome, const Panel &before) const
{
    const auto heardOn = interfacesAmong(m_session.transport.allInterfaces(), {before.interfaceIndex});
    const QString deafness = deafnessText(m_settings, before, heardOn);
    if (deafness.isEmpty())
        return outcomeAdvice(outcome);
    return deafness +
           QStringLiteral(": give this one such an address on %1, and see with 'mvdpctl discover'.")
               .arg(namesOf(heardOn));
}

Outcome Setter::outcome(Panel &panel)
{
    const auto reply = sendSettings(panel);
    if (reply) {
        panel = Panel::fromReply(*reply);
        if (reply->datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied)) {
            m_heardAgain = true;
            return Outcome::Refused;
        }
    }
    // The reply alone proves little, and its absence too: the panel's interface goes down while it changes.
    if (verify(panel))
        return Outcome::Applied;
    if (m_heardAgain && hasSettings(panel, m_settings))
        return Outcome::Elsewhere;
    if (!reply)
        return Outcome::NoAnswer;
    return m_heardAgain ? Outcome::Unchanged : Outcome::Unverified;
}

std::optional<Received> Setter::sendSettings(const Panel &panel)
{
    Request request = Request::toMac(MvdpCommand::SetAddress, panel.mac);
    request.datagram.setIpAddress(m_settings.address);
    request.datagram.setNetmask(m_settings.netmask);
    request.datagram.setGateway(m_settings.gateway);
    return m_session.exchange.ask(request, waysTo(panel, m_session), m_patience,
                                  QStringLiteral("setting ") + macText(panel.mac));
}

// What this computer cannot send any more is no news of the panel.
PanelList Setter::searchAsFarAsPossible(const Search &search)
{
    try {
        return discoverPanels(m_session.exchange, search);
    } catch (const ToolError &error) {
        m_session.terminal.error(error.message);
        return PanelList();
    }
}

// Takes over what the panel tells, if the search finds it.
bool Setter::isHeardWithSettings(Panel &panel, const Search &search)
{
    const PanelList panels = searchAsFarAsPossible(search);
    const Panel *now = findIn(panels, panel.mac);
    if (now == nullptr)
        return false;
    m_heardAgain = true;
    panel = *now;
    return hasSettings(panel, m_settings);
}

bool Setter::verify(Panel &panel)
{
    m_session.terminal.progress(QStringLiteral("checking %1").arg(macText(panel.mac)));
    const auto deadline = Clock::now() + m_patience.timeout * m_patience.rounds;
    const auto timeout = std::min(m_patience.timeout, CheckTimeout);
    const auto roundsLeft = [deadline, timeout] {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        return static_cast<int>((left + timeout - std::chrono::milliseconds(1)) / timeout);
    };
    const auto tellsSettings = [this, mac = panel.mac](const PanelList &panels) {
        const Panel *now = findIn(panels, mac);
        return now != nullptr && hasSettings(*now, m_settings);
    };
    if (!isHeardWithSettings(panel,
                             {m_session.everywhere(), {std::max(1, roundsLeft()), timeout}, tellsSettings}))
        return false;
    if (isWhereItTells(panel, m_session))
        return true;
    // It may tell them before it has moved.
    const int rounds = roundsLeft();
    if (rounds <= 0)
        return false;
    const auto isThere = [this, mac = panel.mac, tellsSettings](const PanelList &panels) {
        return tellsSettings(panels) &&
               isShownToBeThere(*findIn(panels, mac), m_session.transport.allInterfaces());
    };
    return isHeardWithSettings(panel, {m_session.everywhere(), {rounds, timeout}, isThere}) &&
           isWhereItTells(panel, m_session);
}

struct OutcomeFacts {
    const char *name;
    ExitCode code;
    const char *sentence; // %1 the panel, %2 settings asked for
    const char *advice;
};

const OutcomeFacts &factsOf(Outcome outcome)
{
    static const OutcomeFacts facts[] = {
        {"applied", ExitCode::Done, "%1 now has %2.", ""},
        {"already so", ExitCode::Done, "%1 already has %2.", ""},
        {"refused", ExitCode::Refused, "%1 could not apply %2",
         "It could not read its settings, so nothing was changed: its platform service may be down. Restart "
         "the panel and try again. The settings in the result may be what it was just told."},
        {"unchanged", ExitCode::Refused, "%1 accepted %2 but still shows other settings",
         "It may need a restart, or its platform service ignores the change; what it shows now is in the "
         "result."},
        {"elsewhere", ExitCode::Refused, "%1 tells %2 but answers from another address",
         "It may tell what it was told and could not apply: its platform service may be down. Restart the "
         "panel and try again. Behind a router that translates addresses all may be well. From where it "
         "answered is in the result."},
        {"unverified", ExitCode::NoAnswer, "%1 accepted %2 but was not heard again",
         "Look for it with 'mvdpctl discover'; its new subnet may keep its answers from this computer."},
        {"no answer", ExitCode::NoAnswer, "%1 did not answer to the new settings %2",
         "See with 'mvdpctl discover' which settings it has now, and try again."},
        {"not found", ExitCode::NoAnswer, "%1 was not found, so it did not get %2",
         "Check its power and cable, and its MAC address in the plan; see 'mvdpctl discover'."},
        {"blocked", ExitCode::NoAnswer, "%1 did not get %2: another panel still holds the address",
         "First have that other panel take its own new address; then run the plan again."},
        {"trouble", ExitCode::NetworkTrouble, "%1 did not get %2: this computer could not send",
         "See which addresses this computer has, look at the cable, and run the plan again."},
        {"not tried", ExitCode::NoAnswer, "%1 did not get %2: interrupted before",
         "Run the plan again: what is done is skipped."},
    };
    static_assert(std::size(facts) == OutcomeCount, "one row for each outcome, in their order");
    return facts[static_cast<std::size_t>(outcome)];
}

} // namespace

const char *outcomeName(Outcome outcome)
{
    return factsOf(outcome).name;
}

ExitCode outcomeCode(Outcome outcome)
{
    return factsOf(outcome).code;
}

QString outcomeSentence(Outcome outcome, const MacAddress &mac, const NetworkSettings &wanted)
{
    return QString::fromLatin1(factsOf(outcome).sentence).arg(macText(mac), settingsText(wanted));
}

QString outcomeAdvice(Outcome outcome)
{
    return QString::fromLatin1(factsOf(outcome).advice);
}

SetResult applySettings(Session &session, Panel &panel, const NetworkSettings &settings)
{
    return Setter(session, settings).run(panel);
}

QString settingsText(const NetworkSettings &settings)
{
    return addressWithNetmask(settings.address, settings.netmask) +
           (settings.gateway == 0 ? QStringLiteral(", no gateway")
                                  : QStringLiteral(", gateway ") + ipv4Text(settings.gateway));
}
