// A front end that uses the library alone: an observer, and blocking calls. It runs in its own network
// namespace, on the loopback.

#include "discovery.h"
#include "echorun.h"
#include "panelaction.h"
#include "panelreturn.h"
#include "panelwatcher.h"
#include "playedpanel.h"
#include "settingschange.h"
#include "support/namespaces.h"
#include "toolerror.h"

#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>

#include <algorithm>
#include <functional>
#include <memory>

namespace
{

const Patience Patient = {60, std::chrono::seconds(1)};

// The part of a window.
class FrontEnd : public Observer
{
public:
    void progress(const QString &doing) override { doings << doing; }
    void warning(const QString &sentence) override { warnings << sentence; }
    void sent(const Request &request, const std::vector<Destination> &destinations) override
    {
        commandsSent << request.datagram.command();
        destinationsSent << int(destinations.size());
        if (onSent)
            onSent();
    }
    void overrun(std::uint32_t datagrams, int) override { overruns << datagrams; }
    void received(const Received &datagram) override { commandsReceived << datagram.datagram.command(); }

    Panel onlyPanel()
    {
        const auto isFound = [](const PanelList &panels) { return !panels.isEmpty(); };
        const PanelList panels = discoverPanels(exchange, {transport.everywhere(), Patient, isFound});
        return panels.isEmpty() ? Panel() : panels.sorted().front();
    }

    QStringList doings;
    QStringList warnings;
    QList<int> commandsSent;
    QList<int> destinationsSent; // their number each time
    QList<std::uint32_t> overruns;
    std::function<void()> onSent; // nothing is received meanwhile
    QList<int> commandsReceived;
    Transport transport{{QStringLiteral("lo"), 0}};
    Exchange exchange{transport, *this};
};

// Sends to the front end's socket until the system drops some of it.
void overrun(const FrontEnd &frontEnd)
{
    const QByteArray junk(8192, 'x');
    const std::uint32_t before = frontEnd.transport.overruns();
    QUdpSocket sender;
    while (frontEnd.transport.overruns() == before)
        sender.writeDatagram(junk, QHostAddress(QHostAddress::LocalHost), frontEnd.transport.localPort());
}

} // namespace

class EngineTest : public QObject
{
    Q_OBJECT

private slots:
    void searchIsToldToTheObserver();
    void searchAfterAnOverrunIsSpread();
    void searchEndsWhenInterrupted();
    void settingsAreChanged();
    void commandIsCarriedOut();
    void onlyHarmlessCommandsAreRepeated();
    void echoesEndWhenInterrupted();
    void echoesOfSeveralAreToldApart();
    void watchEndsWhenInterrupted();
    void returnIsAwaited();
    void settingsAreAwaited();
    void errorsSayTheirKind();
};

void EngineTest::searchIsToldToTheObserver()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    QCOMPARE(macText(frontEnd.onlyPanel().mac), QStringLiteral("02:00:5e:10:00:01"));
    QVERIFY(frontEnd.doings.first().startsWith(QStringLiteral("searching, round 1 ")));
    QVERIFY(frontEnd.commandsSent.startsWith(1));
    QVERIFY(frontEnd.commandsReceived.startsWith(1));
    QCOMPARE(frontEnd.warnings, QStringList());
}

// The loopback has two destinations: the limited and the directed broadcast.
void EngineTest::searchAfterAnOverrunIsSpread()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    int rounds = 0;
    // While rounds overrun the buffer, they are not quiet ones. The socket has room again in the next.
    frontEnd.onSent = [&frontEnd, &rounds] {
        if (frontEnd.destinationsSent.size() % 2 == 1 && ++rounds <= 4)
            overrun(frontEnd);
    };
    const PanelList panels =
        discoverPanels(frontEnd.exchange, {frontEnd.transport.everywhere(), {60, std::chrono::seconds(1)}});
    QCOMPARE(panels.size(), std::size_t(1));
    QVERIFY(rounds >= 6);
    QVERIFY(rounds < 60);
    QCOMPARE(frontEnd.destinationsSent.first(), 2);
    QCOMPARE(frontEnd.destinationsSent.count(1), frontEnd.destinationsSent.size() - 1);
    QCOMPARE(frontEnd.overruns, QList<std::uint32_t>({frontEnd.transport.overruns()}));
}

