// Bytes as a plan file of mvdpctl, as a table and as a JSON document: what is read of it, how it is refused,
// and the plan that is made of it for six panels that were found.

#include "fuzztarget.h"
#include "harmlesstext.h"
#include "plan.h"
#include "planfile.h"
#include "plantable.h"
#include "tablemodel.h"
#include "terminal.h"
#include "toolerror.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace
{

// What a plan has for a panel; without the place.
struct Wanted {
    MacAddress mac = {};
    std::optional<std::uint32_t> address;
    std::optional<std::uint32_t> netmask;
    std::optional<std::uint32_t> gateway;

    bool operator==(const Wanted &other) const
    {
        return mac == other.mac && address == other.address && netmask == other.netmask &&
               gateway == other.gateway;
    }
};

using Settings = std::map<QString, QString>;        // by column
using Outcome = std::optional<std::vector<Wanted>>; // nothing: refused

const QStringList Columns = {"mac", "address", "netmask", "gateway"};
const QStringList Overlooked = {"prefix", "version", "description", "source", "interface", "way", "marks"};

std::vector<Wanted> withoutPlaces(const std::vector<PlanEntry> &entries)
{
    std::vector<Wanted> result;
    for (const PlanEntry &entry : entries)
        result.push_back({entry.mac, entry.wanted.address, entry.wanted.netmask, entry.wanted.gateway});
    return result;
}

// The entries; none for a plan that is refused, with a text that any terminal can show.
std::vector<PlanEntry> readOrRefused(const QByteArray &bytes, PlanFormat format)
{
    try {
        const std::vector<PlanEntry> entries = parsePlan(bytes, format, QStringLiteral("plan"));
        REQUIRE(!entries.empty());
        return entries;
    } catch (const ToolError &error) {
        REQUIRE(error.kind == ToolError::BadPlan && error.details.size() <= 20 && error.advice.isEmpty());
        for (const QString &line : QStringList(error.message) + error.details)
            REQUIRE(line.startsWith(QStringLiteral("plan:")) && line.size() < 300 &&
                    isHarmless(printable(line)));
    }
    return {};
}

// --- The expected reading, written from the manual.

// The panels of the rows; nothing when a row has a mistake.
class ExpectedPlan
{
public:
    void add(const Settings &settings)
    {
        Wanted wanted;
        const auto mac = value(settings, "mac", macFromText);
        wanted.address = value(settings, "address", ipv4FromText);
        wanted.netmask = value(settings, "netmask", netmaskFromText);
        wanted.gateway = value(settings, "gateway", ipv4FromText);
        wanted.mac = mac.value_or(MacAddress{});
        const bool isAnythingSet = wanted.address || wanted.netmask || wanted.gateway;
        if (isZero(wanted.mac) || !isAnythingSet || !m_macs.insert(wanted.mac).second)
            refuse();
        m_panels.push_back(wanted);
    }
    void refuse() { m_isRefused = true; }
    Outcome outcome() const { return m_isRefused || m_panels.empty() ? Outcome() : Outcome(m_panels); }

private:
    template <typename Read>
    auto value(const Settings &settings, const char *column, Read read) -> decltype(read(QString()))
    {
        const auto found = settings.find(QLatin1String(column));
        if (found == settings.end() || found->second.isEmpty())
            return std::nullopt;
        const auto result = read(found->second);
        if (!result)
            refuse();
        return result;
    }

    std::vector<Wanted> m_panels;
    std::set<MacAddress> m_macs;
    bool m_isRefused = false;
};

Outcome expectedOfTable(const QByteArray &bytes)
{
    const auto rows = expectedRows(bytes);
    QStringList headings;
    if (!rows || !isExpectedTable(*rows, headings))
        return {};
    for (const QString &name : headings) {
        if (!Columns.contains(name) && !Overlooked.contains(name))
            return {};
    }
    ExpectedPlan plan;
    for (std::size_t i = 1; i < rows->size(); ++i) {
        Settings settings;
        for (int column = 0; column < static_cast<int>(headings.size()); ++column)
            settings[headings.at(column)] = rows->at(i).at(column).trimmed();
        plan.add(settings);
    }
    return plan.outcome();
}

// JSON itself is Qt's; what the plan may be made of is checked.
Outcome expectedOfDocument(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QJsonValue panels = document.object().value(QStringLiteral("panels"));
    if (!document.isArray() && !panels.isArray())
        return {};
    ExpectedPlan plan;
    for (const QJsonValue panel : document.isArray() ? document.array() : panels.toArray()) {
        if (!panel.isObject())
            return {};
        Settings settings;
        const QJsonObject object = panel.toObject();
        // Not by name: Qt 6 finds no name with a byte order mark in front, and tells it without.
        for (auto member = object.begin(); member != object.end(); ++member) {
            const QString name = member.key();
            const QJsonValue value = member.value();
            if (Overlooked.contains(name))
                continue;
            if (!Columns.contains(name))
                return {};
            if (value.isDouble()) {
                const double number = value.toDouble();
                if (!(number >= 0 && number <= 32) || number != static_cast<int>(number))
                    return {};
                settings[name] = QString::number(static_cast<int>(number));
            } else if (value.isString()) {
                settings[name] = value.toString().trimmed();
            } else if (!value.isNull()) {
                return {};
            }
        }
        plan.add(settings);
    }
    return plan.outcome();
}

Outcome expectedPlan(const QByteArray &bytes, PlanFormat format)
{
    const auto text = expectedText(bytes);
    if (!text)
        return {};
    return format == PlanFormat::Csv ? expectedOfTable(*text) : expectedOfDocument(*text);
}

// --- Written again, in both forms.

QString textOf(const std::optional<std::uint32_t> &value)
{
    return value ? ipv4Text(*value) : QString();
}

QByteArray asTable(const std::vector<Wanted> &panels)
{
    QByteArray table = "gateway;description;MAC;netmask;address\r\n";
    for (const Wanted &panel : panels)
        table += (textOf(panel.gateway) + QStringLiteral(";\"a \"\"b;\"\"\n\";") + macText(panel.mac) +
                  QLatin1Char(';') + textOf(panel.netmask) + QLatin1Char(';') + textOf(panel.address))
                     .toUtf8() +
                 "\r\n";
    return table;
}

QByteArray asDocument(const std::vector<Wanted> &panels)
{
    QJsonArray list;
    for (const Wanted &panel : panels) {
        QJsonObject object = {
            {"mac", macText(panel.mac).remove(QLatin1Char(':'))},
            {"marks", QJsonArray{1, "x"}},
            {"address", panel.address ? QJsonValue(ipv4Text(*panel.address)) : QJsonValue()}};
        if (panel.gateway)
            object.insert(QStringLiteral("gateway"), ipv4Text(*panel.gateway));
        const auto prefix = panel.netmask ? prefixLength(*panel.netmask) : std::nullopt;
        if (prefix)
            object.insert(QStringLiteral("netmask"), *prefix);
        else if (panel.netmask)
            object.insert(QStringLiteral("netmask"), ipv4Text(*panel.netmask));
        list.append(object);
    }
    return QJsonDocument(QJsonObject{{"panels", list}}).toJson();
}

// --- The plan for what was found.

// 02:00:5e:10:00:01 to 06, at 10.0.0.1 to 6. Two answer from another address than they tell.
PanelList foundPanels()
{
    PanelList panels;
    for (std::uint8_t last = 1; last <= 6; ++last) {
        Panel panel;
        panel.mac = {0x02, 0x00, 0x5E, 0x10, 0x00, last};
        panel.address = 0x0A000000u | last;
        panel.netmask = 0xFF000000;
        panel.gateway = 0x0A0000FE;
        panel.source = last > 4 ? panel.address + 16 : panel.address;
        panel.interfaceIndex = 2;
        panels.add(panel);
    }
    return panels;
}

bool isWhereItTells(const Panel &panel)
{
    return panel.source == panel.address;
}

bool holds(const Panel &panel, std::uint32_t address)
{
    return address != 0 && (panel.address == address || panel.source == address);
}

// Whether the panel of this step, or of a later one, still has the address that the step gives away.
bool isTaken(const std::vector<PlanStep> &steps, std::size_t number)
{
    return std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(number) + 1, steps.end(),
                       [address = steps[number].wanted.address](const PlanStep &later) {
                           return later.isChange() && holds(*later.now, address);
                       });
}

