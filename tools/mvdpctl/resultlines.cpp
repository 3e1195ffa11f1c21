#include "resultlines.h"

#include "waiting.h"

#include <algorithm>
#include <numeric>

namespace
{

const int FirstColumns = 17;  // a MAC address
const int ResultColumns = 10; // the longest result
const int NameColumns = 15;
const int Gap = 2;

QString padded(const QString &text, int columns)
{
    return text.leftJustified(columns) + QString(Gap, QLatin1Char(' '));
}

} // namespace

QString resultLine(const QString &first, const QString &result, const QStringList &cells, int columns)
{
    QString line = padded(first, FirstColumns) + result;
    if (cells.isEmpty())
        return line;
    line = padded(first, FirstColumns) + padded(result, ResultColumns);
    const int room = columns - static_cast<int>(line.size());
    const QString text = cells.join(QString(Gap, QLatin1Char(' '))).trimmed();
    if (columns == 0 || text.size() <= room)
        return line + text;
    if (cells.size() > 1)
        return resultLine(first, result, cells.mid(0, cells.size() - 1), columns);
    return line + cutTo(text, std::max(1, room));
}

QStringList factsOf(const Panel &panel, const Session &session)
{
    const QString name = session.nameOf(panel);
    const QString text = name.isEmpty() ? panel.description : name;
    return {(text.isEmpty() ? QStringLiteral("-") : text).leftJustified(NameColumns),
            ipv4Text(panel.heldAddress())};
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
    QStringList cells = panel ? factsOf(*panel, session) : QStringList();
    if (waited)
        cells.insert(1, QStringLiteral("after %1").arg(secondsText(*waited)));
    session.writer->print({resultLine(panel ? macText(panel->mac) : selected.word, QLatin1String(result),
                                      cells, session.terminal.columns())});
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
