#ifndef TEXTMODELS_H
#define TEXTMODELS_H

#include <QtCore/QHash>
#include <QtCore/QString>

#include <cstdint>

// How the service reads texts of the platform service and of the factory, written down a second time from the
// documents, by other means.

// Four decimal numbers up to 255 with dots between and white space around them; 0 for any other text.
std::uint32_t addressIn(const QString &text);

// An int in base 10 or 16, with or without a sign, white space around it; 0 for any other text. In base 16,
// "0x" may stand before the digits.
int numberIn(const QString &text, int base = 10);

// The names of models in "506:Line 3 panel,510:Oven".
QHash<int, QString> namesIn(const QString &text);

#endif // TEXTMODELS_H
