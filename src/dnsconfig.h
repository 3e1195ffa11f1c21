#ifndef DNSCONFIG_H
#define DNSCONFIG_H

#include <json/elements.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

// The "dns" section of the network manager's document: name servers and search domains, each in the
// document's order. A plain value; one thread at a time. The texts are kept as they come and never looked at.
class DnsConfig
{
public:
    // Both lists are always written, empty or not.
    json::Object toJson() const;
    QString toJsonString() const;

    // Replaces both lists; one that is absent is then empty. An element without its text, or with something
    // else in its place, counts as an empty text. Always true. A list that is no array ends in
    // json::Exception ("Bad cast"); what was read before it stays.
    bool fromJson(const json::Object &object);
    // The same from text. False, with a warning, when the text is empty or no JSON object; the lists are then
    // as they were.
    bool fromJsonString(const QString &text);

    QStringList servers; // addresses
    QStringList search;  // domain names
};

#endif // DNSCONFIG_H
