#include "output.h"

#include "settingschange.h"
#include "waiting.h"

#include <QtCore/QJsonValue>

#include <algorithm>
#include <array>

namespace
{

enum Column { Mac, Address, Gateway, Version, Name, Description, ColumnCount };
const int ColumnGap = 2;
// The last column is never cut shorter than this; the lines wrap instead.
const int LeastCell = 4;

using Row = std::array<QString, ColumnCount>;
using Columns = std::vector<Column>;

QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

const Row &headings()
{
    static const Row row = {QStringLiteral("MAC ADDRESS"), QStringLiteral("ADDRESS"),
                            QStringLiteral("GATEWAY"),     QStringLiteral("VERSION"),
                            QStringLiteral("NAME"),        QStringLiteral("DESCRIPTION")};
    return row;
}

QString signsOf(const Marks &marks)
{
    return QLatin1String(marks.sharedAddress ? "*" : "") + QLatin1String(marks.foreignSubnet ? "!" : "");
}

Row rowOf(const PanelRow &row)
{
    const Panel &panel = row.panel;
    const QString signs = signsOf(row.marks);
    return {macText(panel.mac),
            addressWithNetmask(panel.address, panel.netmask) +
                (signs.isEmpty() ? signs : QLatin1Char(' ') + signs),
            orDash(panel.gateway == 0 ? QString() : ipv4Text(panel.gateway)),
            versionOrUnknown(panel),
            orDash(row.name),
            orDash(panel.description)};
}

// Red for what has to be mended, yellow for what has to be known.
QString colored(const QString &cell, const QString &signs)
{
    QString text = cell;
    const auto start = cell.size() - signs.size();
    for (int index = static_cast<int>(signs.size()); index-- > 0;) {
        const bool isAlarm = signs.at(index) == QLatin1Char('*');
        text.replace(start + index, 1,
                     QStringLiteral("\x1b[%1m%2\x1b[0m").arg(isAlarm ? 31 : 33).arg(signs.at(index)));
    }
    return text;
}

class Table
{
public:
    Table(const std::vector<PanelRow> &rows, const TableStyle &style);

    PanelTable lines() const;

private:
    Columns chosenColumns() const;
    int widthOf(const Columns &columns) const;
    QString line(const Row &row, const QString &signs, const Columns &columns) const;

    const std::vector<PanelRow> &m_rows;
    TableStyle m_style;
    std::vector<Row> m_cells; // with the headings
    std::array<int, ColumnCount> m_widths = {};
    bool m_hasNames;
};

Table::Table(const std::vector<PanelRow> &rows, const TableStyle &style)
    : m_rows(rows)
    , m_style(style)
    , m_cells{headings()}
    , m_hasNames(
          std::any_of(rows.begin(), rows.end(), [](const PanelRow &row) { return !row.name.isEmpty(); }))
{
    for (const PanelRow &row : rows)
        m_cells.push_back(rowOf(row));
    for (const Row &row : m_cells) {
        for (std::size_t column = 0; column < ColumnCount; ++column)
            m_widths[column] = std::max(m_widths[column], static_cast<int>(row[column].size()));
    }
}

int Table::widthOf(const Columns &columns) const
{
    int width = -ColumnGap;
    for (const Column column : columns)
        width += m_widths[column] + ColumnGap;
    return width;
}

// The first choice that fits. What tells panels apart goes last.
Columns Table::chosenColumns() const
{
    const std::vector<Columns> choices =
        m_hasNames ? std::vector<Columns>{{Mac, Address, Gateway, Version, Name, Description},
                                          {Mac, Address, Version, Name, Description},
                                          {Mac, Address, Name, Description},
                                          {Mac, Address, Gateway, Version, Name},
                                          {Mac, Address, Version, Name},
                                          {Mac, Address, Name}}
                   : std::vector<Columns>{{Mac, Address, Gateway, Version, Description},
                                          {Mac, Address, Version, Description},
                                          {Mac, Address, Description}};
    for (const Columns &columns : choices) {
        if (m_style.columns == 0 || widthOf(columns) <= m_style.columns)
            return columns;
    }
    return choices.back();
}

QString Table::line(const Row &row, const QString &signs, const Columns &columns) const
{
    QString text;
    int width = 0;
    for (const Column column : columns) {
        if (column == columns.back()) {
            const int left = std::max(LeastCell, m_style.columns - width);
            return text + (m_style.columns == 0 ? row[column] : cutTo(row[column], left));
        }
        const QString blanks(m_widths[column] + ColumnGap - static_cast<int>(row[column].size()),
                             QLatin1Char(' '));
        text += (column == Address && m_style.isColored ? colored(row[column], signs) : row[column]) + blanks;
        width += m_widths[column] + ColumnGap;
    }
    return text;
}

PanelTable Table::lines() const
{
    const Columns columns = chosenColumns();
    PanelTable table;
    for (std::size_t index = 0; index < m_cells.size(); ++index)
        table.lines << line(m_cells[index], index == 0 ? QString() : signsOf(m_rows[index - 1].marks),
                            columns);
    for (std::size_t column = 0; column < ColumnCount; ++column) {
        const bool isShown = std::find(columns.begin(), columns.end(), column) != columns.end();
        if (!isShown && (column != Name || m_hasNames))
            table.leftOut << headings()[column];
    }
    return table;
}

} // namespace

