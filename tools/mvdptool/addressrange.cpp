#include "addressrange.h"

#include "addresses.h"
#include "textfile.h"

#include <QtCore/QRegularExpression>

namespace
{

using Offset = TextFile::Offset;

[[noreturn]] void fail(const QString &text, Offset at, const QString &what)
{
    throw ToolError{ToolError::BadInput,
                    QStringLiteral("the range %1, character %2: %3").arg(quoted(text)).arg(at + 1).arg(what),
                    QStringLiteral("Write it as 192.168.10.20-59 or 192.168.10.20-192.168.10.59.")};
}

// The number replaces the last one of the first address.
std::optional<std::uint32_t> lastFromText(const QString &text, std::uint32_t first)
{
    static const QRegularExpression number(QStringLiteral("\\A(0|[1-9][0-9]{0,2})\\z"));
    if (!number.match(text).hasMatch())
        return ipv4FromText(text);
    const unsigned last = text.toUInt();
    return last <= 255 ? std::optional<std::uint32_t>((first & ~0xFFu) | last) : std::nullopt;
}

} // namespace

AddressRange rangeFromText(const QString &text)
{
    const auto slash = text.indexOf(QLatin1Char('/'));
    const QString addresses = slash < 0 ? text : text.left(slash);
    const auto dash = addresses.indexOf(QLatin1Char('-'));
    const QString firstText = dash < 0 ? addresses : addresses.left(dash);
    const auto first = ipv4FromText(firstText);
    if (!first)
        fail(text, 0, QStringLiteral("%1 is no IPv4 address").arg(quoted(firstText)));
    if (dash < 0)
        fail(text, addresses.size(), QStringLiteral("'-' and the last address are missing"));
    const QString lastText = addresses.mid(dash + 1);
    const auto last = lastFromText(lastText, *first);
    if (!last)
        fail(
            text, dash + 1,
            QStringLiteral("%1 is neither an IPv4 address nor a number from 0 to 255").arg(quoted(lastText)));
    if (*last < *first)
        fail(text, dash + 1, QStringLiteral("the range ends before it begins"));
    if (*last - *first >= LargestRange)
        fail(text, dash + 1,
             QStringLiteral("the range has %1 addresses, and %2 is the most")
                 .arg(std::uint64_t(*last) - *first + 1)
                 .arg(LargestRange));
    AddressRange range = {*first, *last, std::nullopt};
    if (slash < 0)
        return range;
    const QString behind = text.mid(slash + 1);
    range.netmask = behind.startsWith(QLatin1Char('/')) ? std::nullopt : netmaskFromText(behind);
    if (!range.netmask)
        fail(text, slash + 1, QStringLiteral("%1 is no netmask").arg(quoted(behind)));
    return range;
}
