#include "settingschange.h"

#include "discovery.h"
#include "toolerror.h"
#include "ways.h"
#include "whereabouts.h"

#include <algorithm>
#include <iterator>

namespace
{

// A panel changes its settings within a second or two; shorter rounds would not detect the change sooner.
const std::chrono::milliseconds CheckTimeout(1000);

// Finds no panel for an all-zero MAC address, since several panels may report that.
const Panel *findIn(const PanelList &panels, const MacAddress &mac)
{
    return isZero(mac) ? nullptr : panels.find(mac);
}

class SettingsChange
{
public:
    SettingsChange(Exchange &exchange, const NetworkSettings &settings, const Patience &patience,
                   std::optional<std::uint32_t> reachedAt, const std::optional<SettingsWait> &wait)
        : m_exchange(exchange)
        , m_settings(settings)
        , m_patience(patience)
        , m_reachedAt(reachedAt)
        , m_wait(wait.value_or(SettingsWait{patience.timeout * patience.rounds}))
    {
    }

    SetResult run(Panel &panel);

private:
    Outcome outcome(Panel &panel);
    std::optional<Received> sendSettings(const Panel &panel);
    PanelList searchAsFarAsPossible(const Search &search);
    bool isHeardWithSettings(Panel &panel, const Search &search);
    bool verify(Panel &panel);

    Exchange &m_exchange;
    NetworkSettings m_settings;
    Patience m_patience;
    std::optional<std::uint32_t> m_reachedAt;
    SettingsWait m_wait;
    bool m_heardAgain = false;
};

SetResult SettingsChange::run(Panel &panel)
{
    const Panel before = panel;
    const auto start = Clock::now();
    SetResult result;
    result.outcome = outcome(panel);
    if (result.outcome == Outcome::Applied)
        result.shownAfter = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    result.isHeard = m_heardAgain;
    if (!m_heardAgain) {
        const auto heardOn =
            interfacesAmong(m_exchange.transport().localInterfaces(), {before.interfaceIndex});
        result.deafness = deafnessText(m_settings, before, heardOn);
        result.heardOn = namesOf(heardOn);
    }
    return result;
}

Outcome SettingsChange::outcome(Panel &panel)
{
    const auto reply = sendSettings(panel);
    if (reply) {
        panel = Panel::fromReply(*reply);
        if (reply->datagram.packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied)) {
            m_heardAgain = true;
            return Outcome::Refused;
        }
    }
    // The reply is not proof, nor is its absence: the panel's interface goes down during the change.
    if (verify(panel))
        return Outcome::Applied;
    if (m_heardAgain && hasSettings(panel, m_settings))
        return Outcome::Elsewhere;
    if (!reply)
        return Outcome::NoAnswer;
    return m_heardAgain ? Outcome::Unchanged : Outcome::Unverified;
}

std::optional<Received> SettingsChange::sendSettings(const Panel &panel)
{
    Request request = Request::toMac(MvdpCommand::SetAddress, panel.mac);
    request.datagram.setIpAddress(m_settings.address);
    request.datagram.setNetmask(m_settings.netmask);
    request.datagram.setGateway(m_settings.gateway);
    return m_exchange.ask(request, waysTo(panel, m_exchange.transport(), m_reachedAt), m_patience,
                          QStringLiteral("setting ") + macText(panel.mac));
}

// A failure to send says nothing about the panel.
PanelList SettingsChange::searchAsFarAsPossible(const Search &search)
{
    try {
        return discoverPanels(m_exchange, search);
    } catch (const ToolError &error) {
        m_exchange.observer().error(error.message);
        return PanelList();
    }
}

// Stores the panel's last reply, if the search finds the panel.
bool SettingsChange::isHeardWithSettings(Panel &panel, const Search &search)
{
    const PanelList panels = searchAsFarAsPossible(search);
    const Panel *now = findIn(panels, panel.mac);
    if (now == nullptr)
        return false;
    m_heardAgain = true;
    panel = *now;
    return hasSettings(panel, m_settings);
}

