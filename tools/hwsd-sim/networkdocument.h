#ifndef NETWORKDOCUMENT_H
#define NETWORKDOCUMENT_H

#include <QtCore/QJsonObject>
#include <QtCore/QString>

// Builds the network manager's JSON texts and checks those that callers send. A returned text names a
// problem; it is empty when there is none.

// A dotted quad of four decimal parts, 0 to 255, without signs, blanks or other bases.
bool isAddress(const QString &text);

// A dotted quad whose one bits are all on the left.
bool isNetmask(const QString &text);

// The number of ones of a netmask that isNetmask() takes.
int prefixLength(const QString &netmask);

// Six pairs of hexadecimal digits with colons between.
bool isMacAddress(const QString &text);

// Parses a JSON object into `object`, which is unchanged when the text is not a JSON object.
QString parseObject(const QString &text, QJsonObject &object);

// Checks one interface's record; with an empty `name` the record's own applies.
QString checkInterfaceRecord(const QJsonObject &record, const QString &name);

// Checks the whole document with its sections.
QString checkNetworkDocument(const QJsonObject &document);

QString compactText(const QJsonObject &object);

#endif // NETWORKDOCUMENT_H
