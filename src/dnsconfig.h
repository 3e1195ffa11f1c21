#ifndef DNSCONFIG_H
#define DNSCONFIG_H

#include <json/elements.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

// The "dns" section of the network manager's document: name servers and search domains, each in the
// document's order. A plain value; one thread at a time. The texts are kept as they come and are not checked.
class DnsConfig
{
public:
    // Both lists are always written, empty or not.
    json::Object toJson() const;
    QString toJsonString() const;

    // Replaces both lists; a list that is absent becomes empty. An element that is no object, or has no text
    // in it, counts as an empty text. Always true. A list that is no array throws json::Exception ("Bad
    // cast"); what was read before it stays.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning and the lists unchanged, when the text is empty or no JSON
    // object.
    bool fromJsonString(const QString &text);

    QStringList servers; // addresses
    QStringList search;  // domain names
};

#endif // DNSCONFIG_H