void EngineTest::searchEndsWhenInterrupted()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    int looks = 0;
    const auto isInterrupted = [&frontEnd, &looks] {
        return frontEnd.doings.last().endsWith(QStringLiteral("panels: 1")) && ++looks > 3;
    };
    const PanelList panels = discoverPanels(
        frontEnd.exchange, {frontEnd.transport.everywhere(), {6, std::chrono::hours(1)}, {}, isInterrupted});
    QCOMPARE(panels.size(), std::size_t(1));
    QCOMPARE(frontEnd.commandsSent, QList<int>({1}));
}

void EngineTest::settingsAreChanged()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    Panel panel = frontEnd.onlyPanel();
    const NetworkSettings wanted = {0x7F000001, 0xFFFF0000, 0x7F000002};
    const SetResult result = applySettings(frontEnd.exchange, panel, wanted, Patient, std::nullopt);
    QCOMPARE(outcomeName(result.outcome), "applied");
    QVERIFY(result.isHeard);
    QCOMPARE(settingsText(settingsOf(panel)), QStringLiteral("127.0.0.1/16, gateway 127.0.0.2"));
}

void EngineTest::commandIsCarriedOut()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    const ActionOrder wink = {MvdpCommand::Wink, QStringLiteral("wink"), Patient, Patient, std::nullopt};
    QCOMPARE(int(sendAction(frontEnd.exchange, frontEnd.onlyPanel(), wink).outcome), int(ActionResult::Done));
    QCOMPARE(frontEnd.commandsSent.count(7), 1);
}

void EngineTest::onlyHarmlessCommandsAreRepeated()
{
    QCOMPARE(actionPatience(MvdpCommand::Wink).rounds, 8);
    for (const MvdpCommand command : {MvdpCommand::Restart, MvdpCommand::ResetNetwork,
                                      MvdpCommand::RestoreDefaults, MvdpCommand::RestoreDefaultsRelative})
        QCOMPARE(actionPatience(command).rounds, 1);
}

// This and the next are interrupted in the middle of a wait of an hour, three looks after an answer.
void EngineTest::echoesEndWhenInterrupted()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    QList<int> numbers;
    int looks = 0;
    const EchoStatistics statistics = runEchoes(
        frontEnd.exchange, {0x7F000001, {100, std::chrono::hours(1), std::chrono::hours(1)}},
        [&numbers](const Echo &echo) { numbers << echo.number; },
        [&numbers, &looks] { return !numbers.isEmpty() && ++looks > 3; });
    QCOMPARE(numbers, QList<int>({1}));
    QCOMPARE(statistics.answered(), 1);
}

// By the routing table, the panel is at every address of the loopback, and no route leads elsewhere.
void EngineTest::echoesOfSeveralAreToldApart()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    Transport routed({QString(), 0});
    Exchange exchange(routed, frontEnd);
    QList<QPair<int, int>> echoes; // target and number
    const auto statistics = runEchoes(
        exchange, {0x7F000001, 0x0A000001, 0x7F000002},
        {2, std::chrono::milliseconds(0), std::chrono::hours(1)},
        [&echoes](const Echo &echo) { echoes << qMakePair(int(echo.target), echo.number); },
        [&echoes] { return echoes.size() == 4; });
    std::sort(echoes.begin(), echoes.end());
    QCOMPARE(echoes, (QList<QPair<int, int>>{{0, 1}, {0, 2}, {2, 1}, {2, 2}}));
    QCOMPARE(statistics.size(), std::size_t(3));
    for (const std::size_t target : {0u, 2u})
        QCOMPARE(statistics[target].answered(), 2);
    QCOMPARE(statistics[1].lost(), 2);
    QCOMPARE(frontEnd.warnings.size(), 1);
    QVERIFY(frontEnd.warnings.first().startsWith(QStringLiteral("nothing can be sent to 10.0.0.1")));
}

