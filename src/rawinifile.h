#ifndef RAWINIFILE_H
#define RAWINIFILE_H

#include <QtCore/QSettings>

class QIODevice;

// A QSettings format for INI files whose values are taken as the text that stands in the file: Latin-1,
// blanks around it dropped, then one pair of enclosing quotes. Qt's own INI format would cut an unquoted
// value at its commas into a list, read backslashes as escapes, and (from Qt 6) take the bytes as UTF-8.
// Section and key names are spelled as in Qt's format ("[Brand]" with "options\devicename"). Read-only. Any
// thread; the format is registered on the first call.
QSettings::Format rawIniFormat();

// The reader of that format: fills entries ("Brand/options/devicename") from the first mebibyte of the
// device; true unless the device cannot be read. Lines that are no entry are passed over.
bool readRawIni(QIODevice &device, QSettings::SettingsMap &entries);

#endif // RAWINIFILE_H
