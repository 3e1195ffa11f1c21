#ifndef CSVREADER_H
#define CSVREADER_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

struct CsvRecord {
    int line; // where the record begins, counted from 1
    QStringList fields;
};

// Records as spreadsheets write them: quotes, doubled quotes, line ends of any kind, also within quotes.
// Blank lines, and lines of separators only, are left out. The separator is a comma, a semicolon or a tab,
// whichever comes first in the first line; that line may be "sep=;". Throws ToolError for quotes that do not
// match, and for more fields than a plan can have.
std::vector<CsvRecord> csvRecords(const QString &text);

#endif // CSVREADER_H
