#ifndef NUMBERTEXT_H
#define NUMBERTEXT_H

#include <QtCore/QChar>
#include <QtCore/QString>

// The number that a text holds in base 10 or 16, with a sign or not, in base 16 also behind "0x". White space
// around it is passed over. 0, with isNumber false, for all else: another character, a zero byte, no digit at
// all, or a number outside int. QString::toInt is not used because Qt 6 reads white space above U+007F and
// the zero byte otherwise than its predecessors, and the numbers go out on the wire.
int numberFromText(const QString &text, int base = 10, bool *isNumber = nullptr);

// U+00A0 is white space, and so is U+0085, which Qt 4 does not count.
bool isWhiteSpace(QChar character);

#endif // NUMBERTEXT_H
