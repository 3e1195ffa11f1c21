#include "panelname.h"

#include "textfile.h"
#include "toolerror.h"

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <iterator>

bool PanelName::fits(const Panel &panel) const
{
    if (mac)
        return panel.mac == *mac;
    if (address)
        return panel.address == *address || panel.source == *address;
    return named.count(panel.mac) > 0 || (!isName && panel.description.contains(text, Qt::CaseInsensitive));
}

PanelName panelNameFromText(const QString &text, const PanelNames &names)
{
    const QString word = text.trimmed();
    if (word.isEmpty())
        throw ToolError{
            ToolError::BadInput, QStringLiteral("an empty word names no panel"),
            QStringLiteral("Give a MAC address, an IP address, a name or a piece of a description.")};
    if (std::any_of(word.begin(), word.end(), isControl))
        throw ToolError{
            ToolError::BadInput, QStringLiteral("a word with control characters names no panel"), {}};
    PanelName name = {word, macFromText(word), ipv4FromText(word), {}, false};
    if (name.mac || name.address)
        return name;
    const std::vector<MacAddress> whole = names.named(word);
    name.isName = !whole.empty();
    const std::vector<MacAddress> &fitting = name.isName ? whole : names.withPiece(word);
    name.named.insert(fitting.begin(), fitting.end());
    if (whole.size() == 1)
        name.mac = whole.front();
    return name;
}

bool looksLikeMac(const QString &text)
{
    static const QRegularExpression shape(
        QStringLiteral("^([0-9A-Za-z]{1,3}([:-][0-9A-Za-z]{1,3}){4,6}|(?=.*[0-9])[0-9A-Fa-f]{11,13})$"));
    return !macFromText(text) && shape.match(text).hasMatch();
}

bool looksLikeIpv4(const QString &text)
{
    static const QRegularExpression shape(QStringLiteral("^[0-9]+([.][0-9]*){2,}$"));
    return !ipv4FromText(text) && shape.match(text).hasMatch();
}

std::vector<Panel> matches(const PanelName &name, const PanelList &panels)
{
    const std::vector<Panel> all = panels.sorted();
    std::vector<Panel> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&name](const Panel &panel) { return name.fits(panel); });
    return found;
}
