#ifndef JSONPLACES_H
#define JSONPLACES_H

#include "textfile.h"

#include <QtCore/QString>

#include <map>
#include <vector>

// Where one entry of a list begins in a JSON text, and where the values of its members do.
struct JsonPlace {
    TextFile::Offset at = 0;
    std::map<QString, TextFile::Offset> members; // empty when the entry is no object
};

// For messages, because Qt's reader does not tell places. The text must be one that it reads. The list is the
// whole document, or the member of this name of the object that the document is; empty when there is none.
std::vector<JsonPlace> placesInList(const QString &text, const QString &member);

#endif // JSONPLACES_H
