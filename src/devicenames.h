#ifndef DEVICENAMES_H
#define DEVICENAMES_H

#include <QtCore/QHash>
#include <QtCore/QString>

// Names that the maker gave to models, by manufacture code: the text at "Brand/options/devicename" of the INI
// file at path, as in
//     [Brand]
//     options\devicename=506:Line 3 panel,510:Oven
// An empty path means "machine.ini" in the current directory. A missing or unreadable file, or one without
// the key, gives an empty table.
QHash<int, QString> readDeviceNames(const QString &path);

// The table of such a text. Parts between commas that are not exactly "number:name" are skipped; nothing is
// trimmed; a first piece that is no number counts as 0; the last entry of a number wins.
QHash<int, QString> parseDeviceNames(const QString &text);

#endif // DEVICENAMES_H
