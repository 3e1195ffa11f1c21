#include "mvdpdatagram.h"

#include <cstring>

namespace
{

const std::uint32_t MagicNumber = 0x0306135E;
const std::uint8_t OldestRequestVersion = 2;
const std::uint8_t ReplyVersion = 4;

// Read as three little-endian numbers: 600, 9999 and 397. Told to tools, used nowhere here.
const std::uint8_t FixedIdentityBytes[6] = {0x58, 0x02, 0x0F, 0x27, 0x8D, 0x01};
const std::uint8_t Fixed40Bytes[4] = {0x00, 0x00, 0x02, 0x00};

} // namespace

MvdpIdentity::MvdpIdentity()
    : ipAddress(0)
    , netmask(0)
    , gateway(0)
    , macAddress()
    , partitionVersion(0)
    , description()
{
}

MvdpDatagram::MvdpDatagram()
    : m_bytes()
{
}

void MvdpDatagram::setRequestHeader(MvdpCommand command)
{
    setNumber32(Magic, MagicNumber);
    m_bytes[Version] = OldestRequestVersion;
    setPacketType(MvdpPacketType::Request);
    m_bytes[Command] = static_cast<std::uint8_t>(command);
}

bool MvdpDatagram::isRequest() const
{
    return hasMagic() && packetType() == static_cast<std::uint8_t>(MvdpPacketType::Request) &&
           m_bytes[Version] >= OldestRequestVersion;
}

bool MvdpDatagram::isReply() const
{
    return hasMagic() && m_bytes[Version] == ReplyVersion &&
           (packetType() == static_cast<std::uint8_t>(MvdpPacketType::Reply) ||
            packetType() == static_cast<std::uint8_t>(MvdpPacketType::ReplyNotApplied));
}

void MvdpDatagram::setMacAddress(const std::uint8_t *mac)
{
    std::memcpy(m_bytes + MacAddress, mac, MacAddressSize);
}

bool MvdpDatagram::hasMacAddress(const std::uint8_t *mac) const
{
    return std::memcmp(m_bytes + MacAddress, mac, MacAddressSize) == 0;
}

void MvdpDatagram::setIdentity(const MvdpIdentity &identity)
{
    setNumber32(Magic, MagicNumber);
    m_bytes[Version] = ReplyVersion;
    setIpAddress(identity.ipAddress);
    setNetmask(identity.netmask);
    setGateway(identity.gateway);
    setMacAddress(identity.macAddress);
    std::memcpy(m_bytes + FixedIdentity, FixedIdentityBytes, sizeof FixedIdentityBytes);
    std::memset(m_bytes + Reserved32, 0, PartitionVersion - Reserved32);
    setNumber32(PartitionVersion, identity.partitionVersion);
    std::memset(m_bytes + Reserved38, 0, Fixed40 - Reserved38);
    std::memcpy(m_bytes + Fixed40, Fixed40Bytes, sizeof Fixed40Bytes);
    std::memcpy(m_bytes + Description, identity.description, DescriptionSize);
    std::memset(m_bytes + Reserved108, 0, sizeof m_bytes - Reserved108);
}

std::uint32_t MvdpDatagram::number32(Offset offset) const
{
    const std::uint8_t *bytes = m_bytes + offset;
    return std::uint32_t(bytes[0]) | std::uint32_t(bytes[1]) << 8 | std::uint32_t(bytes[2]) << 16 |
           std::uint32_t(bytes[3]) << 24;
}

void MvdpDatagram::setNumber32(Offset offset, std::uint32_t value)
{
    std::uint8_t *bytes = m_bytes + offset;
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
    bytes[2] = static_cast<std::uint8_t>(value >> 16);
    bytes[3] = static_cast<std::uint8_t>(value >> 24);
}

bool MvdpDatagram::hasMagic() const
{
    return number32(Magic) == MagicNumber;
}
