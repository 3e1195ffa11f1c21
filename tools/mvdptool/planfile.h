#ifndef PLANFILE_H
#define PLANFILE_H

#include "panelnames.h"
#include "settingscheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <vector>

// What a plan has for one panel.
struct PlanEntry {
    QString place; // "plan.csv:3", for messages
    MacAddress mac = {};
    WantedSettings wanted;
    PanelLabel label = {}; // of the columns "name" and "remark"
    QJsonObject columns =
        {}; // of its unknown columns: texts, and in JSON any values. Without control characters.
};

struct PlanContent {
    std::vector<PlanEntry> entries; // never empty
    QStringList unknownColumns;     // in the order of the file
};

enum class PlanFormat { Csv, Json };

// Accepts what this program prints of panels, and ignores those of its columns that cannot be set. An address
// may have its netmask behind it: 192.168.0.10/24. `fileName` is for messages. Throws ToolError, which names
// every mistake (the first twenty) by its place, "plan.csv:3:5", see TextFile::place().
PlanContent parsePlan(const QByteArray &bytes, PlanFormat format, const QString &fileName);

// The format that the name of a file tells; nothing for a name that ends in neither .csv nor .json.
std::optional<PlanFormat> planFormatOf(const QString &path);

#endif // PLANFILE_H
