#ifndef RAWINIFILE_H
#define RAWINIFILE_H

#include <QtCore/QSettings>

class QIODevice;

// A QSettings format for INI files. It reads as Qt 4.8's own format does, with these differences:
// - A comma is a character like others: a value is one text, quoted or not.
// - Bytes above 127 in a value are read alike with every Qt. They are UTF-8 in a file that begins with a byte
//   order mark, and in a value that is well-formed UTF-8, as Qt 6 writes it; else Latin-1.
// - An escaped blank or tab at the end of a value stays, since QSettings writes one there.
// - An indented line behind a comment is a line like others.
// - Keys are told in small letters and have to be asked for so: QSettings tells cases apart on Unix.
// - Values that are no text ("@Rect(0 0 1 1)", "@Variant(...)") are empty; "@ByteArray(...)" is its text.
// Read-only. Any thread; the format is registered on the first call.
QSettings::Format rawIniFormat();

// The reader of that format: fills entries ("brand/options/devicename") from the first mebibyte of the
// device; true unless the device cannot be read. Any bytes will do: lines that are no entry are passed over.
// Keys of more than 4 Mi characters altogether end the reading.
bool readRawIni(QIODevice &device, QSettings::SettingsMap &entries);

#endif // RAWINIFILE_H
