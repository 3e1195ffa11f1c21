// One datagram of any length through the header test and the command handlers of a panel whose platform
// service cannot be reached, and its bytes through the layout's accessors. Nothing on this machine is
// changed: there is no bus, the disks are not synchronized, and the command that leaves a file in a fixed
// place is not passed to its handler.

#include "commandhandlers.h"
#include "countedwarnings.h"
#include "fuzztarget.h"
#include "hwsdplatform.h"
#include "mvdpdatagram.h"
#include "winkwidget/eventgrabber.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace
{

using Bytes = std::array<std::uint8_t, 256>;

int syncCount = 0;

// The panel's settings at each datagram: 192.168.0.1, 255.255.255.0, 192.168.0.254. Its MAC address is
// unknown and therefore zero.
const std::uint32_t HeldAddress = 0xC0A80001;
const std::uint32_t HeldNetmask = 0xFFFFFF00;
const std::uint32_t HeldGateway = 0xC0A800FE;
const std::array<std::uint8_t, 12> HeldSettings = {0x01, 0x00, 0xA8, 0xC0, 0x00, 0xFF,
                                                   0xFF, 0xFF, 0xFE, 0x00, 0xA8, 0xC0};

const char RelativeMarker[] = "mntdatahmi\x0D"
                              "estorecdsdefault.bin";

// Counts the wink requests that arrive at the grabber and keeps them from being carried out.
class WinkCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return false;
        ++m_count;
        return true;
    }
    int take()
    {
        QCoreApplication::sendPostedEvents(EventGrabber::instance(), QEvent::User);
        const int count = m_count;
        m_count = 0;
        return count;
    }

private:
    int m_count = 0;
};

// The process around the handlers, made once: no bus, a thread with events, a temporary folder.
class Surroundings
{
public:
    Surroundings()
        : m_application(m_argumentCount, m_arguments)
        , m_origin(::open(".", O_RDONLY | O_DIRECTORY))
        , m_folder(::open(m_temporary.path().toLocal8Bit().constData(), O_RDONLY | O_DIRECTORY))
    {
        // An address without a socket, so that no connection is attempted.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=");
        REQUIRE(m_origin >= 0 && m_folder >= 0);
        EventGrabber::instance()->installEventFilter(&winks);
    }

    // Runs the handler with the temporary folder as the working directory, where it may leave a marker.
    bool handleInFolder(MvdpDatagram &datagram)
    {
        REQUIRE(::fchdir(m_folder) == 0);
        const bool reply = handleCommand(datagram);
        REQUIRE(::fchdir(m_origin) == 0);
        return reply;
    }
    // True when an empty marker was left. Removes it.
    bool takeMarker()
    {
        struct stat status;
        return ::fstatat(m_folder, RelativeMarker, &status, 0) == 0 && status.st_size == 0 &&
               ::unlinkat(m_folder, RelativeMarker, 0) == 0;
    }

    WinkCounter winks;

private:
    int m_argumentCount = 1;
    char m_name[5] = "fuzz";
    char *m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application;
    QTemporaryDir m_temporary;
    int m_origin;
    int m_folder;
};

// The datagram in its buffer. Beyond it every byte has a value of its own, as an earlier datagram would
// leave.
Bytes received(const std::uint8_t *data, std::size_t size)
{
    Bytes bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + 3);
    std::copy_n(data, std::min(size, bytes.size()), bytes.begin());
    return bytes;
}

bool isRequest(const Bytes &bytes)
{
    return bytes[0] == 0x5E && bytes[1] == 0x13 && bytes[2] == 0x06 && bytes[3] == 0x03 && bytes[4] >= 2 &&
           bytes[5] == 1;
}

bool isOneOf(std::uint8_t command, std::initializer_list<int> commands)
{
    return std::find(commands.begin(), commands.end(), command) != commands.end();
}

bool isForThisPanel(const Bytes &bytes)
{
    return isOneOf(bytes[6], {1, 2}) ||
           std::all_of(bytes.begin() + 20, bytes.begin() + 26, [](std::uint8_t byte) { return byte == 0; });
}

// The reply of a panel that has only its settings.
Bytes expectedIdentity(const Bytes &request)
{
    const std::array<std::uint8_t, 24> fixed = {0x58, 0x02, 0x0F, 0x27, 0x8D, 0x01, 0,    0,    0,
                                                0,    0,    0,    0,    0,    0x00, 0x00, 0x02, 0x00};
    Bytes reply = {0x5E, 0x13, 0x06, 0x03, 4, 2, request[6], request[7]};
    std::copy(HeldSettings.begin(), HeldSettings.end(), reply.begin() + 8);
    std::copy(fixed.begin(), fixed.end(), reply.begin() + 26);
    if (request[6] == 5) {
        // The settings are staged but cannot be applied.
        reply[5] = 3;
        std::copy(request.begin() + 8, request.begin() + 20, reply.begin() + 8);
    }
    return reply;
}

