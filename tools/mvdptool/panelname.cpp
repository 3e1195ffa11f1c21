#include "panelname.h"

#include "toolerror.h"

#include <algorithm>
#include <iterator>

bool PanelName::fits(const Panel &panel) const
{
    if (mac)
        return panel.mac == *mac;
    if (address)
        return panel.address == *address || panel.source == *address;
    return panel.description.contains(text, Qt::CaseInsensitive);
}

PanelName panelNameFromText(const QString &text)
{
    const QString word = text.trimmed();
    if (word.isEmpty())
        throw ToolError{ToolError::BadInput, QStringLiteral("an empty word names no panel"),
                        QStringLiteral("Give a MAC address, an IP address or a piece of a description.")};
    return {word, macFromText(word), ipv4FromText(word)};
}

std::vector<Panel> matches(const PanelName &name, const PanelList &panels)
{
    const std::vector<Panel> all = panels.sorted();
    std::vector<Panel> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&name](const Panel &panel) { return name.fits(panel); });
    return found;
}
