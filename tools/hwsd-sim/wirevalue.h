#ifndef WIREVALUE_H
#define WIREVALUE_H

#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>

// The values of a D-Bus message in one plain form, so that a fault can work on any reply alike:
//   y uchar, b bool, i int, u uint, t qulonglong, s QString, o QDBusObjectPath, ay QByteArray,
//   a structure: a QVariantList of its fields.
// What callers send may also hold other types; those become what Qt makes of them, containers lists.

// The D-Bus signature of values in the plain form; "?" stands for a value that is not in it.
QString signatureOf(const QVariantList &values);

// Ready for QDBusMessage::setArguments().
QVariantList toWire(const QVariantList &values);

// The arguments of a received message in the plain form.
QVariantList fromWire(const QVariantList &arguments);

// For the call log: byte arrays become hexadecimal text, structures and arrays JSON arrays.
QJsonValue toJson(const QVariant &value);

// Cuts each byte array, also inside structures, to at most `bytes` bytes.
QVariantList withShortArrays(const QVariantList &values, int bytes);

// Some value of each type in the signature. Takes y b i u t s o ay and structures of them;
// false when the signature holds anything else.
bool sampleOf(const QString &signature, QVariantList &values);

#endif // WIREVALUE_H
