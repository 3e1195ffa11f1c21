#include "csvrow.h"

#include <QtCore/QJsonArray>
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

bool isFormula(const QString &text)
{
    static const QString starts = QStringLiteral("=+-@");
    return !text.isEmpty() && starts.contains(text.at(0));
}

QString csvField(const QString &text)
{
    QString field = isFormula(text) ? QLatin1Char('\'') + text : text;
    const bool needsQuotes = std::any_of(field.cbegin(), field.cend(), [](QChar character) {
        return character == QLatin1Char(',') || character == QLatin1Char(';') ||
               character == QLatin1Char('"') || character < QLatin1Char(' ');
    });
    if (!needsQuotes)
        return field;
    field.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + field + QLatin1Char('"');
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