QString cutTo(const QString &text, int columns)
{
    return text.size() <= columns ? text : text.left(columns - 1) + QLatin1Char('>');
}

PanelTable panelTable(const std::vector<PanelRow> &rows, const TableStyle &style)
{
    return Table(rows, style).lines();
}

QString panelLabel(const Panel &panel, const QString &name)
{
    QStringList facts = {name, ipv4Text(panel.heldAddress()), panel.description};
    facts.removeAll(QString());
    return QStringLiteral("%1 (%2)").arg(macText(panel.mac), facts.join(QStringLiteral(", ")));
}

QStringList panelDetails(const Panel &panel, const PanelLabel &label, const InterfaceNames &interfaceName)
{
    QStringList lines = {
        QStringLiteral("MAC address  ") + macText(panel.mac),
        QStringLiteral("Address      ") + ipv4Text(panel.address),
        QStringLiteral("Netmask      ") + ipv4Text(panel.netmask),
        QStringLiteral("Gateway      ") + ipv4Text(panel.gateway),
        QStringLiteral("Version      ") + versionOrUnknown(panel),
        QStringLiteral("Description  ") + orDash(panel.description),
        QStringLiteral("Answered     from %1 by %2 on %3")
            .arg(ipv4Text(panel.source), wayName(panel.way), interfaceName(panel.interfaceIndex)),
    };
    if (!label.remark.isEmpty())
        lines.prepend(QStringLiteral("Remark       ") + label.remark);
    if (!label.name.isEmpty())
        lines.prepend(QStringLiteral("Name         ") + label.name);
    return lines;
}

QJsonObject panelJson(const Panel &panel, const InterfaceNames &interfaceName)
{
    const QString version = panel.versionText();
    const auto prefix = prefixLength(panel.netmask);
    return {
        {QStringLiteral("mac"), macText(panel.mac)},
        {QStringLiteral("address"), ipv4Text(panel.address)},
        {QStringLiteral("netmask"), ipv4Text(panel.netmask)},
        {QStringLiteral("prefix"), prefix ? QJsonValue(*prefix) : QJsonValue()},
        {QStringLiteral("gateway"), ipv4Text(panel.gateway)},
        {QStringLiteral("version"), version.isEmpty() ? QJsonValue() : QJsonValue(version)},
        {QStringLiteral("description"), panel.description},
        {QStringLiteral("source"), ipv4Text(panel.source)},
        {QStringLiteral("interface"), interfaceName(panel.interfaceIndex)},
        {QStringLiteral("way"), wayName(panel.way)},
    };
}

QStringList panelColumns()
{
    return {QStringLiteral("mac"),         QStringLiteral("address"), QStringLiteral("netmask"),
            QStringLiteral("prefix"),      QStringLiteral("gateway"), QStringLiteral("version"),
            QStringLiteral("description"), QStringLiteral("source"),  QStringLiteral("interface"),
            QStringLiteral("way")};
}

QJsonObject outcomeJson(Outcome outcome, const MacAddress &mac, const WantedSettings &wanted,
                        const std::optional<Panel> &panel, const PanelLabel &label, OutcomeTime waited,
                        const InterfaceNames &interfaceName)
{
    const auto textOrNull = [](std::optional<std::uint32_t> address) {
        return address ? QJsonValue(ipv4Text(*address)) : QJsonValue();
    };
    QJsonObject record = {
        {QStringLiteral("mac"), macText(mac)},
        {QStringLiteral("result"), QLatin1String(outcomeName(outcome))},
        {QStringLiteral("wantedAddress"), textOrNull(wanted.address)},
        {QStringLiteral("wantedNetmask"), textOrNull(wanted.netmask)},
        {QStringLiteral("wantedGateway"), textOrNull(wanted.gateway)},
        {QStringLiteral("panel"), panel ? QJsonValue(panelJson(*panel, interfaceName)) : QJsonValue()},
        {secondsColumn(), secondsJson(waited)},
    };
    insertLabel(record, label);
    return record;
}

QStringList outcomeColumns()
{
    return QStringList{QStringLiteral("mac"), QStringLiteral("result"), QStringLiteral("wantedAddress"),
                       QStringLiteral("wantedNetmask"), QStringLiteral("wantedGateway")} +
           panelColumns().mid(1) + labelColumns() + QStringList{secondsColumn()};
}

void insertLabel(QJsonObject &record, const PanelLabel &label)
{
    const auto textOrNull = [](const QString &text) {
        return text.isEmpty() ? QJsonValue() : QJsonValue(text);
    };
    record.insert(QStringLiteral("name"), textOrNull(label.name));
    record.insert(QStringLiteral("remark"), textOrNull(label.remark));
}

QStringList labelColumns()
{
    return {QStringLiteral("name"), QStringLiteral("remark")};
}
