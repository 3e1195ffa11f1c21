#include "faults.h"

#include "wirevalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QJsonValue>
#include <QtCore/QMetaType>
#include <QtCore/QRegularExpression>

namespace
{

// The limit of a D-Bus message is 128 MiB.
const int LongestText = 64 * 1024 * 1024;
const int LongestDelayMs = 24 * 60 * 60 * 1000;

struct ParameterForm {
    const char *name;
    QJsonValue::Type type;
    bool required;
};

struct Kind {
    const char *name;
    // A type that the reply's signature must contain for the fault to show; empty: none.
    const char *needs;
    QVector<ParameterForm> parameters;
    void (*put)(const QJsonObject &parameters, FaultPlan &plan);
};

QString textOf(const QJsonObject &parameters, const char *name)
{
    return parameters.value(QLatin1String(name)).toString();
}

int numberOf(const QJsonObject &parameters, const char *name)
{
    return parameters.value(QLatin1String(name)).toInt();
}

void putError(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.errorName = textOf(parameters, "name");
    if (plan.errorName.isEmpty())
        plan.errorName = QLatin1String("com.zelt.HWSD.Error.Simulated");
    plan.errorText = textOf(parameters, "message");
    if (plan.errorText.isEmpty())
        plan.errorText = QLatin1String("Simulated error");
}

void putDelay(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.delayMs = numberOf(parameters, "ms");
}

void putSilence(const QJsonObject &, FaultPlan &plan)
{
    plan.silent = true;
}

void putWrongType(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.wrongType = true;
    plan.signature = textOf(parameters, "signature");
}

void putNoArguments(const QJsonObject &, FaultPlan &plan)
{
    plan.noArguments = true;
}

void putShortArray(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.arrayBytes = numberOf(parameters, "bytes");
}

void putText(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.replacesText = true;
    plan.text = textOf(parameters, "text");
}

void putDisappear(const QJsonObject &parameters, FaultPlan &plan)
{
    plan.disappears = true;
    plan.awayMs = numberOf(parameters, "ms");
}

const QVector<Kind> Kinds = {
    {"error", "", {{"name", QJsonValue::String, false}, {"message", QJsonValue::String, false}}, putError},
    {"delay", "", {{"ms", QJsonValue::Double, true}}, putDelay},
    {"silence", "", {}, putSilence},
    {"wrong-type", "", {{"signature", QJsonValue::String, false}}, putWrongType},
    {"no-arguments", "", {}, putNoArguments},
    {"short-array", "ay", {{"bytes", QJsonValue::Double, true}}, putShortArray},
    {"text",
     "s",
     {{"text", QJsonValue::String, false},
      {"file", QJsonValue::String, false},
      {"size", QJsonValue::Double, false}},
     putText},
    {"disappear", "", {{"ms", QJsonValue::Double, false}}, putDisappear},
};

const Kind *findKind(const QString &name)
{
    for (const Kind &kind : Kinds)
        if (name == QLatin1String(kind.name))
            return &kind;
    return nullptr;
}

// Empty when the key matches a method whose reply can show the fault.
QString checkKey(const QString &key, const Kind &kind)
{
    bool known = false;
    for (const Method &method : allMethods()) {
        if (!keyMeans(key, QLatin1String(method.interface), QLatin1String(method.name)))
            continue;
        known = true;
        if (QLatin1String(method.out).contains(QLatin1String(kind.needs)))
            return QString();
    }
    if (!known)
        return QString(QLatin1String("\"%1\" means no method")).arg(key);
    return QString(QLatin1String("\"%1\" replies nothing that \"%2\" could change"))
        .arg(key, QLatin1String(kind.name));
}

QString checkForm(const QJsonObject &parameters, const Kind &kind)
{
    QJsonObject rest = parameters;
    for (const ParameterForm &form : kind.parameters) {
        const QString name = QLatin1String(form.name);
        const QJsonValue value = rest.take(name);
        if (value.isUndefined() && !form.required)
            continue;
        if (value.type() != form.type)
            return QString(QLatin1String("\"%1\" takes \"%2\" as a %3"))
                .arg(QLatin1String(kind.name), name,
                     QLatin1String(form.type == QJsonValue::String ? "text" : "number"));
        const double number = value.toDouble();
        if (value.isDouble() && !(number >= 0 && number <= LongestDelayMs && number == value.toInt(-1)))
            return QString(QLatin1String("\"%1\" is a whole number from 0 to %2"))
                .arg(name)
                .arg(LongestDelayMs);
    }
    if (rest.isEmpty())
        return QString();
    return QString(QLatin1String("\"%1\" has no parameter \"%2\""))
        .arg(QLatin1String(kind.name), rest.keys().first());
}

QString checkValues(const QJsonObject &parameters)
{
    static const QRegularExpression errorNameForm(
        QLatin1String("\\A[A-Za-z_][A-Za-z0-9_]*(\\.[A-Za-z_][A-Za-z0-9_]*)+\\z"));
    const QString name = textOf(parameters, "name");
    if (!name.isEmpty() && (name.size() > 255 || !errorNameForm.match(name).hasMatch()))
        return QString(QLatin1String("\"%1\" is no D-Bus error name")).arg(name);
    QVariantList sample;
    const QString signature = textOf(parameters, "signature");
    if (!sampleOf(signature, sample))
        return QString(QLatin1String("no reply can be made of signature \"%1\"")).arg(signature);
    for (const char *key : {"text", "message"})
        if (textOf(parameters, key).contains(QChar(0)))
            return QLatin1String("a D-Bus text holds no NUL character");
    return QString();
}

// Reads "file" and repeats the text to "size" characters now, so that the reply takes no time.
QString resolveText(QJsonObject &parameters)
{
    QString text = textOf(parameters, "text");
    if (parameters.contains(QLatin1String("file"))) {
        QFile file(textOf(parameters, "file"));
        if (!file.open(QIODevice::ReadOnly))
            return QString(QLatin1String("%1: %2")).arg(file.fileName(), file.errorString());
        const QByteArray content = file.read(LongestText + 1);
        if (content.contains('\0'))
            return QString(QLatin1String("%1 holds a NUL byte")).arg(file.fileName());
        text = QString::fromUtf8(content);
    }
    if (parameters.contains(QLatin1String("size"))) {
        const int size = numberOf(parameters, "size");
        if (size > LongestText)
            return QString(QLatin1String("a text has at most %1 characters")).arg(LongestText);
        const QString pattern = text.isEmpty() ? QString(QLatin1Char('x')) : text;
        text = pattern.repeated(static_cast<int>(size / pattern.size()) + 1).left(size);
    }
    if (text.size() > LongestText)
        return QString(QLatin1String("a text has at most %1 characters")).arg(LongestText);
    parameters.insert(QLatin1String("text"), text);
    return QString();
}

bool replaceFirstText(QVariantList &values, const QString &text)
{
    for (QVariant &value : values) {
        if (value.userType() == QMetaType::QString) {
            value = text;
            return true;
        }
        if (value.userType() == QMetaType::QVariantList) {
            QVariantList fields = value.toList();
            if (replaceFirstText(fields, text)) {
                value = fields;
                return true;
            }
        }
    }
    return false;
}

} // namespace

