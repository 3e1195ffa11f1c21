#ifndef PLANFILE_H
#define PLANFILE_H

#include "settingscheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

// The settings that a plan has for one panel.
struct PlanEntry {
    QString place; // "line 3" or "entry 2", for messages
    MacAddress mac = {};
    WantedSettings wanted;
};

enum class PlanFormat { Csv, Json };

// Pure functions of the bytes. Both accept the output of 'discover' and ignore those of its columns that
// cannot be set. Throw ToolError, which names every mistake (the first twenty) by its place.
std::vector<PlanEntry> parsePlan(const QByteArray &bytes, PlanFormat format);

// Reads a file whose name ends in .csv or .json. Throws ToolError for another name and for a file that cannot
// be read.
std::vector<PlanEntry> readPlan(const QString &path);

#endif // PLANFILE_H
