#include "output.h"

#include <QtCore/QJsonValue>

#include <algorithm>
#include <array>
#include <map>

namespace
{

const int ColumnCount = 5;
const int ColumnGap = 2;
// A description is not cut to less than this, even if the lines then wrap.
const int LeastDescription = 8;

using Row = std::array<QString, ColumnCount>;

QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

Row rowOf(const Panel &panel)
{
    return {macText(panel.mac), addressWithNetmask(panel),
            panel.gateway == 0 ? QString() : ipv4Text(panel.gateway), panel.versionText(), panel.description};
}

QString cutTo(const QString &text, int columns)
{
    return text.size() <= columns ? text : text.left(columns - 1) + QLatin1Char('>');
}

QString line(const Row &row, const std::array<int, ColumnCount> &widths, int columns)
{
    QString text;
    for (std::size_t column = 0; column + 1 < ColumnCount; ++column)
        text += orDash(row[column]).leftJustified(widths[column] + ColumnGap);
    const QString last = orDash(row.back());
    if (columns == 0)
        return text + last;
    return text + cutTo(last, std::max(LeastDescription, columns - static_cast<int>(text.size())));
}

} // namespace

QString addressWithNetmask(const Panel &panel)
{
    const auto prefix = prefixLength(panel.netmask);
    return prefix ? QStringLiteral("%1/%2").arg(ipv4Text(panel.address)).arg(*prefix)
                  : QStringLiteral("%1/%2").arg(ipv4Text(panel.address), ipv4Text(panel.netmask));
}

QStringList panelTable(const std::vector<Panel> &panels, int columns)
{
    std::vector<Row> rows = {{QStringLiteral("MAC ADDRESS"), QStringLiteral("ADDRESS"),
                              QStringLiteral("GATEWAY"), QStringLiteral("VERSION"),
                              QStringLiteral("DESCRIPTION")}};
    std::transform(panels.begin(), panels.end(), std::back_inserter(rows), rowOf);
    std::array<int, ColumnCount> widths = {};
    for (const Row &row : rows) {
        for (std::size_t column = 0; column < ColumnCount; ++column)
            widths[column] = std::max(widths[column], static_cast<int>(row[column].size()));
    }
    QStringList lines;
    for (const Row &row : rows)
        lines << line(row, widths, columns);
    return lines;
}

QStringList panelNotes(const PanelList &panels)
{
    QStringList notes;
    std::map<std::uint32_t, int> holders;
    for (const Panel &panel : panels.sorted()) {
        if (panel.address != 0)
            ++holders[panel.address];
        const std::size_t sources = panels.sourcesOf(panel.mac).size();
        if (isZero(panel.mac)) {
            notes << QStringLiteral("The panel at %1 does not know itself: its platform service is down.")
                         .arg(ipv4Text(panel.source));
        } else if (sources > 1) {
            notes << QStringLiteral("%1 answered from %2 addresses: two devices may share this MAC address.")
                         .arg(macText(panel.mac))
                         .arg(sources);
        } else if (panel.source != panel.address) {
            notes << QStringLiteral("%1 tells the address %2 but answered from %3.")
                         .arg(macText(panel.mac), ipv4Text(panel.address), ipv4Text(panel.source));
        }
    }
    for (const auto &[address, count] : holders) {
        if (count > 1) {
            notes << QStringLiteral("%1 panels hold the address %2: give each its own with 'mvdpctl set'.")
                         .arg(count)
                         .arg(ipv4Text(address));
        }
    }
    return notes;
}

QStringList panelDetails(const Panel &panel, const InterfaceNames &interfaceName)
{
    const QString version = panel.versionText();
    return {
        QStringLiteral("MAC address  ") + macText(panel.mac),
        QStringLiteral("Address      ") + ipv4Text(panel.address),
        QStringLiteral("Netmask      ") + ipv4Text(panel.netmask),
        QStringLiteral("Gateway      ") + ipv4Text(panel.gateway),
        QStringLiteral("Version      ") + (version.isEmpty() ? QStringLiteral("unknown") : version),
        QStringLiteral("Description  ") + orDash(panel.description),
        QStringLiteral("Answered     from %1 by %2 on %3")
            .arg(ipv4Text(panel.source), wayName(panel.way), interfaceName(panel.interfaceIndex)),
    };
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
