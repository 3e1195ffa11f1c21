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

// The table of such a text. A part between commas that is not exactly "number:name" is skipped. Blanks are
// not trimmed. A first piece that is no number counts as 0. Of two entries with the same number the last
// counts.
QHash<int, QString> parseDeviceNames(const QString &text);

#endif // DEVICENAMES_H
