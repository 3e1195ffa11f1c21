#ifndef MARKLINES_H
#define MARKLINES_H

#include "marks.h"

#include <QtCore/QStringList>

#include <vector>

// The notes as sentences below a panelTable(), each after the sign that the table uses for its mark.
QStringList markLines(const std::vector<MarkNote> &notes);

#endif // MARKLINES_H
