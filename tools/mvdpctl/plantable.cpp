#include "plantable.h"

#include "terminal.h"

#include <algorithm>
#include <vector>

namespace
{

const int MacColumns = 19;
const int AddressColumns = 24;
const int ResultColumns = 12;
const QString Gap = QStringLiteral("  ");

struct Row {
    QString left;
    QString right; // can be empty
};

struct Section {
    QString mac;
    std::vector<Row> rows; // never empty
    QStringList notes;
    PanelLabel label;
};

// Behind a blank at least, at this column or further on.
QString atColumn(const QString &text, int column, const QString &more)
{
    return text.isEmpty() ? more : (text + QLatin1Char(' ')).leftJustified(column) + more;
}

bool fits(const QString &line, int columns)
{
    return columns == 0 || line.size() <= columns;
}

// Indented and broken between words.
QStringList indented(const QString &text, int columns)
{
    const int gap = static_cast<int>(Gap.size());
    const QString lines = columns == 0 ? text : wrapped(text, columns - gap);
    return (Gap + lines).split(QLatin1Char('\n'));
}

Section sectionOf(const PlanStep &step)
{
    Section section = {macText(step.entry.mac), {}, {}, step.entry.label};
    if (!step.isFound()) {
        section.rows = {{QStringLiteral("not found"), QString()}};
        return section;
    }
    const QString now = addressWithNetmask(step.now->address, step.now->netmask);
    const QString wanted = addressWithNetmask(step.wanted.address, step.wanted.netmask);
    if (step.isAlreadySo()) {
        section.rows = {{now, QStringLiteral("already as planned")}};
        return section;
    }
    const QString arrow = QStringLiteral("-> ");
    if (wanted != now)
        section.rows.push_back({now, arrow + wanted});
    if (step.wanted.gateway != step.now->gateway)
        section.rows.push_back({QStringLiteral("gateway ") + ipv4Text(step.now->gateway),
                                arrow + ipv4Text(step.wanted.gateway)});
    if (!step.isWhereItTells && step.now->address != 0)
        section.notes << QStringLiteral("(but answers from %1)").arg(ipv4Text(step.now->source));
    if (section.rows.empty())
        section.rows.push_back({now, section.notes.isEmpty() ? QString() : section.notes.takeFirst()});
    if (step.opensCircle)
        section.notes << QStringLiteral("(still held by another panel until that one's turn)");
    return section;
}

QString joined(const Row &row, int column)
{
    return row.right.isEmpty() ? row.left : atColumn(row.left, column, row.right);
}

QStringList wideLines(const Section &section)
{
    QStringList lines;
    for (const Row &row : section.rows)
        lines << joined(row, AddressColumns);
    lines << section.notes;
    for (int index = 0; index < static_cast<int>(lines.size()); ++index)
        lines[index].prepend((index == 0 ? section.mac : QString()).leftJustified(MacColumns));
    return lines;
}

QStringList narrowLines(const Section &section, int columns)
{
    QStringList lines = {section.mac};
    const QString label = labelText(section.label);
    if (!label.isEmpty() && fits(section.mac + Gap + label, columns))
        lines.first() += Gap + label;
    else if (!label.isEmpty())
        lines << indented(label, columns);
    for (const Row &row : section.rows) {
        const QString line = Gap + joined(row, 0);
        if (fits(line, columns))
            lines << line;
        else
            lines << Gap + row.left << Gap + row.right;
    }
    for (const QString &note : section.notes)
        lines << indented(note, columns);
    return lines;
}

QStringList wideTable(const std::vector<Section> &sections, bool hasRemarks)
{
    int width = 0; // of the first lines
    for (const Section &section : sections)
        width = std::max(width, static_cast<int>(wideLines(section).first().size() + Gap.size()));
    QStringList lines;
    for (const Section &section : sections) {
        const QString label = hasRemarks ? labelText(section.label) : section.label.name;
        QStringList its = wideLines(section);
        if (!label.isEmpty())
            its.first() = atColumn(its.first(), width, label);
        lines << its;
    }
    return lines;
}

QStringList narrowTable(const std::vector<Section> &sections, int columns)
{
    QStringList lines;
    for (const Section &section : sections)
        lines << narrowLines(section, columns);
    return lines;
}

} // namespace

QString labelText(const PanelLabel &label)
{
    const bool isPair = !label.name.isEmpty() && !label.remark.isEmpty();
    return label.name + (isPair ? QStringLiteral(", ") : QString()) + label.remark;
}

QStringList planLines(const Plan &plan, int columns)
{
    std::vector<Section> sections;
    for (const PlanStep &step : plan.steps)
        sections.push_back(sectionOf(step));
    for (const bool hasRemarks : {true, false}) {
        QStringList lines = wideTable(sections, hasRemarks);
        if (std::all_of(lines.begin(), lines.end(),
                        [columns](const QString &line) { return fits(line, columns); }))
            return lines;
    }
    return narrowTable(sections, columns);
}

QStringList planResultLines(const PlanEntry &entry, const QString &result, const QString &settings, int width,
                            int columns)
{
    const QString start = macText(entry.mac).leftJustified(MacColumns) + result;
    const QString told = settings.isEmpty() ? start : atColumn(start, MacColumns + ResultColumns, settings);
    const QString label = labelText(entry.label);
    for (const QString &each : {label, entry.label.name}) {
        const int column = MacColumns + ResultColumns + width + static_cast<int>(Gap.size());
        const QString whole = each.isEmpty() ? told : atColumn(told, column, each);
        if (fits(whole, columns) && each.isEmpty() == label.isEmpty())
            return {whole};
    }
    QStringList lines = {start};
    if (fits(told, columns))
        lines = QStringList{told};
    else if (!settings.isEmpty())
        lines << indented(settings, columns);
    if (!label.isEmpty())
        lines << indented(label, columns);
    return lines;
}
