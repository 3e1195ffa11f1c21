#ifndef CSVREADER_H
#define CSVREADER_H

#include "textfile.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

// A field without its quotation marks, and where it stands in the text with them.
struct CsvField {
    QString text;
    TextFile::Offset at = 0;
    TextFile::Offset end = 0;
};

using CsvRecord = std::vector<CsvField>; // never empty

struct CsvTable {
    QChar separator = QLatin1Char(',');
    CsvRecord header;     // the first record
    QStringList headings; // its fields, without blanks at their ends, in lower case
    QStringList titles;   // the same as they are written
    std::vector<CsvRecord> rows;

    int column(const char *heading) const
    {
        return static_cast<int>(headings.indexOf(QLatin1String(heading)));
    }
};

// A table as spreadsheets write it: quotes, doubled quotes, line ends of any kind, also within quotes. Blank
// lines, and lines of separators only, are left out. The separator is a comma, a semicolon or a tab,
// whichever comes first in the first line; that line may be "sep=;". An apostrophe that csvField() has put
// before a formula is removed again.
//
// Adds to the file's mistakes: quotes that do not match and more fields or rows than lists of panels have,
// behind which nothing is read; two columns with one heading; no column "mac"; rows, which are then left out,
// with more or fewer fields than headings, and fields without a heading. A blank text has no headings and no
// mistake.
CsvTable csvTable(TextFile &file);

// The field as it is written in a table with any of the three separators. It is quoted where needed. A text
// that a spreadsheet would take for a formula gets an apostrophe in front, because descriptions come from the
// network.
QString csvField(const QString &text);

#endif // CSVREADER_H
