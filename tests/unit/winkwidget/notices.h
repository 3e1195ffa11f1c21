#ifndef NOTICES_H
#define NOTICES_H

#include <QtCore/QString>
#include <QtWidgets/QWidget>

#include <memory>

class QLabel;

// The two forms of the notice by name, as columns of test data have them.
const QString Landscape = QStringLiteral("landscape");
const QString Portrait = QStringLiteral("portrait");

// A column "form" with a row for each.
void addForms();

// Not shown yet.
std::unique_ptr<QWidget> newNotice(const QString &form);

// One of its labels, by name.
QLabel &label(const QWidget &notice, const char *name);

#endif // NOTICES_H
