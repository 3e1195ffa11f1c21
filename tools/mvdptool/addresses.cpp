#include "addresses.h"

#include <QtCore/QByteArray>
#include <QtCore/QRegularExpression>

#include <algorithm>

std::optional<std::uint32_t> ipv4FromText(const QString &text)
{
    // Not QHostAddress: it takes octal and hexadecimal parts, and fewer than four.
    static const QRegularExpression form(
        QStringLiteral("\\A(0|[1-9][0-9]{0,2})\\.(0|[1-9][0-9]{0,2})\\.(0|[1-9][0-9]{0,2})\\."
                       "(0|[1-9][0-9]{0,2})\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    std::uint32_t address = 0;
    for (int part = 1; part <= 4; ++part) {
        const unsigned number = match.captured(part).toUInt();
        if (number > 255)
            return std::nullopt;
        address = address << 8 | number;
    }
    return address;
}

QString ipv4Text(std::uint32_t address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(address >> 24)
        .arg(address >> 16 & 0xFF)
        .arg(address >> 8 & 0xFF)
        .arg(address & 0xFF);
}

std::optional<std::uint32_t> netmaskFromText(const QString &text)
{
    const QString digits = text.startsWith(QLatin1Char('/')) ? text.mid(1) : text;
    static const QRegularExpression number(QStringLiteral("\\A[0-9]{1,2}\\z"));
    if (number.match(digits).hasMatch()) {
        const int length = digits.toInt();
        return length <= 32 ? std::optional<std::uint32_t>(netmaskOfPrefix(length)) : std::nullopt;
    }
    return ipv4FromText(text);
}

std::optional<int> prefixLength(std::uint32_t netmask)
{
    for (int length = 0; length <= 32; ++length) {
        if (netmask == netmaskOfPrefix(length))
            return length;
    }
    return std::nullopt;
}

std::uint32_t netmaskOfPrefix(int length)
{
    return length == 0 ? 0 : 0xFFFFFFFFu << (32 - length);
}

QString addressWithNetmask(std::uint32_t address, std::uint32_t netmask)
{
    const auto prefix = prefixLength(netmask);
    return ipv4Text(address) + QLatin1Char('/') + (prefix ? QString::number(*prefix) : ipv4Text(netmask));
}

std::optional<AddressWithNetmask> addressWithPrefixFromText(const QString &text)
{
    const auto slash = text.indexOf(QLatin1Char('/'));
    const auto address = ipv4FromText(slash < 0 ? text : text.left(slash));
    if (!address || slash < 0)
        return address ? std::optional<AddressWithNetmask>({*address, std::nullopt}) : std::nullopt;
    const QString behind = text.mid(slash + 1);
    const auto netmask = behind.startsWith(QLatin1Char('/')) ? std::nullopt : netmaskFromText(behind);
    return netmask ? std::optional<AddressWithNetmask>({*address, netmask}) : std::nullopt;
}

std::optional<MacAddress> macFromText(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A([0-9A-Fa-f]{2})([:-]?)([0-9A-Fa-f]{2}\\2){4}[0-9A-Fa-f]{2}\\z"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    MacAddress mac;
    std::copy_n(bytes.cbegin(), mac.size(), mac.begin()); // the form has exactly so many
    return mac;
}

QString macText(const MacAddress &mac)
{
    const QByteArray bytes(reinterpret_cast<const char *>(mac.data()), static_cast<int>(mac.size()));
    return QString::fromLatin1(bytes.toHex(':'));
}

bool isZero(const MacAddress &mac)
{
    return mac == MacAddress{};
}
