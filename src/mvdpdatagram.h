#ifndef MVDPDATAGRAM_H
#define MVDPDATAGRAM_H

#include <cstddef>
#include <cstdint>

// Byte 6 of a datagram.
enum class MvdpCommand : std::uint8_t {
    Discover = 1,
    Echo = 2,
    Identify = 4,
    SetAddress = 5,
    RestoreDefaultsRelative = 6,
    Wink = 7,
    ResetNetwork = 14,
    RestoreDefaults = 15,
    Restart = 102,
};

// Byte 5 of a datagram.
enum class MvdpPacketType : std::uint8_t {
    Request = 1,
    Reply = 2,
    ReplyNotApplied = 3, // SetAddress only: the new settings could not be applied
};

// What a panel tells about itself in a reply. IPv4 values are numbers whose most significant byte
// is the first dotted octet (192.168.0.1 is 0xC0A80001).
struct MvdpIdentity {
    std::uint32_t ipAddress;
    std::uint32_t netmask;
    std::uint32_t gateway;
    std::uint8_t macAddress[6];
    std::uint32_t partitionVersion; // 0: could not be read
    char description[64];           // Latin-1, not terminated, padded with zero bytes

    MvdpIdentity();
};

// One datagram of the protocol: 256 bytes that arrive as a request and are rewritten in place into the
// reply. Every multi-byte number is unsigned and little-endian, IPv4 addresses included. Pure functions
// over the bytes, without sockets, clocks or threads; one thread at a time.
class MvdpDatagram
{
public:
    enum Limits : std::size_t { Size = 256, MacAddressSize = 6, DescriptionSize = 64 };

    // UDP port and IPv4 multicast group (224.0.5.128) of the protocol, both in host byte order.
    enum : std::uint16_t { Port = 58553 };
    enum : std::uint32_t { MulticastGroup = 0xE0000580u };

    // The layout: offset of each field, in the order of the bytes. docs/protocol.md names the fields.
    enum Offset : std::size_t {
        Magic = 0,             //  4  5E 13 06 03
        Version = 4,           //  1  requests: 2 or greater; replies: 4
        PacketType = 5,        //  1  MvdpPacketType
        Command = 6,           //  1  MvdpCommand
        Tag = 7,               //  1  travels back as it came
        IpAddress = 8,         //  4
        Netmask = 12,          //  4
        Gateway = 16,          //  4
        MacAddress = 20,       //  6  in transmission order
        FixedIdentity = 26,    //  6  58 02 0F 27 8D 01
        Reserved32 = 32,       //  2  00 00
        PartitionVersion = 34, //  4
        Reserved38 = 38,       //  2  00 00
        Fixed40 = 40,          //  4  00 00 02 00
        Description = 44,      // 64  text, zero padded
        Reserved108 = 108,     // to the end: zero
    };

    // All bytes zero.
    MvdpDatagram();

    // The Size bytes, for the socket. A receive of fewer bytes leaves the rest as it was, on purpose:
    // a short request is completed by what the datagram before it left.
    std::uint8_t *data() { return m_bytes; }
    const std::uint8_t *data() const { return m_bytes; }

    // Writes the header that a panel accepts as a request (magic, version, type) and the command.
    void setRequestHeader(MvdpCommand command);

    // True when magic, packet type and version make this a request; says nothing about the command.
    bool isRequest() const;
    // True when magic, packet type and version make this a reply of a panel (either type).
    bool isReply() const;

    std::uint8_t command() const { return m_bytes[Command]; }
    std::uint8_t packetType() const { return m_bytes[PacketType]; }
    void setPacketType(MvdpPacketType type) { m_bytes[PacketType] = static_cast<std::uint8_t>(type); }

    // IPv4 fields, in the form that MvdpIdentity tells.
    std::uint32_t ipAddress() const { return number32(IpAddress); }
    std::uint32_t netmask() const { return number32(Netmask); }
    std::uint32_t gateway() const { return number32(Gateway); }
    void setIpAddress(std::uint32_t value) { setNumber32(IpAddress, value); }
    void setNetmask(std::uint32_t value) { setNumber32(Netmask, value); }
    void setGateway(std::uint32_t value) { setNumber32(Gateway, value); }

    // MacAddressSize bytes: the addressed panel in a request, the answering one in a reply.
    const std::uint8_t *macAddress() const { return m_bytes + MacAddress; }
    void setMacAddress(const std::uint8_t *mac);
    bool hasMacAddress(const std::uint8_t *mac) const;

    std::uint32_t partitionVersion() const { return number32(PartitionVersion); }
    // DescriptionSize bytes, not terminated.
    const char *description() const { return reinterpret_cast<const char *>(m_bytes + Description); }

    // Rewrites every byte but packet type, command and tag into a panel's identity reply.
    void setIdentity(const MvdpIdentity &identity);

private:
    std::uint32_t number32(Offset offset) const;
    void setNumber32(Offset offset, std::uint32_t value);
    bool hasMagic() const;

    std::uint8_t m_bytes[Size];
};

#endif // MVDPDATAGRAM_H
