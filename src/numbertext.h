#ifndef NUMBERTEXT_H
#define NUMBERTEXT_H

#include <QtCore/QChar>
#include <QtCore/QString>

// The number in a text, in base 10 or 16, with or without a sign; in base 16 "0x" may stand before it. White
// space around it is skipped. 0, with isNumber false, for any other text: with another character or a zero
// byte, without a digit, or with a number outside int. QString::toInt is not used because Qt 6 differs from
// Qt 4 and 5 in white space above U+007F and in zero bytes, and these numbers are sent in replies.
int numberFromText(const QString &text, int base = 10, bool *isNumber = nullptr);
// The same for a part of a text, so many characters.
int numberFromText(const QChar *text, int size, int base, bool *isNumber = nullptr);

// U+00A0 is white space, and so is U+0085, which Qt 4 does not count.
bool isWhiteSpace(QChar character);

#endif // NUMBERTEXT_H
