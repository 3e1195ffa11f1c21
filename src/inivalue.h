#ifndef INIVALUE_H
#define INIVALUE_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

// How bytes above 127 are read.
enum class IniEncoding {
    Utf8,
    FromBytes, // UTF-8 where the whole value is well-formed, else Latin-1
};

// The text of an INI file's value, as it stands behind the equals sign: blanks before it, quotes and
// unescaped blanks behind it go, escapes become characters, commas stay. See rawinifile.h.
QString iniValueText(const QByteArray &value, IniEncoding encoding);

// A blank or a tab.
bool isIniBlank(char character);

// The position behind a backslash and the character after it. A carriage return and a newline, in either
// order, count as one character.
int behindIniEscape(const QByteArray &text, int backslash);

#endif // INIVALUE_H
