#include "csvrow.h"

#include "csvreader.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QLocale>

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

QString valueText(const QJsonValue &value)
{
    if (value.isDouble())
        return numberText(value.toDouble());
    if (!value.isArray())
        return value.toString();
    QStringList parts;
    for (const QJsonValue part : value.toArray())
        parts << part.toString();
    return parts.join(QLatin1Char(' '));
}

} // namespace

QStringList csvFields(const QJsonObject &record, const QStringList &columns)
{
    const QJsonObject panel = record.value(QStringLiteral("panel")).toObject();
    QStringList fields;
    for (const QString &column : columns)
        fields << valueText(panel.contains(column) ? panel.value(column) : record.value(column));
    return fields;
}

QString csvLine(const QStringList &fields)
{
    QStringList written;
    for (const QString &field : fields)
        written << csvField(field);
    return written.join(QLatin1Char(',')) + QLatin1Char('\n');
}