Bytes expectedReply(const Bytes &request)
{
    if (!isOneOf(request[6], {2, 14, 15}))
        return expectedIdentity(request);
    Bytes reply = request;
    if (request[6] != 2)
        reply[5] = 2;
    return reply;
}

void checkHandling(const Bytes &request, MvdpDatagram &datagram)
{
    static Surroundings surroundings;
    HWSDPlatform *platform = HWSDPlatform::instance();
    platform->setIpAddress(HeldAddress);
    platform->setNetmask(HeldNetmask);
    platform->setGateway(HeldGateway);
    syncCount = 0;

    const CountedWarnings warnings;
    const std::uint8_t command = request[6];
    const bool accepted = isOneOf(command, {1, 2, 4, 5, 6, 7, 14, 15, 102}) && isForThisPanel(request);
    // Its marker would be written to its fixed path on this machine.
    if (accepted && command == 15)
        return;
    const bool reply = command == 6 ? surroundings.handleInFolder(datagram) : handleCommand(datagram);

    REQUIRE(reply == accepted);
    REQUIRE(surroundings.winks.take() == (accepted && command == 7 ? 1 : 0));
    REQUIRE(syncCount == (accepted && isOneOf(command, {6, 14}) ? 1 : 0));
    REQUIRE(surroundings.takeMarker() == (accepted && command == 6));
    Bytes expected = accepted ? expectedReply(request) : request;
    // The type of a request for another panel does not matter, because it is not sent back.
    if (!accepted)
        expected[5] = datagram.packetType();
    REQUIRE(std::memcmp(datagram.data(), expected.data(), expected.size()) == 0);
}

std::uint32_t number(const Bytes &bytes, std::size_t offset)
{
    return bytes[offset] | std::uint32_t(bytes[offset + 1]) << 8 | std::uint32_t(bytes[offset + 2]) << 16 |
           std::uint32_t(bytes[offset + 3]) << 24;
}

void checkAccessors(const Bytes &bytes, const MvdpDatagram &datagram)
{
    REQUIRE(datagram.isRequest() == isRequest(bytes));
    REQUIRE(datagram.isReply() ==
            (number(bytes, 0) == 0x0306135E && bytes[4] == 4 && isOneOf(bytes[5], {2, 3})));
    REQUIRE(datagram.packetType() == bytes[5] && datagram.command() == bytes[6]);
    REQUIRE(datagram.ipAddress() == number(bytes, 8));
    REQUIRE(datagram.netmask() == number(bytes, 12));
    REQUIRE(datagram.gateway() == number(bytes, 16));
    REQUIRE(datagram.hasMacAddress(bytes.data() + 20));
    REQUIRE(std::memcmp(datagram.macAddress(), bytes.data() + 20, 6) == 0);
    REQUIRE(datagram.partitionVersion() == number(bytes, 34));
    REQUIRE(std::memcmp(datagram.description(), bytes.data() + 44, 64) == 0);
}

// An identity made of the input's bytes, written and read.
void checkIdentity(const Bytes &bytes, MvdpDatagram &datagram)
{
    MvdpIdentity identity;
    identity.ipAddress = number(bytes, 128);
    identity.netmask = number(bytes, 132);
    identity.gateway = number(bytes, 136);
    identity.partitionVersion = number(bytes, 140);
    std::memcpy(identity.macAddress, bytes.data() + 144, sizeof identity.macAddress);
    std::memcpy(identity.description, bytes.data() + 192, sizeof identity.description);
    datagram.setIdentity(identity);

    Bytes expected = expectedIdentity(bytes);
    expected[5] = bytes[5];
    std::copy_n(bytes.begin() + 128, 12, expected.begin() + 8);
    std::copy_n(bytes.begin() + 144, 6, expected.begin() + 20);
    std::copy_n(bytes.begin() + 140, 4, expected.begin() + 34);
    std::copy_n(bytes.begin() + 192, 64, expected.begin() + 44);
    REQUIRE(std::memcmp(datagram.data(), expected.data(), expected.size()) == 0);
}

} // namespace

// Replaces the C library's function, which would wait for the disks.
extern "C" void sync() noexcept
{
    ++syncCount;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Bytes bytes = received(data, size);
    MvdpDatagram datagram;
    std::copy(bytes.begin(), bytes.end(), datagram.data());
    checkAccessors(bytes, datagram);
    MvdpDatagram handled = datagram;
    if (datagram.isRequest())
        checkHandling(bytes, handled);
    checkIdentity(bytes, datagram);
    return 0;
}
