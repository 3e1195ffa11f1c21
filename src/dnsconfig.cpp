#include "dnsconfig.h"

#include "jsonfields.h"

namespace
{

const char ServersKey[] = "servers";
const char ServerIpKey[] = "ip";
const char SearchKey[] = "search";
const char SearchNameKey[] = "name";

// Blanks at the end are part of the texts. The last text names an interface: it is that of the interface
// record, used here as well.
const JsonReadWarnings ReadWarnings = {
    "Trying to parse dns json!",
    "Parse error in dns json",
    "Scan error in dns json ",
    "Unknown network interface json error ",
};

// An array of objects that hold one text each.
json::Array toArray(const QStringList &texts, const char *key)
{
    json::Array array;
    for (int i = 0; i < texts.size(); ++i) {
        json::Object element;
        addText(element, key, texts.at(i));
        array.Insert(element);
    }
    return array;
}

// By value, because the casts below replace an element that is no object, or a member that is no text, by an
// empty one.
QStringList toTexts(json::Array array, const char *key)
{
    QStringList texts;
    for (json::Array::iterator element = array.Begin(); element != array.End(); ++element) {
        json::Object &object = *element;
        const json::String &text = static_cast<json::String &>(object[key]);
        texts.append(fromJsonText(text.Value()));
    }
    return texts;
}

} // namespace

json::Object DnsConfig::toJson() const
{
    json::Object object;
    object.Insert(json::Object::Member(ServersKey, toArray(servers, ServerIpKey)));
    object.Insert(json::Object::Member(SearchKey, toArray(search, SearchNameKey)));
    return object;
}

bool DnsConfig::fromJson(const json::Object &object)
{
    servers.clear();
    search.clear();
    const json::Object::const_iterator serversMember = object.Find(ServersKey);
    if (serversMember != object.End())
        servers = toTexts(serversMember->element, ServerIpKey);
    const json::Object::const_iterator searchMember = object.Find(SearchKey);
    if (searchMember != object.End())
        search = toTexts(searchMember->element, SearchNameKey);
    return true;
}

QString DnsConfig::toJsonString() const
{
    return writeJsonObject(toJson());
}

bool DnsConfig::fromJsonString(const QString &text)
{
    return readRecord(text, ReadWarnings, *this);
}
