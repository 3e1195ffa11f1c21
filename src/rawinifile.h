#ifndef RAWINIFILE_H
#define RAWINIFILE_H

#include <QtCore/QSettings>

class QIODevice;

// A QSettings format for INI files. It reads as Qt 4.8's own format does, with these differences:
// - A comma has no meaning of its own: a value is one text, quoted or not.
// - Bytes above 127 in a value are read alike with every Qt. They are UTF-8 in a file that begins with a byte
//   order mark, and in a value that is well-formed UTF-8, as Qt 6 writes it; else Latin-1.
// - An escaped blank or tab at the end of a value stays, since QSettings writes one there.
// - An indented line behind a comment is not part of the comment.
// - Keys are turned into lower case and have to be asked for in it: on Unix, QSettings distinguishes case.
// - Values that are no text ("@Rect(0 0 1 1)", "@Variant(...)") are empty; "@ByteArray(...)" is its text.
// Read-only. Any thread; the format is registered on the first call.
QSettings::Format rawIniFormat();

// The reader of that format. Fills entries ("brand/options/devicename") from the first mebibyte of the
// device. Lines that are no entry are skipped. Reading ends when all keys together exceed 4 Mi characters.
// False only when the device cannot be read.
bool readRawIni(QIODevice &device, QSettings::SettingsMap &entries);

#endif // RAWINIFILE_H
