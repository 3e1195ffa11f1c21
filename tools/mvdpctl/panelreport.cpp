#include "panelreport.h"

#include "marklines.h"
#include "marks.h"

#include <QtCore/QJsonArray>

#include <algorithm>

namespace
{

void printTable(const std::vector<PanelRow> &rows, std::size_t found, Session &session)
{
    Writer &writer = *session.writer;
    const PanelTable table = panelTable(rows, {session.terminal.columns(), session.terminal.hasColor()});
    writer.print(table.lines);
    const QString all = found == 1 ? QStringLiteral("1 panel.") : QStringLiteral("%1 panels.").arg(found);
    writer.note(rows.size() < found ? QStringLiteral("%1 of %2").arg(QString::number(rows.size()), all)
                                    : all);
    if (!table.leftOut.isEmpty())
        writer.note(
            QStringLiteral("Left out for want of room: %1.").arg(table.leftOut.join(QStringLiteral(", "))));
}

} // namespace

void reportPanels(const PanelList &panels, const std::function<bool(const Panel &)> &isShown,
                  Session &session)
{
    const auto &interfaces = session.transport.interfaces();
    const std::vector<Panel> sorted = panels.sorted();
    const std::vector<Marks> marks = marksOf(panels, interfaces);
    const QString marksMember = QStringLiteral("marks");
    Writer &writer = *session.writer;
    writer.beginList(panelColumns() + QStringList{marksMember} + labelColumns(), QStringLiteral("panels"));
    std::vector<PanelRow> rows;
    for (std::size_t index = 0; index < sorted.size(); ++index) {
        if (!isShown(sorted[index]))
            continue;
        rows.push_back({sorted[index], marks[index], session.nameOf(sorted[index])});
        QJsonObject record = session.json(sorted[index]);
        record.insert(marksMember, QJsonArray::fromStringList(markNames(marks[index])));
        writer.add(record);
    }
    writer.endList(session.exchange.ignored());
    if (rows.empty())
        return;
    printTable(rows, sorted.size(), session);
    std::vector<MarkNote> notes = markNotes(panels, interfaces);
    notes.erase(std::remove_if(notes.begin(), notes.end(),
                               [&rows](const MarkNote &note) {
                                   return std::none_of(
                                       rows.begin(), rows.end(),
                                       [&note](const PanelRow &row) { return row.marks.*note.mark; });
                               }),
                notes.end());
    for (const QString &line : markLines(notes))
        writer.note(line);
}
