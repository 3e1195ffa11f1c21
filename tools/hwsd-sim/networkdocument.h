#ifndef NETWORKDOCUMENT_H
#define NETWORKDOCUMENT_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>

// The network manager's JSON texts: building them, and judging the ones that callers send.
// Every check returns an empty text for a good document, else what is wrong with it.

// A dotted quad of four decimal parts, 0 to 255, without signs, blanks or other bases.
bool isAddress(const QString &text);

// A dotted quad whose ones stand all on the left.
bool isNetmask(const QString &text);

// The number of ones of a netmask that isNetmask() takes.
int prefixLength(const QString &netmask);

// Six pairs of hexadecimal digits with colons between.
bool isMacAddress(const QString &text);

// Parses a JSON object; what is wrong goes to *error.
bool parseObject(const QString &text, QJsonObject *object, QString *error);

// One interface's record; an empty `name` takes the record's own.
QString checkInterfaceRecord(const QJsonObject &record, const QString &name);

// The whole document with its sections.
QString checkNetworkDocument(const QJsonObject &document);

QString compactText(const QJsonObject &object);

#endif
