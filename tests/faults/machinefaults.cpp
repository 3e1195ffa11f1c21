// Loaded into a program before its other libraries (LD_PRELOAD), this has calls of the system fail as a test
// says while the program runs, and counts them. The test writes its orders into a file that is mapped into
// both processes: $MVDP_FAULTS, laid out as an array of Order. tests/system/machinefaults.py is the other
// side.

#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::int32_t AnyKind = -1;
constexpr std::size_t MostOrders = 32;

// What to do with the calls of one function; unused when it names none. A call that several orders fit is
// left to the first.
struct Order {
    char function[16];
    // Calls of other kinds do not count: a socket's family, an option's number, an access mode.
    std::int32_t kind;
    std::atomic<std::int32_t> error;  // as in errno; 0: let calls through
    std::atomic<std::int32_t> spared; // let so many through first
    std::atomic<std::int32_t> times;  // then have so many fail; below 0: all
    std::atomic<std::uint32_t> calls;
    std::atomic<std::uint32_t> failed;
};
static_assert(sizeof(Order) == 40, "tests/system/machinefaults.py");

Order *mapOrders()
{
    const char *name = std::getenv("MVDP_FAULTS");
    const int file = name ? ::open(name, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return nullptr;
    void *orders = ::mmap(nullptr, MostOrders * sizeof(Order), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return orders == MAP_FAILED ? nullptr : static_cast<Order *>(orders);
}

Order *orderFor(const char *function, std::int32_t kind)
{
    static Order *const orders = mapOrders();
    for (std::size_t i = 0; orders && i < MostOrders; ++i) {
        if (std::strncmp(orders[i].function, function, sizeof orders[i].function) == 0 &&
            (orders[i].kind == AnyKind || orders[i].kind == kind))
            return &orders[i];
    }
    return nullptr;
}

// Takes one from a number that has not come to 0.
bool takeOne(std::atomic<std::int32_t> &number)
{
    std::int32_t left = number;
    while (left > 0 && !number.compare_exchange_weak(left, left - 1))
        ;
    return left != 0;
}

// True, with errno set, when this call is to fail.
bool fails(const char *function, std::int32_t kind)
{
    Order *const order = orderFor(function, kind);
    if (!order)
        return false;
    ++order->calls;
    const std::int32_t error = order->error;
    if (error == 0 || takeOne(order->spared) || !takeOne(order->times))
        return false;
    ++order->failed;
    errno = error;
    return true;
}

// The function that would have been called without this library.
template <class Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

std::int32_t familyOf(const sockaddr *address)
{
    return address ? address->sa_family : AnyKind;
}

} // namespace

// The C library's functions, with its names and types.
extern "C" {

int socket(int domain, int type, int protocol) noexcept
{
    static const auto real = next<decltype(socket)>("socket");
    return fails("socket", domain) ? -1 : real(domain, type, protocol);
}

int bind(int descriptor, const sockaddr *address, socklen_t length) noexcept
{
    static const auto real = next<decltype(bind)>("bind");
    return fails("bind", familyOf(address)) ? -1 : real(descriptor, address, length);
}

int connect(int descriptor, const sockaddr *address, socklen_t length)
{
    static const auto real = next<decltype(connect)>("connect");
    return fails("connect", familyOf(address)) ? -1 : real(descriptor, address, length);
}

int setsockopt(int descriptor, int level, int name, const void *value, socklen_t length) noexcept
{
    static const auto real = next<decltype(setsockopt)>("setsockopt");
    return fails("setsockopt", name) ? -1 : real(descriptor, level, name, value, length);
}

ssize_t recv(int descriptor, void *buffer, size_t size, int flags)
{
    static const auto real = next<decltype(recv)>("recv");
    return fails("recv", AnyKind) ? -1 : real(descriptor, buffer, size, flags);
}

ssize_t recvfrom(int descriptor, void *buffer, size_t size, int flags, sockaddr *address, socklen_t *length)
{
    static const auto real = next<decltype(recvfrom)>("recvfrom");
    return fails("recvfrom", AnyKind) ? -1 : real(descriptor, buffer, size, flags, address, length);
}

ssize_t sendto(int descriptor, const void *buffer, size_t size, int flags, const sockaddr *address,
               socklen_t length)
{
    static const auto real = next<decltype(sendto)>("sendto");
    return fails("sendto", familyOf(address)) ? -1 : real(descriptor, buffer, size, flags, address, length);
}

int open64(const char *name, int flags, ...)
{
    static const auto real = next<decltype(open64)>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails("open64", flags & O_ACCMODE) ? -1 : real(name, flags, mode);
}

int getifaddrs(ifaddrs **list) noexcept
{
    static const auto real = next<decltype(getifaddrs)>("getifaddrs");
    return fails("getifaddrs", AnyKind) ? -1 : real(list);
}

} // extern "C"
