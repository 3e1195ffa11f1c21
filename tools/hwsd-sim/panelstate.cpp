#include "panelstate.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringList>

#include <limits>

namespace
{

const int ChipSize = 256;
// The address of the panel's identification text in the board's EEPROM.
const int IdentificationAddress = 0x55;

// Objects that are maps from a name to members of one form, which is that of the example's first member.
const char *const Maps[] = {"/interfaces", "/leases", "/factory/interfaces", "/users", "/storage"};

QJsonObject builtInDocument()
{
    QFile file(QLatin1String(":/panel.json"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The built-in panel is missing");
    const QJsonDocument parsed = QJsonDocument::fromJson(file.readAll());
    if (!parsed.isObject())
        qFatal("The built-in panel is no JSON object");
    return parsed.object();
}

bool isMap(const QString &path)
{
    for (const char *map : Maps)
        if (path == QLatin1String(map))
            return true;
    return false;
}

bool isWholeNumber(const QJsonValue &value)
{
    const double number = value.toDouble();
    return number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max() &&
           number == static_cast<double>(static_cast<int>(number));
}

// Empty when the value has the type that the form has.
QString checkValue(const QJsonValue &value, const QJsonValue &form, const QString &path)
{
    if (value.type() != form.type())
        return QString(QLatin1String("%1 has the wrong type")).arg(path);
    if (value.isDouble() && !isWholeNumber(value))
        return QString(QLatin1String("%1 is not a whole 32-bit number")).arg(path);
    return QString();
}

// Empty when the whole patch has been merged into the target.
QString mergeObject(QJsonObject &target, const QJsonObject &patch, const QJsonObject &form,
                    const QString &path)
{
    const bool map = isMap(path);
    for (auto member = patch.begin(); member != patch.end(); ++member) {
        const QString key = member.key();
        const QString memberPath = path + QLatin1Char('/') + key;
        if (map && member.value().isNull()) {
            target.remove(key);
            continue;
        }
        if (!map && !form.contains(key))
            return QString(QLatin1String("%1 is not a key of the panel's state")).arg(memberPath);
        const QJsonValue memberForm = map ? form.begin().value() : form.value(key);
        QString problem = checkValue(member.value(), memberForm, memberPath);
        if (!problem.isEmpty())
            return problem;
        if (!memberForm.isObject()) {
            target.insert(key, member.value());
            continue;
        }
        QJsonObject inner = target.value(key).toObject();
        problem = mergeObject(inner, member.value().toObject(), memberForm.toObject(), memberPath);
        if (!problem.isEmpty())
            return problem;
        target.insert(key, inner);
    }
    return QString();
}

// An interface's name is its key; the rest of a new one starts as an Ethernet port without an address.
void completeInterfaces(QJsonObject &document)
{
    QJsonObject interfaces = document.value(QLatin1String("interfaces")).toObject();
    const QJsonObject form = builtInDocument()
                                 .value(QLatin1String("interfaces"))
                                 .toObject()
                                 .value(QLatin1String("eth0"))
                                 .toObject();
    for (const QString &name : interfaces.keys()) {
        QJsonObject record = interfaces.value(name).toObject();
        for (const QString &key : form.keys()) {
            if (record.contains(key))
                continue;
            if (form.value(key).isBool())
                record.insert(key, false);
            else if (form.value(key).isDouble())
                record.insert(key, 0);
            else
                record.insert(key, QString());
        }
        record.insert(QLatin1String("name"), name);
        interfaces.insert(name, record);
    }
    document.insert(QLatin1String("interfaces"), interfaces);
}

} // namespace

PanelState::PanelState()
    : m_document(builtInDocument())
{
}

QString PanelState::merge(const QJsonObject &patch)
{
    QJsonObject merged = m_document;
    QString problem = mergeObject(merged, patch, builtInDocument(), QString());
    if (!problem.isEmpty())
        return problem;
    // A new identification text is written to the chip even when the chip was written to before.
    const QJsonObject eeprom = patch.value(QLatin1String("eeprom")).toObject();
    if (eeprom.contains(QLatin1String("text")) && !eeprom.contains(QLatin1String("hex"))) {
        QJsonObject chipSection = merged.value(QLatin1String("eeprom")).toObject();
        chipSection.insert(QLatin1String("hex"), QString());
        merged.insert(QLatin1String("eeprom"), chipSection);
    }
    completeInterfaces(merged);
    m_document = merged;
    return QString();
}

QString PanelState::mergeText(const QByteArray &text)
{
    QJsonParseError parseError;
    const QJsonDocument parsed = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return QString(QLatin1String("%1 at byte %2")).arg(parseError.errorString()).arg(parseError.offset);
    if (!parsed.isObject())
        return QLatin1String("the panel's state is a JSON object");
    return merge(parsed.object());
}

QJsonObject PanelState::section(const char *name) const
{
    return m_document.value(QLatin1String(name)).toObject();
}

void PanelState::setSection(const char *name, const QJsonValue &value)
{
    m_document.insert(QLatin1String(name), value);
}

int PanelState::number(const char *sectionName, const char *key) const
{
    return section(sectionName).value(QLatin1String(key)).toInt();
}

void PanelState::setNumber(const char *sectionName, const char *key, int value)
{
    QJsonObject changed = section(sectionName);
    changed.insert(QLatin1String(key), value);
    setSection(sectionName, changed);
}

QString PanelState::text(const char *sectionName, const char *key) const
{
    return section(sectionName).value(QLatin1String(key)).toString();
}

void PanelState::setText(const char *sectionName, const char *key, const QString &text)
{
    QJsonObject changed = section(sectionName);
    changed.insert(QLatin1String(key), text);
    setSection(sectionName, changed);
}

QByteArray PanelState::chip(const char *sectionName) const
{
    QByteArray content = QByteArray::fromHex(text(sectionName, "hex").toLatin1());
    if (content.isEmpty() && section(sectionName).contains(QLatin1String("text"))) {
        content = QByteArray(IdentificationAddress, '\xff') + text(sectionName, "text").toLatin1();
        content.append('\0');
    }
    // An erased cell reads as all ones.
    content = content.left(ChipSize);
    return content + QByteArray(ChipSize - content.size(), '\xff');
}

void PanelState::setChip(const char *sectionName, const QByteArray &content)
{
    setText(sectionName, "hex", QString::fromLatin1(content.toHex()));
}
