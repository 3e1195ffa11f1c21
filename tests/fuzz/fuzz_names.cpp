// Bytes as a file of names of mvdpctl: what is read of it, how it is refused, and what is left of it when
// names are set.

#include "fuzztarget.h"
#include "harmlesstext.h"
#include "panelnames.h"
#include "tablemodel.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace
{

using Labels = std::map<MacAddress, std::pair<QString, QString>>; // name and remark

const MacAddress Known = {0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}; // of the seeds

// Nothing for a file that is refused.
std::optional<PanelNames> readOrRefused(const QByteArray &bytes)
{
    try {
        return PanelNames::fromBytes(bytes, QStringLiteral("names"));
    } catch (const ToolError &error) {
        REQUIRE(error.kind == ToolError::BadInput && error.details.size() <= 20 && isHarmless(error.advice));
        for (const QString &line : QStringList(error.message) + error.details)
            REQUIRE(line.startsWith(QStringLiteral("names:")) && line.size() < 300);
    }
    return std::nullopt;
}

// --- The expected reading, written from the manual.

std::optional<Labels> expectedLabels(const QByteArray &bytes)
{
    const auto text = expectedText(bytes);
    const auto rows = text ? expectedRows(*text) : std::nullopt;
    if (!rows)
        return std::nullopt;
    Labels labels;
    if (rows->empty())
        return labels;
    QStringList headings;
    if (!isExpectedTable(*rows, headings))
        return std::nullopt;
    const auto cell = [&headings](const QStringList &row, const char *heading) {
        const auto column = headings.indexOf(QLatin1String(heading));
        return column < 0 ? QString() : row.at(column);
    };
    for (std::size_t i = 1; i < rows->size(); ++i) {
        const QStringList &row = rows->at(i);
        const auto mac = macFromText(cell(row, "mac").trimmed());
        const QString name = cell(row, "name").trimmed();
        if (!mac || (!name.isEmpty() && (!isFitName(name) || isZero(*mac))))
            return std::nullopt;
        if (!isZero(*mac) && !labels.insert({*mac, {name, expectedCell(cell(row, "remark"))}}).second)
            return std::nullopt;
    }
    return labels;
}

void requireLabels(const PanelNames &names, const Labels &labels)
{
    for (const auto &[mac, label] : labels) {
        REQUIRE(names.labelOf(mac).name == label.first && names.labelOf(mac).remark == label.second);
        REQUIRE(isHarmless(label.first) && isHarmless(label.second));
        const auto found = names.named(label.first);
        REQUIRE(label.first.isEmpty() == (std::count(found.begin(), found.end(), mac) == 0));
    }
}

// --- Names that are set.

// The fields of all rows but those in the column of names, which may be new; "\n" ends a row.
QStringList otherFields(const QByteArray &bytes)
{
    const auto rows = expectedRows(expectedText(bytes).value());
    QStringList headings;
    REQUIRE(rows && isExpectedTable(*rows, headings));
    QStringList fields;
    for (const QStringList &row : *rows) {
        for (int column = 0; column < static_cast<int>(row.size()); ++column) {
            if (headings.at(column) != QLatin1String("name"))
                fields << row.at(column);
        }
        fields << QStringLiteral("\n");
    }
    return fields;
}

void setAndReadAgain(const QByteArray &bytes, PanelNames names, Labels labels, const MacAddress &mac,
                     const QString &name)
{
    const bool isNew = labels.count(mac) == 0;
    try {
        names.setName(mac, name);
    } catch (const ToolError &) {
        REQUIRE(names.toBytes() == bytes);
        // One column or row more is too many.
        REQUIRE(bytes.count(',') + bytes.count(';') + bytes.count('\t') >= 63);
        return;
    }
    if (isNew && name.isEmpty())
        return REQUIRE(names.toBytes() == bytes);
    labels[mac].first = name;
    requireLabels(names, labels);
    REQUIRE(expectedLabels(names.toBytes()) == labels);
    const bool wasBlank = expectedRows(expectedText(bytes).value())->empty();
    const QStringList before = wasBlank ? QStringList{"mac", "remark", "\n"} : otherFields(bytes);
    const QStringList after = otherFields(names.toBytes());
    REQUIRE(after.mid(0, before.size()) == before);
    REQUIRE((after.size() > before.size()) == isNew);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const auto names = readOrRefused(bytes);
    const auto expected = expectedLabels(bytes);
    REQUIRE(names.has_value() == expected.has_value());
    if (!names)
        return 0;
    requireLabels(*names, *expected);
    const bool isEmpty = bytes.isEmpty() || bytes == "\xEF\xBB\xBF";
    REQUIRE(isEmpty || names->toBytes() == bytes);
    if (isEmpty)
        return 0;
    for (const char *name : {"Cabinet 7", "=1;\"a,\"\"", "'", ""}) {
        if (PanelNames::nameMistake(QString::fromLatin1(name)).isEmpty() || *name == '\0') {
            setAndReadAgain(bytes, *names, *expected, Known, QString::fromLatin1(name));
            if (!expected->empty())
                setAndReadAgain(bytes, *names, *expected, expected->rbegin()->first,
                                QString::fromLatin1(name));
        }
    }
    return 0;
}
