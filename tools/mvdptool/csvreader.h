#ifndef CSVREADER_H
#define CSVREADER_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

struct CsvRecord {
    int line; // on which it begins, counted from 1
    QStringList fields;
};

// Records as spreadsheets write them: quotes, doubled quotes, line ends of any kind, also within quotes.
// Blank lines, and lines of separators only, are left out. The separator is a comma, a semicolon or a tab,
// whichever comes first in the first line, which may be "sep=;". Throws ToolError for quotes
// that do not match, and for more than any plan has.
std::vector<CsvRecord> csvRecords(const QString &text);

#endif // CSVREADER_H
