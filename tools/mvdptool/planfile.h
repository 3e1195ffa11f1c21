#ifndef PLANFILE_H
#define PLANFILE_H

#include "settingscheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

// What a plan asks of one panel.
struct PlanEntry {
    QString place; // "line 3" or "entry 2", for messages
    MacAddress mac = {};
    WantedSettings wanted;
};

enum class PlanFormat { Csv, Json };

// Pure functions of the bytes. Both take what 'discover' prints as well, and overlook the columns in it that
// nobody can set. Throw ToolError, which names every mistake (the first twenty) by its
// place.
std::vector<PlanEntry> parsePlan(const QByteArray &bytes, PlanFormat format);

// Reads a file whose name ends in .csv or .json. Throws ToolError when it is another or cannot be read.
std::vector<PlanEntry> readPlan(const QString &path);

#endif // PLANFILE_H
