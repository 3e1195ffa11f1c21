#ifndef CSVROW_H
#define CSVROW_H

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The values of a record in the order of the columns, those of its member "panel" included: null and missing
// ones empty, lists with blanks.
QStringList csvFields(const QJsonObject &record, const QStringList &columns);

// One record and its line end. Fields are quoted where they must be. A text that a spreadsheet would take for
// a formula gets an apostrophe in front: descriptions come from the network.
QString csvLine(const QStringList &fields);

#endif // CSVROW_H