bool SettingsChange::verify(Panel &panel)
{
    m_exchange.observer().progress(QStringLiteral("checking %1").arg(macText(panel.mac)));
    const auto deadline = Clock::now() + m_wait.limit;
    const auto timeout = std::min(m_patience.timeout, CheckTimeout);
    const auto roundsLeft = [deadline, timeout] {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        return static_cast<int>((left + timeout - std::chrono::milliseconds(1)) / timeout);
    };
    const auto tellsSettings = [this, mac = panel.mac](const PanelList &panels) {
        const Panel *now = findIn(panels, mac);
        return now != nullptr && hasSettings(*now, m_settings);
    };
    const auto isThere = [this, mac = panel.mac, tellsSettings](const PanelList &panels) {
        return tellsSettings(panels) &&
               isShownToBeThere(*findIn(panels, mac), m_exchange.transport().localInterfaces());
    };
    const auto everywhere = everyWay(m_exchange.transport(), m_reachedAt);
    const int usualRounds = std::max(1, static_cast<int>(m_patience.timeout * m_patience.rounds / timeout));
    int rounds = std::max(1, roundsLeft());
    do {
        if (!isHeardWithSettings(
                panel, {everywhere, {rounds, timeout}, tellsSettings, m_wait.isInterrupted, panel.mac}))
            return false;
        if (isWhereItTells(panel, m_exchange, MvdpCommand::Discover))
            return true;
        // The panel may report the new settings before they are in force. Its answers need not show where it
        // is, so now and then it is asked at its address.
        rounds = std::min(usualRounds, roundsLeft());
        if (rounds > 0 &&
            isHeardWithSettings(panel,
                                {everywhere, {rounds, timeout}, isThere, m_wait.isInterrupted, panel.mac}) &&
            isWhereItTells(panel, m_exchange, MvdpCommand::Discover))
            return true;
        rounds = roundsLeft();
    } while (rounds > 0 && !(m_wait.isInterrupted && m_wait.isInterrupted()));
    return false;
}

struct OutcomeFacts {
    const char *name;
    const char *sentence; // %1 the panel, %2 the wanted settings
};

const OutcomeFacts &factsOf(Outcome outcome)
{
    static const OutcomeFacts facts[] = {
        {"applied", "%1 now has %2."},
        {"already so", "%1 already has %2."},
        {"refused", "%1 could not apply %2"},
        {"unchanged", "%1 accepted %2 but still shows other settings"},
        {"elsewhere", "%1 tells %2 but answers from another address"},
        {"unverified", "%1 accepted %2 but was not heard again"},
        {"no answer", "%1 did not answer to the new settings %2"},
        {"not found", "%1 was not found, so it did not get %2"},
        {"blocked", "%1 did not get %2: another panel still holds the address"},
        {"trouble", "%1 did not get %2: this computer could not send"},
        {"not tried", "%1 did not get %2: interrupted before"},
    };
    static_assert(std::size(facts) == OutcomeCount, "one row for each outcome, in their order");
    return facts[static_cast<std::size_t>(outcome)];
}

} // namespace

const char *outcomeName(Outcome outcome)
{
    return factsOf(outcome).name;
}

QString outcomeSentence(Outcome outcome, const MacAddress &mac, const NetworkSettings &wanted)
{
    return QString::fromLatin1(factsOf(outcome).sentence).arg(macText(mac), settingsText(wanted));
}

SetResult unsent(Outcome outcome)
{
    return {outcome, false, {}, {}, {}};
}

SetResult applySettings(Exchange &exchange, Panel &panel, const NetworkSettings &settings,
                        const Patience &patience, std::optional<std::uint32_t> reachedAt,
                        const std::optional<SettingsWait> &wait)
{
    return SettingsChange(exchange, settings, patience, reachedAt, wait).run(panel);
}

QString settingsText(const NetworkSettings &settings)
{
    return addressWithNetmask(settings.address, settings.netmask) +
           (settings.gateway == 0 ? QStringLiteral(", no gateway")
                                  : QStringLiteral(", gateway ") + ipv4Text(settings.gateway));
}