void checkPlan(const std::vector<PlanEntry> &entries)
{
    NetworkInterface own;
    own.index = 2;
    own.name = QStringLiteral("eth0");
    own.addresses = {{0x0A000064, 0xFF000000}}; // 10.0.0.100/8
    const PanelList panels = foundPanels();
    const Plan plan = makePlan(entries, panels, {own}, isWhereItTells);
    REQUIRE(plan.steps.size() == entries.size());
    REQUIRE(areHarmless(plan.objections));

    std::set<MacAddress> macs;
    std::multiset<std::uint32_t> given;
    bool anyChange = false;
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
        const PlanStep &step = plan.steps[i];
        REQUIRE(macs.insert(step.entry.mac).second);
        const Panel *panel = panels.find(step.entry.mac);
        REQUIRE(step.isFound() == (panel != nullptr));
        const Panel before = panel ? *panel : Panel();
        REQUIRE(step.wanted.address == step.entry.wanted.address.value_or(before.address));
        REQUIRE(step.wanted.netmask == step.entry.wanted.netmask.value_or(before.netmask));
        REQUIRE(step.wanted.gateway == step.entry.wanted.gateway.value_or(before.gateway));
        const bool isAsPlanned = panel && isWhereItTells(before) && hasSettings(before, step.wanted);
        REQUIRE(step.isChange() == (panel && !isAsPlanned));
        anyChange = anyChange || step.isChange();
        REQUIRE(step.isChange() == anyChange); // the changes come last
        if (!step.isChange())
            continue;
        given.insert(step.wanted.address);
        const bool isKept = isWhereItTells(before) && step.wanted.address == before.address;
        REQUIRE(isKept || step.opensCircle == isTaken(plan.steps, i));
    }
    for (const std::uint32_t address : given)
        REQUIRE(address == 0 || given.count(address) == 1 || !plan.objections.isEmpty());

    const QStringList lines = planLines(plan);
    REQUIRE(areHarmless(lines) && static_cast<std::size_t>(lines.size()) >= plan.steps.size());
}

void check(const QByteArray &bytes, PlanFormat format)
{
    const std::vector<PlanEntry> entries = readOrRefused(bytes, format);
    const Outcome expected = expectedPlan(bytes, format);
    const std::vector<Wanted> panels = withoutPlaces(entries);
    REQUIRE(panels == expected.value_or(std::vector<Wanted>()));
    if (panels.empty())
        return;
    for (const PlanEntry &entry : entries)
        REQUIRE(entry.place.startsWith(QStringLiteral("plan:")) && entry.place.section(':', 1).toInt() > 0);
    REQUIRE(withoutPlaces(readOrRefused(asTable(panels), PlanFormat::Csv)) == panels);
    REQUIRE(withoutPlaces(readOrRefused(asDocument(panels), PlanFormat::Json)) == panels);
    checkPlan(entries);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    check(bytes, PlanFormat::Csv);
    check(bytes, PlanFormat::Json);
    return 0;
}
