#include "networkdocument.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonValue>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

#include <cstddef>

namespace
{

struct KeyType {
    const char *key;
    QJsonValue::Type type;
};

const KeyType InterfaceKeys[] = {
    {"name", QJsonValue::String},
    {"label", QJsonValue::String},
    {"mac_address", QJsonValue::String},
    {"ip_address", QJsonValue::String},
    {"netmask", QJsonValue::String},
    {"gateway_ip", QJsonValue::String},
    {"metric", QJsonValue::Double},
    {"dhcp", QJsonValue::Bool},
    {"configured", QJsonValue::Bool},
    {"readonly", QJsonValue::Bool},
    {"virtual", QJsonValue::Bool},
    {"hidden", QJsonValue::Bool},
    {"actual_netmask", QJsonValue::String},
    {"actual_ip_address", QJsonValue::String},
    {"actual_gateway_ip", QJsonValue::String},
    {"actual_metric", QJsonValue::Double},
};

const KeyType DocumentKeys[] = {
    {"version", QJsonValue::Double}, {"hostname", QJsonValue::String},  {"dns", QJsonValue::Object},
    {"bridge", QJsonValue::Object},  {"interfaces", QJsonValue::Array},
};

const KeyType DnsKeys[] = {{"servers", QJsonValue::Array}, {"search", QJsonValue::Array}};

const KeyType BridgeKeys[] = {
    {"enabled", QJsonValue::Bool}, {"interfaces", QJsonValue::Array}, {"list", QJsonValue::Array}};

template <std::size_t Size>
QString checkTypes(const QJsonObject &object, const KeyType (&keys)[Size])
{
    for (const KeyType &expected : keys) {
        const QJsonValue value = object.value(QLatin1String(expected.key));
        if (!value.isUndefined() && value.type() != expected.type)
            return QString(QLatin1String("\"%1\" has the wrong type")).arg(QLatin1String(expected.key));
    }
    return QString();
}

// An empty text is valid: not configured.
QString checkAddressText(const QJsonObject &record, const char *key, bool (*accepts)(const QString &))
{
    const QString text = record.value(QLatin1String(key)).toString();
    if (text.isEmpty() || accepts(text))
        return QString();
    return QString(QLatin1String("\"%1\" cannot be \"%2\"")).arg(QLatin1String(key), text);
}

} // namespace

bool isAddress(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 4)
        return false;
    for (const QString &part : parts) {
        if (part.isEmpty() || part.size() > 3)
            return false;
        int value = 0;
        for (const QChar digit : part) {
            if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
                return false;
            value = value * 10 + (digit.unicode() - '0');
        }
        if (value > 255)
            return false;
    }
    return true;
}

bool isNetmask(const QString &text)
{
    if (!isAddress(text))
        return false;
    quint32 mask = 0;
    for (const QString &part : text.split(QLatin1Char('.')))
        mask = mask << 8 | part.toUInt();
    const quint32 zeros = ~mask;
    return (zeros & (zeros + 1)) == 0;
}

int prefixLength(const QString &netmask)
{
    int ones = 0;
    for (const QString &part : netmask.split(QLatin1Char('.')))
        for (quint32 bits = part.toUInt(); bits != 0; bits &= bits - 1)
            ++ones;
    return ones;
}

bool isMacAddress(const QString &text)
{
    static const QRegularExpression form(QLatin1String("\\A[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}\\z"));
    return form.match(text).hasMatch();
}

QString parseObject(const QString &text, QJsonObject &object)
{
    QJsonParseError parseError;
    const QJsonDocument parsed = QJsonDocument::fromJson(text.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return parseError.errorString();
    if (!parsed.isObject())
        return QLatin1String("not a JSON object");
    object = parsed.object();
    return QString();
}

QString checkInterfaceRecord(const QJsonObject &record, const QString &name)
{
    QString wrongType = checkTypes(record, InterfaceKeys);
    if (!wrongType.isEmpty())
        return wrongType;
    const QString ownName = record.value(QLatin1String("name")).toString();
    if (ownName.isEmpty())
        return QLatin1String("the record has no name");
    if (!name.isEmpty() && ownName != name)
        return QString(QLatin1String("the record is that of \"%1\"")).arg(ownName);
    for (const QString &problem :
         {checkAddressText(record, "ip_address", isAddress), checkAddressText(record, "netmask", isNetmask),
          checkAddressText(record, "gateway_ip", isAddress)})
        if (!problem.isEmpty())
            return problem;
    return QString();
}

QString checkNetworkDocument(const QJsonObject &document)
{
    if (!document.contains(QLatin1String("version")))
        return QLatin1String("the document has no version");
    const QString wrongTypes[] = {checkTypes(document, DocumentKeys),
                                  checkTypes(document.value(QLatin1String("dns")).toObject(), DnsKeys),
                                  checkTypes(document.value(QLatin1String("bridge")).toObject(), BridgeKeys)};
    for (const QString &each : wrongTypes)
        if (!each.isEmpty())
            return each;
    QSet<QString> names;
    for (const auto &element : document.value(QLatin1String("interfaces")).toArray()) {
        const QJsonObject record = element.toObject();
        QString problem = checkInterfaceRecord(record, QString());
        if (!problem.isEmpty())
            return problem;
        const QString name = record.value(QLatin1String("name")).toString();
        if (names.contains(name))
            return QString(QLatin1String("interface \"%1\" stands there twice")).arg(name);
        names.insert(name);
    }
    return QString();
}

QString compactText(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}
