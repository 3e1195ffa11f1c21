#include "output.h"

#include "settingschange.h"

#include <QtCore/QJsonValue>

#include <algorithm>
#include <array>

namespace
{

const int ColumnCount = 5;
const int ColumnGap = 2;
// A description is never cut shorter than this; the lines wrap instead.
const int LeastDescription = 4;

using Row = std::array<QString, ColumnCount>;

QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

Row rowOf(const Panel &panel, const Marks &marks)
{
    QString address = addressWithNetmask(panel.address, panel.netmask);
    if (marks.sharedAddress || marks.foreignSubnet)
        address += QLatin1Char(' ');
    if (marks.sharedAddress)
        address += QLatin1Char('*');
    if (marks.foreignSubnet)
        address += QLatin1Char('!');
    return {macText(panel.mac), address, panel.gateway == 0 ? QString() : ipv4Text(panel.gateway),
            versionOrUnknown(panel), panel.description};
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

QString cutTo(const QString &text, int columns)
{
    return text.size() <= columns ? text : text.left(columns - 1) + QLatin1Char('>');
}

QStringList panelTable(const std::vector<Panel> &panels, const std::vector<Marks> &marks, int columns)
{
    std::vector<Row> rows = {{QStringLiteral("MAC ADDRESS"), QStringLiteral("ADDRESS"),
                              QStringLiteral("GATEWAY"), QStringLiteral("VERSION"),
                              QStringLiteral("DESCRIPTION")}};
    for (std::size_t index = 0; index < panels.size(); ++index)
        rows.push_back(rowOf(panels[index], marks[index]));
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

QStringList panelDetails(const Panel &panel, const InterfaceNames &interfaceName)
{
    return {
        QStringLiteral("MAC address  ") + macText(panel.mac),
        QStringLiteral("Address      ") + ipv4Text(panel.address),
        QStringLiteral("Netmask      ") + ipv4Text(panel.netmask),
        QStringLiteral("Gateway      ") + ipv4Text(panel.gateway),
        QStringLiteral("Version      ") + versionOrUnknown(panel),
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

QStringList panelColumns()
{
    return {QStringLiteral("mac"),         QStringLiteral("address"), QStringLiteral("netmask"),
            QStringLiteral("prefix"),      QStringLiteral("gateway"), QStringLiteral("version"),
            QStringLiteral("description"), QStringLiteral("source"),  QStringLiteral("interface"),
            QStringLiteral("way")};
}

QJsonObject outcomeJson(Outcome outcome, const MacAddress &mac, const WantedSettings &wanted,
                        const std::optional<Panel> &panel, const InterfaceNames &interfaceName)
{
    const auto textOrNull = [](std::optional<std::uint32_t> address) {
        return address ? QJsonValue(ipv4Text(*address)) : QJsonValue();
    };
    return {
        {QStringLiteral("mac"), macText(mac)},
        {QStringLiteral("result"), QLatin1String(outcomeName(outcome))},
        {QStringLiteral("wantedAddress"), textOrNull(wanted.address)},
        {QStringLiteral("wantedNetmask"), textOrNull(wanted.netmask)},
        {QStringLiteral("wantedGateway"), textOrNull(wanted.gateway)},
        {QStringLiteral("panel"), panel ? QJsonValue(panelJson(*panel, interfaceName)) : QJsonValue()},
    };
}

QStringList outcomeColumns()
{
    return QStringList{QStringLiteral("mac"), QStringLiteral("result"), QStringLiteral("wantedAddress"),
                       QStringLiteral("wantedNetmask"), QStringLiteral("wantedGateway")} +
           panelColumns().mid(1);
}
