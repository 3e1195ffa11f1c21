#ifndef NETWORKDOCUMENT_H
#define NETWORKDOCUMENT_H

#include <QtCore/QJsonObject>
#include <QtCore/QString>

// The network manager's JSON texts: building them, and judging the ones that callers send.
// Where these return a problem's text, an empty one means that there is none.

// A dotted quad of four decimal parts, 0 to 255, without signs, blanks or other bases.
bool isAddress(const QString &text);

// A dotted quad whose ones stand all on the left.
bool isNetmask(const QString &text);

// The number of ones of a netmask that isNetmask() takes.
int prefixLength(const QString &netmask);

// Six pairs of hexadecimal digits with colons between.
bool isMacAddress(const QString &text);

// Parses a JSON object into `object`, which stays as it was when the text is none.
QString parseObject(const QString &text, QJsonObject &object);

// One interface's record; an empty `name` takes the record's own.
QString checkInterfaceRecord(const QJsonObject &record, const QString &name);

// The whole document with its sections.
QString checkNetworkDocument(const QJsonObject &document);

QString compactText(const QJsonObject &object);

#endif // NETWORKDOCUMENT_H
