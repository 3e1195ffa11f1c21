#include "dump.h"

#include "addresses.h"
#include "panel.h"
#include "request.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstring>

namespace
{

const std::size_t BytesPerLine = 16;

QString hex(const std::uint8_t *bytes, std::size_t size)
{
    const QByteArray raw(reinterpret_cast<const char *>(bytes), static_cast<int>(size));
    return QString::fromLatin1(raw.toHex(' '));
}

QString typeName(std::uint8_t type)
{
    switch (type) {
    case static_cast<std::uint8_t>(MvdpPacketType::Request):
        return QStringLiteral("request");
    case static_cast<std::uint8_t>(MvdpPacketType::Reply):
        return QStringLiteral("reply");
    case static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied):
        return QStringLiteral("reply, not applied");
    default:
        return QStringLiteral("unknown");
    }
}

} // namespace

QString hexLines(const std::uint8_t *bytes, std::size_t size)
{
    QStringList lines;
    bool starShown = false;
    for (std::size_t offset = 0; offset < size; offset += BytesPerLine) {
        const std::size_t count = std::min(BytesPerLine, size - offset);
        const bool last = offset + count == size;
        const bool repeats = offset > 0 && count == BytesPerLine && !last &&
                             std::memcmp(bytes + offset, bytes + offset - BytesPerLine, BytesPerLine) == 0;
        if (repeats) {
            if (!starShown)
                lines << QStringLiteral("  *");
            starShown = true;
            continue;
        }
        starShown = false;
        lines << QStringLiteral("  %1  %2").arg(offset, 3).arg(hex(bytes + offset, count));
    }
    return lines.join(QLatin1Char('\n'));
}

QString fieldLines(const MvdpDatagram &datagram, std::size_t length)
{
    const std::uint8_t *bytes = datagram.data();
    QStringList lines;
    const auto add = [&lines, length](std::size_t end, const QString &line) {
        if (end <= length)
            lines << QStringLiteral("  ") + line;
    };
    add(8, QStringLiteral("magic %1, version %2, type %3 (%4), command %5 (%6), tag %7")
               .arg(QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(bytes), 4).toHex()))
               .arg(bytes[MvdpDatagram::Version])
               .arg(datagram.packetType())
               .arg(typeName(datagram.packetType()))
               .arg(datagram.command())
               .arg(QLatin1String(commandName(datagram.command())))
               .arg(hex(bytes + MvdpDatagram::Tag, 1)));
    add(20,
        QStringLiteral("address %1, netmask %2, gateway %3")
            .arg(ipv4Text(datagram.ipAddress()), ipv4Text(datagram.netmask()), ipv4Text(datagram.gateway())));
    MacAddress mac;
    std::copy_n(datagram.macAddress(), mac.size(), mac.begin());
    add(26, QStringLiteral("MAC address %1").arg(macText(mac)));
    add(38, QStringLiteral("fixed identity %1, partition version %2")
                .arg(hex(bytes + MvdpDatagram::FixedIdentity, 6), ipv4Text(datagram.partitionVersion())));
    add(44, QStringLiteral("fixed bytes 40: %1").arg(hex(bytes + MvdpDatagram::Fixed40, 4)));
    add(108, QStringLiteral("description '%1'")
                 .arg(cleanText(datagram.description(), MvdpDatagram::DescriptionSize)));
    return lines.join(QLatin1Char('\n'));
}
