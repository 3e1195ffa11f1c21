#include "csvrow.h"

#include "csvreader.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonValue>
#include <QtCore/QLocale>

#include <algorithm>
#include <cmath>

namespace
{

// As in JSON: every digit, and integers without an exponent.
QString numberText(double number)
{
    const double exactWhole = 9007199254740992.0; // 2 to the power of 53
    const bool isWhole = std::abs(number) <= exactWhole && std::trunc(number) == number;
    return QString::number(number, isWhole ? 'f' : 'g', isWhole ? 0 : QLocale::FloatingPointShortest);
}

bool isList(const QJsonValue &value)
{
    const QJsonArray parts = value.toArray();
    return value.isArray() &&
           std::all_of(parts.begin(), parts.end(), [](const QJsonValue &part) { return part.isString(); });
}

QString valueText(const QJsonValue &value)
{
    if (value.isDouble())
        return numberText(value.toDouble());
    if (value.isBool())
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (!value.isArray())
        return value.toString();
    if (!isList(value))
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    QStringList parts;
    for (const QJsonValue part : value.toArray())
        parts << part.toString();
    return parts.join(QLatin1Char(' '));
}

} // namespace

QStringList csvFields(const QJsonObject &record, const QStringList &columns)
{
    // A user's own columns come first: they may have any name but those of the other columns.
    const QJsonObject own = record.value(QStringLiteral("columns")).toObject();
    const QJsonObject panel = record.value(QStringLiteral("panel")).toObject();
    QStringList fields;
    for (const QString &column : columns)
        fields << valueText(own.contains(column)     ? own.value(column)
                            : panel.contains(column) ? panel.value(column)
                                                     : record.value(column));
    return fields;
}

QString csvLine(const QStringList &fields)
{
    QStringList written;
    for (const QString &field : fields)
        written << csvField(field);
    return written.join(QLatin1Char(',')) + QLatin1Char('\n');
}
