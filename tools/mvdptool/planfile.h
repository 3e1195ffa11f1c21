#ifndef PLANFILE_H
#define PLANFILE_H

#include "settingscheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

// The settings that a plan has for one panel.
struct PlanEntry {
    QString place; // "plan.csv:3", for messages
    MacAddress mac = {};
    WantedSettings wanted;
};

enum class PlanFormat { Csv, Json };

// Accepts the output of 'discover' and ignores those of its columns that cannot be set. `fileName` is for
// messages. Throws ToolError, which names every mistake (the first twenty) by its place, "plan.csv:3:5", see
// TextFile::place().
std::vector<PlanEntry> parsePlan(const QByteArray &bytes, PlanFormat format, const QString &fileName);

// Reads a file whose name ends in .csv or .json. Throws ToolError for another name and for a file that cannot
// be read.
std::vector<PlanEntry> readPlan(const QString &path);

#endif // PLANFILE_H
