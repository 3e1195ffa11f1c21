#include "marks.h"

#include "whereabouts.h"

#include <algorithm>
#include <map>

namespace
{

bool isForeign(const Panel &panel, const std::vector<NetworkInterface> &interfaces)
{
    const auto heardOn =
        std::find_if(interfaces.begin(), interfaces.end(), [&panel](const NetworkInterface &interface) {
            return interface.index == panel.interfaceIndex;
        });
    return panel.address != 0 && heardOn != interfaces.end() && !heardOn->isOnSubnet(panel.address);
}

// How many panels hold each address.
std::map<std::uint32_t, int> holders(const std::vector<Panel> &panels)
{
    std::map<std::uint32_t, int> counts;
    for (const Panel &panel : panels) {
        if (panel.heldAddress() != 0)
            ++counts[panel.heldAddress()];
    }
    return counts;
}

// A note about this one panel alone; the sentence is empty when there is none.
MarkNote ownNote(const Panel &panel, const Marks &marks, std::size_t sources)
{
    if (marks.noIdentity)
        return {&Marks::noIdentity,
                QStringLiteral("The panel at %1 does not know itself: its platform service is down")
                    .arg(ipv4Text(panel.source))};
    if (marks.sharedMac)
        return {&Marks::sharedMac, sharedMacText(panel.mac, sources)};
    return {&Marks::otherSource, marks.otherSource ? elsewhereText(panel) : QString()};
}

} // namespace

QString sharedMacText(const MacAddress &mac, std::size_t sources)
{
    return QStringLiteral("%1 answered from %2 addresses: two devices may share this MAC address")
        .arg(macText(mac))
        .arg(sources);
}

std::vector<Marks> marksOf(const PanelList &panels, const std::vector<NetworkInterface> &interfaces)
{
    const std::vector<Panel> sorted = panels.sorted();
    const auto counts = holders(sorted);
    std::vector<Marks> all;
    for (const Panel &panel : sorted) {
        Marks marks;
        marks.noIdentity = isZero(panel.mac);
        marks.sharedAddress = panel.heldAddress() != 0 && counts.at(panel.heldAddress()) > 1;
        marks.foreignSubnet = isForeign(panel, interfaces);
        marks.unknownVersion = panel.partitionVersion == 0;
        marks.sharedMac = !marks.noIdentity && panels.sourcesOf(panel.mac).size() > 1;
        marks.otherSource = !marks.noIdentity && panel.source != panel.address;
        all.push_back(marks);
    }
    return all;
}

QStringList markNames(const Marks &marks)
{
    QStringList names;
    const auto add = [&names](bool isSet, const char *name) {
        if (isSet)
            names << QLatin1String(name);
    };
    add(marks.sharedAddress, "shared-address");
    add(marks.foreignSubnet, "foreign-subnet");
    add(marks.unknownVersion, "unknown-version");
    add(marks.otherSource, "other-source");
    add(marks.sharedMac, "shared-mac");
    add(marks.noIdentity, "no-identity");
    return names;
}

std::vector<MarkNote> markNotes(const PanelList &panels, const std::vector<NetworkInterface> &interfaces)
{
    const std::vector<Panel> sorted = panels.sorted();
    const std::vector<Marks> all = marksOf(panels, interfaces);
    std::vector<MarkNote> notes;
    for (std::size_t index = 0; index < sorted.size(); ++index) {
        const MarkNote note = ownNote(sorted[index], all[index], panels.sourcesOf(sorted[index].mac).size());
        if (!note.sentence.isEmpty())
            notes.push_back(note);
    }
    for (const auto &[address, count] : holders(sorted)) {
        if (count > 1)
            notes.push_back(
                {&Marks::sharedAddress,
                 QStringLiteral("%1 panels hold the address %2").arg(count).arg(ipv4Text(address))});
    }
    const auto addCounted = [&all, &notes](bool Marks::*mark, const char *one, const char *many) {
        const auto count =
            std::count_if(all.begin(), all.end(), [mark](const Marks &marks) { return marks.*mark; });
        if (count > 0)
            notes.push_back({mark, QString::fromLatin1(count == 1 ? one : many).arg(count)});
    };
    addCounted(&Marks::foreignSubnet,
               "%1 panel is not on a subnet of the interface that hears it: this computer may not reach it "
               "by its address",
               "%1 panels are not on a subnet of the interface that hears them: this computer may not reach "
               "them by their addresses");
    addCounted(&Marks::unknownVersion, "%1 panel could not read its version",
               "%1 panels could not read their versions");
    return notes;
}
