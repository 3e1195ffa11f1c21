#ifndef WIREVALUE_H
#define WIREVALUE_H

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>

// The values of a D-Bus message in one plain form, so that a fault can change any reply in the same way:
//   y uchar, b bool, i int, u uint, t qulonglong, s QString, o QDBusObjectPath, ay QByteArray,
//   a structure: a QVariantList of its fields.
// Callers may also send other types; those keep the form that Qt gives them, with containers as lists.

// The D-Bus signature of values in the plain form; "?" stands for any other value.
QString signatureOf(const QVariantList &values);

// Converts for QDBusMessage::setArguments().
QVariantList toWire(const QVariantList &values);

// The arguments of a received message in the plain form.
QVariantList fromWire(const QVariantList &arguments);

// For the call log: byte arrays become hexadecimal text, structures and arrays JSON arrays.
QJsonValue toJson(const QVariant &value);

// Cuts each byte array, also inside structures, to at most `bytes` bytes.
QVariantList withShortArrays(const QVariantList &values, int bytes);

// A sample value for each type in the signature. Accepts y b i u t s o ay and structures of them; false for
// any other signature.
bool sampleOf(const QString &signature, QVariantList &values);

#endif // WIREVALUE_H