void EngineTest::watchEndsWhenInterrupted()
{
    const PlayedPanel played;
    FrontEnd frontEnd;
    PanelWatcher watcher(frontEnd.exchange, {3, std::chrono::hours(1)});
    QStringList events;
    int looks = 0;
    watcher.start();
    watcher.run([&events](const PanelEvent &event) { events << QLatin1String(eventName(event.kind)); },
                [&events, &looks] { return !events.isEmpty() && ++looks > 3; });
    QCOMPARE(events, QStringList({"appeared"}));
    QCOMPARE(watcher.size(), std::size_t(1));
}

// It is told once, however long the front end goes on.
void EngineTest::returnIsAwaited()
{
    auto played = std::make_unique<PlayedPanel>();
    FrontEnd frontEnd;
    const MacAddress mac = frontEnd.onlyPanel().mac;
    const MacAddress absent = {2, 0, 0x5E, 0x10, 0, 9};
    QList<AwaitedPanel> returned;
    int asked = 0;
    const auto goAndComeBack = [&] {
        if (frontEnd.commandsReceived.count(1) > 1 && played && asked == 0) {
            played.reset();
            asked = int(frontEnd.commandsSent.size());
        } else if (frontEnd.commandsSent.size() > asked + 4 && !played) {
            played = std::make_unique<PlayedPanel>();
        }
        return !returned.isEmpty();
    };
    const auto panels = awaitReturns(
        frontEnd.exchange, {mac, absent, mac}, std::nullopt,
        [&returned](const AwaitedPanel &panel) { returned << panel; }, goAndComeBack);
    QCOMPARE(returned.size(), 1);
    QCOMPARE(returned[0].panel.mac, mac);
    QCOMPARE(panels.size(), std::size_t(2));
    QCOMPARE(int(panels[0].state), int(AwaitedPanel::Back));
    QVERIFY(panels[0].after >= 3 * ReturnRound);
    QCOMPARE(int(panels[1].state), int(AwaitedPanel::Away));
    QVERIFY(frontEnd.doings.last().startsWith(QStringLiteral("waiting for 1 of 2 panels, ")));
}

// The panel is not heard until long after the usual time; then the wait is interrupted as it takes hold.
void EngineTest::settingsAreAwaited()
{
    auto played = std::make_unique<PlayedPanel>();
    FrontEnd frontEnd;
    Panel panel = frontEnd.onlyPanel();
    played.reset();
    const Patience hasty = {1, std::chrono::milliseconds(100)};
    const NetworkSettings wanted = {0x7F000001, 0xFF000000, 0};
    const auto searches = frontEnd.commandsSent.count(4);
    const SettingsWait wait = {std::chrono::hours(1), [&] {
                                   if (!played && frontEnd.commandsSent.count(4) > searches + 10)
                                       played = std::make_unique<PlayedPanel>();
                                   return false;
                               }};
    const SetResult result = applySettings(frontEnd.exchange, panel, wanted, hasty, std::nullopt, wait);
    QCOMPARE(outcomeName(result.outcome), "applied");
    QVERIFY(result.shownAfter.value_or(std::chrono::milliseconds(0)) >= 10 * hasty.timeout);
    played.reset();
    int looks = 0;
    const SettingsWait shortWait = {std::chrono::hours(1), [&looks] { return ++looks > 3; }};
    const SetResult silent = applySettings(frontEnd.exchange, panel, wanted, hasty, std::nullopt, shortWait);
    QCOMPARE(outcomeName(silent.outcome), "no answer");
    QVERIFY(!silent.shownAfter);
}

void EngineTest::errorsSayTheirKind()
{
    const auto kindOf = [](const TransportOptions &options) {
        try {
            const Transport transport(options);
        } catch (const ToolError &error) {
            return int(error.kind);
        }
        return -1;
    };
    const Transport first({QStringLiteral("lo"), 40000});
    QCOMPARE(kindOf({QStringLiteral("lo"), 40000}), int(ToolError::PortTaken));
    QCOMPARE(kindOf({QStringLiteral("nowhere"), 0}), int(ToolError::NetworkTrouble));
}

int main(int argc, char *argv[])
{
    enterOwnNetworkNamespace();
    if (!runProgram(QStringLiteral("ip"), {QStringLiteral("link"), QStringLiteral("set"),
                                           QStringLiteral("lo"), QStringLiteral("up")}))
        return 1;
    const QCoreApplication application(argc, argv);
    EngineTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "enginetest.moc"
