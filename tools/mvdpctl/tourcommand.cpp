#include "command.h"
#include "interrupt.h"
#include "panelaction.h"
#include "resultlines.h"
#include "selection.h"
#include "session.h"
#include "target.h"
#include "toolerror.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

const char Instructions[] =
    "Each panel shows its notice for five seconds. Type its name. Enter alone goes on to the "
    "next; 'again' shows the notice again, 'back' returns to the panel before, 'skip' goes "
    "on without a name, 'stop' ends the tour. Each name is saved at once.";

// What became of a panel; in text, JSON and CSV.
const char NotReached[] = "not reached";
const char Named[] = "named";
const char Kept[] = "kept";
const char Skipped[] = "skipped";
const char NoAnswer[] = "no answer";

class Tour
{
public:
    Tour(std::vector<Panel> panels, Session &session);

    ExitCode run();

private:
    enum class Next { Forward, Back, Again, End };

    void arrive(std::size_t index, const InterruptGuard &guard);
    Next ask(std::size_t index, const InterruptGuard &guard);
    std::optional<Next> take(std::size_t index, const QString &answer);
    bool rename(std::size_t index, const QString &name);
    void report();

    std::vector<Panel> m_panels;
    std::vector<const char *> m_results;
    std::vector<bool> m_isSilent;
    Session &m_session;
    const QString m_path;
};

// Empty when the answer can be taken down.
QString mistakeIn(const QString &answer)
{
    if (answer.isEmpty())
        return QString();
    // What the terminal's character set does not know was replaced by this one.
    if (answer.contains(QChar::ReplacementCharacter))
        return QStringLiteral("the name has characters that cannot be read");
    return PanelNames::nameMistake(answer);
}

Tour::Tour(std::vector<Panel> panels, Session &session)
    : m_panels(std::move(panels))
    , m_results(m_panels.size(), NotReached)
    , m_isSilent(m_panels.size(), false)
    , m_session(session)
    , m_path(namesPath(session.arguments))
{
}

ExitCode Tour::run()
{
    const InterruptGuard guard;
    // A file that cannot be written is better known before the first name.
    m_session.names.write(m_path);
    m_session.terminal.note(QString::fromLatin1(Instructions));
    std::size_t index = 0;
    while (index < m_panels.size()) {
        arrive(index, guard);
        const Next next = ask(index, guard);
        if (next == Next::End)
            break;
        if (next == Next::Forward)
            ++index;
        else if (next == Next::Back && index > 0)
            --index;
    }
    report();
    const bool isAnySilent = std::find(m_isSilent.begin(), m_isSilent.end(), true) != m_isSilent.end();
    return isAnySilent ? ExitCode::NoAnswer : ExitCode::Done;
}

// Shows which panel it is, and has it show its notice.
void Tour::arrive(std::size_t index, const InterruptGuard &guard)
{
    Panel &panel = m_panels[index];
    m_session.terminal.question(
        QStringLiteral("%1 of %2: %3").arg(index + 1).arg(m_panels.size()).arg(m_session.label(panel)));
    showOnly(panel, m_session);
    const Patience usual = actionPatience(MvdpCommand::Wink);
    try {
        const ActionResult result =
            sendAction(m_session.exchange, panel,
                       {MvdpCommand::Wink, QStringLiteral("wink"), m_session.searchPatience(),
                        m_session.arguments.patience(usual.rounds, usual.timeout), m_session.reachedAt(),
                        [&guard] { return guard.isInterrupted(); }});
        panel = result.panel;
        m_isSilent[index] = result.outcome != ActionResult::Done;
        if (m_isSilent[index] && !guard.isInterrupted())
            m_session.terminal.error(QStringLiteral("it does not answer, so no screen shows its notice"));
    } catch (const ToolError &error) {
        m_session.terminal.error(error.message);
        m_isSilent[index] = true;
    }
    if (m_results[index] == NotReached || m_results[index] == NoAnswer)
        m_results[index] = m_isSilent[index] ? NoAnswer : Skipped;
}

