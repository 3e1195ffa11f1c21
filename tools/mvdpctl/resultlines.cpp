#include "resultlines.h"

#include "waiting.h"

#include <numeric>

namespace
{

const int FirstColumns = 19;  // a MAC address and a gap
const int AfterColumns = 15;  // "after 299.9 s" and a gap
const int ResultColumns = 12; // the longest result and a gap

} // namespace

QString resultLine(const QString &first, const QString &result, const QString &rest, int columns)
{
    const QString start = first.leftJustified(FirstColumns - 2) + QStringLiteral("  ") + result;
    if (rest.isEmpty())
        return start;
    const QString line = start.leftJustified(FirstColumns + ResultColumns) + rest;
    if (columns == 0 || line.size() <= columns)
        return line;
    // Whole columns go first; they are separated by two blanks.
    const int gap = static_cast<int>(line.lastIndexOf(QStringLiteral("  ")));
    return resultLine(first, result, rest.left(std::max(0, gap - FirstColumns - ResultColumns)).trimmed(),
                      columns);
}

QString factsText(const Panel &panel, const Session &session)
{
    const QString name = session.nameOf(panel);
    const QString second = name.isEmpty() ? panel.description : name;
    const int addressColumns = 15;
    const QString address = ipv4Text(panel.heldAddress());
    return second.isEmpty() ? address : address.leftJustified(addressColumns) + QStringLiteral("  ") + second;
}

QStringList resultColumns()
{
    return QStringList{QStringLiteral("command"), QStringLiteral("result")} + panelColumns() +
           labelColumns() + QStringList{QStringLiteral("word"), secondsColumn()};
}

QJsonObject resultJson(const char *command, const char *result, const Selected &selected, OutcomeTime waited,
                       const Session &session)
{
    const auto &panel = selected.panel;
    return {{QStringLiteral("command"), QLatin1String(command)},
            {QStringLiteral("result"), QLatin1String(result)},
            {QStringLiteral("panel"), panel ? QJsonValue(session.json(*panel)) : QJsonValue()},
            {QStringLiteral("word"), selected.word.isEmpty() ? QJsonValue() : QJsonValue(selected.word)},
            {secondsColumn(), secondsJson(waited)}};
}

void reportResult(const char *command, const char *result, const Selected &selected, OutcomeTime waited,
                  Session &session)
{
    session.writer->add(resultJson(command, result, selected, waited, session));
    const auto &panel = selected.panel;
    QString facts = panel ? factsText(*panel, session) : QString();
    if (waited)
        facts = QStringLiteral("after %1  ").arg(secondsText(*waited)).leftJustified(AfterColumns) + facts;
    session.writer->print({resultLine(panel ? macText(panel->mac) : selected.word, QLatin1String(result),
                                      facts, session.terminal.columns())});
}

int WorstCode::all() const
{
    return std::accumulate(m_counts.begin(), m_counts.end(), 0,
                           [](int sum, const auto &count) { return sum + count.second; });
}

int WorstCode::good() const
{
    const auto done = m_counts.find(ExitCode::Done);
    return done == m_counts.end() ? 0 : done->second;
}

ExitCode WorstCode::code() const
{
    for (const ExitCode code : {ExitCode::Refused, ExitCode::NetworkTrouble, ExitCode::NoAnswer}) {
        if (m_counts.count(code) > 0)
            return code;
    }
    return ExitCode::Done;
}
