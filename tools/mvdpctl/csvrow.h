#ifndef CSVROW_H
#define CSVROW_H

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The record's values in the order of the columns; those of its members "columns" and "panel" count as its
// own. Null and missing values are empty, lists of texts are joined with blanks, other lists and objects are
// JSON.
QStringList csvFields(const QJsonObject &record, const QStringList &columns);

// One record and its line end, see csvField().
QString csvLine(const QStringList &fields);

#endif // CSVROW_H
