#include "textmodels.h"

#include <QtCore/QRegularExpression>

#include <climits>

namespace
{

bool isWhite(QChar character)
{
    return character.isSpace() || character == QChar(0x85);
}

QString withoutWhite(QString text)
{
    while (!text.isEmpty() && isWhite(text.at(0)))
        text.remove(0, 1);
    while (!text.isEmpty() && isWhite(text.at(text.size() - 1)))
        text.chop(1);
    return text;
}

} // namespace

std::uint32_t addressIn(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A0*([0-9]{1,3})[.]0*([0-9]{1,3})[.]0*([0-9]{1,3})[.]0*([0-9]{1,3})\\z"));
    const QRegularExpressionMatch match = form.match(withoutWhite(text));
    std::uint32_t address = 0;
    for (int i = 1; i <= 4; ++i) {
        const std::uint32_t part = match.captured(i).toUInt();
        if (!match.hasMatch() || part > 255)
            return 0;
        address = address << 8 | part;
    }
    return address;
}

int numberIn(const QString &text, int base)
{
    static const QRegularExpression decimal(QStringLiteral("\\A([-+]?)0*([0-9]+)\\z"));
    static const QRegularExpression hexadecimal(QStringLiteral("\\A([-+]?)(?:0[xX])?0*([0-9A-Fa-f]+)\\z"));
    const QRegularExpressionMatch match = (base == 16 ? hexadecimal : decimal).match(withoutWhite(text));
    const QString digits = match.captured(2);
    if (!match.hasMatch() || digits.size() > 15)
        return 0;
    // Digits alone are read alike by every Qt.
    const qint64 size = digits.toLongLong(nullptr, base);
    const qint64 number = match.captured(1) == QLatin1String("-") ? -size : size;
    return number >= INT_MIN && number <= INT_MAX ? static_cast<int>(number) : 0;
}

QHash<int, QString> namesIn(const QString &text)
{
    // The number has no white space at all.
    static const QRegularExpression form(QStringLiteral("\\A([^:]*):([^:]*)\\z"));
    QHash<int, QString> names;
    for (const QString &part : text.split(QLatin1Char(','))) {
        const QRegularExpressionMatch match = form.match(part);
        if (!match.hasMatch())
            continue;
        const QString number = match.captured(1);
        const bool isBare = withoutWhite(number) == number;
        names[isBare ? numberIn(number) : 0] = match.captured(2);
    }
    return names;
}