QVariantList FaultPlan::falsified(const QVariantList &values, const Method &method) const
{
    if (noArguments)
        return QVariantList();
    QVariantList result = values;
    if (wrongType) {
        QString wrong = signature;
        if (wrong.isEmpty())
            wrong = QLatin1String(method.out[0] == 's' ? "i" : "s");
        sampleOf(wrong, result);
    }
    if (replacesText)
        replaceFirstText(result, text);
    if (arrayBytes >= 0)
        result = withShortArrays(result, arrayBytes);
    return result;
}

QString Faults::set(const QString &key, const QString &kindName, const QJsonObject &parameters, quint32 calls)
{
    const Kind *kind = findKind(kindName);
    if (!kind)
        return QString(QLatin1String("\"%1\" is no kind of fault")).arg(kindName);
    Fault fault{key, kindName, parameters, calls, calls > 0};
    QString problem = checkKey(key, *kind);
    if (problem.isEmpty())
        problem = checkForm(parameters, *kind);
    if (problem.isEmpty())
        problem = checkValues(parameters);
    if (problem.isEmpty() && kind->put == putText)
        problem = resolveText(fault.parameters);
    if (!problem.isEmpty())
        return problem;
    for (int i = static_cast<int>(m_faults.size()) - 1; i >= 0; --i)
        if (m_faults.at(i).key == key && m_faults.at(i).kind == kindName)
            m_faults.remove(i);
    m_faults.append(fault);
    return QString();
}

void Faults::clear()
{
    m_faults.clear();
}

void Faults::clear(const QString &key)
{
    for (int i = static_cast<int>(m_faults.size()) - 1; i >= 0; --i)
        if (m_faults.at(i).key == key)
            m_faults.remove(i);
}

FaultPlan Faults::take(const Method &method)
{
    FaultPlan plan;
    QVector<Fault> kept;
    for (Fault &fault : m_faults) {
        if (keyMeans(fault.key, QLatin1String(method.interface), QLatin1String(method.name))) {
            findKind(fault.kind)->put(fault.parameters, plan);
            if (fault.counted && --fault.callsLeft == 0)
                continue;
        }
        kept.append(fault);
    }
    m_faults = kept;
    return plan;
}

QJsonArray Faults::list() const
{
    QJsonArray array;
    for (const Fault &fault : m_faults) {
        QJsonObject parameters = fault.parameters;
        const QString text = textOf(parameters, "text");
        if (text.size() > 200)
            parameters.insert(QLatin1String("text"), text.left(200) + QChar(0x2026));
        QJsonObject entry;
        entry.insert(QLatin1String("method"), fault.key);
        entry.insert(QLatin1String("kind"), fault.kind);
        entry.insert(QLatin1String("parameters"), parameters);
        entry.insert(QLatin1String("calls"), static_cast<double>(fault.callsLeft));
        array.append(entry);
    }
    return array;
}