// Asks until there is an answer that makes sense.
Tour::Next Tour::ask(std::size_t index, const InterruptGuard &guard)
{
    const QString name = m_session.nameOf(m_panels[index]);
    const QString prompt =
        name.isEmpty() ? QStringLiteral("Name> ") : QStringLiteral("Name [%1]> ").arg(name);
    while (!guard.isInterrupted()) {
        const auto answer = m_session.terminal.readLine(prompt, [&guard] { return guard.isInterrupted(); });
        if (!answer)
            break;
        const QString mistake = mistakeIn(*answer);
        if (mistake.isEmpty()) {
            if (const auto next = take(index, *answer))
                return *next;
        } else {
            m_session.terminal.error(mistake);
        }
    }
    return Next::End;
}

// Nothing when the name could not be saved.
std::optional<Tour::Next> Tour::take(std::size_t index, const QString &answer)
{
    const QString word = answer.toLower();
    if (word == QLatin1String("stop"))
        return Next::End;
    if (word == QLatin1String("again"))
        return Next::Again;
    if (word == QLatin1String("back"))
        return Next::Back;
    const bool isName = !answer.isEmpty() && word != QLatin1String("skip");
    if (isName && !rename(index, answer))
        return std::nullopt;
    const bool isKept =
        answer.isEmpty() && m_results[index] != Named && !m_session.nameOf(m_panels[index]).isEmpty();
    if (isKept)
        m_results[index] = Kept;
    return Next::Forward;
}

bool Tour::rename(std::size_t index, const QString &name)
{
    const MacAddress mac = m_panels[index].mac;
    try {
        // What others have written into the file in the meantime stays.
        m_session.names = PanelNames::read(m_path);
        m_session.names.setName(mac, name);
        m_session.names.write(m_path);
    } catch (const ToolError &error) {
        m_session.terminal.error(error.message);
        return false;
    }
    for (const MacAddress &other : m_session.names.named(name)) {
        if (other != mac)
            m_session.terminal.error(QStringLiteral("'%1' is also the name of %2: give one of them another")
                                         .arg(name, macText(other)));
    }
    m_results[index] = Named;
    return true;
}

void Tour::report()
{
    m_session.writer->beginList(resultColumns(), QStringLiteral("results"));
    for (std::size_t index = 0; index < m_panels.size(); ++index) {
        const Selected selected = {QString(), m_panels[index]};
        reportResult("tour", m_results[index], selected, std::nullopt, m_session);
    }
    m_session.writer->endList(m_session.exchange.ignored());
    const auto named =
        std::count_if(m_results.begin(), m_results.end(), [](const char *result) { return result == Named; });
    if (named > 0)
        m_session.terminal.note(QStringLiteral("%1 named in %2.").arg(named).arg(m_path));
    m_session.noteIgnored();
}

ExitCode run(const Arguments &arguments, Terminal &terminal)
{
    if (!terminal.canAsk())
        throwUsage(QStringLiteral("'tour' asks for names, and there is no terminal to ask on"),
                   QStringLiteral("Without one, write the file of names yourself; see the manual."));
    Session session(arguments, terminal, NamesFile::MayBeNew);
    Selection selection = selectPanels(namesOfWords(session), true, session);
    leaveOutUnknown(selection, session);
    std::vector<Panel> panels;
    for (const Selected &selected : selection.items) {
        if (selected.panel)
            panels.push_back(*selected.panel);
        else
            terminal.error(
                misfitText(panelNameFromText(selected.word, session.names), selection.panels, session));
    }
    return Tour(std::move(panels), session).run();
}

} // namespace

const Command TourCommand = {
    "tour",
    "[PANEL...]",
    "Wink at one panel after the other and take down their names.",
    "Has each panel show its notice, says on the terminal which one it is, and asks\n"
    "for its name, for example 'Cabinet 7'. 'again', 'back', 'skip' and 'stop' are\n"
    "answers, too. Names are saved in --names FILE or in your own file; they then\n"
    "stand in every table, and can be given in place of a MAC address. With PANEL\n"
    "only those that fit are visited. Ctrl-C ends the tour; what was named stays.",
    {{}, 0, MostPanels},
    run,
};
