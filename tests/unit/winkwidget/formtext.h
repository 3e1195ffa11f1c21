#ifndef FORMTEXT_H
#define FORMTEXT_H

#include <QtCore/QString>
#include <QtCore/QStringList>

class QLabel;
class QLayout;
class QObject;
class QWidget;

// The content of a form as text, to be compared with a table in a test.

// "QLabel label_2 in frame" for each object below the window, sorted. Layouts inside a layout are listed as
// in that layout.
QStringList objectTexts(const QWidget &window);

// One line for each item in the layout's own order: "label", "verticalLayout" or, for a spacer,
// "spacer 40x20 Expanding/Minimum"; with "row,column rowsxcolumns: " before it in a grid, "row label: " or
// "row field: " in a form layout, and " stretch N" or " align N" after it when there is one.
QStringList itemTexts(QLayout &layout);

// "left,top,right,bottom"
QString marginsText(const QLayout &layout);

// Empty for the application's font, else "family, N pt, bold": the family when it is not that font's, "bold"
// for the weight of a bold font and "weight N" for any other, then "italic" and the like.
QString fontText(const QLabel &label);

// For example "Right|VCenter".
QString alignmentText(const QLabel &label);

#endif // FORMTEXT_H
