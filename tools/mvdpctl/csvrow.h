#ifndef CSVROW_H
#define CSVROW_H

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The record's values in the order of the columns; those of its member "panel" count as its own. Null and
// missing values are empty, lists are joined with blanks.
QStringList csvFields(const QJsonObject &record, const QStringList &columns);

// One record and its line end, see csvField().
QString csvLine(const QStringList &fields);

#endif // CSVROW_H
