#include "platform.h"

#include <arpa/inet.h>
#include <langinfo.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>

namespace
{

const int DefaultColumns = 80;

} // namespace

CharacterSet prepareStreams()
{
    // For the character set only: numbers are read and written the same way everywhere.
    std::setlocale(LC_CTYPE, "");
    const char *name = nl_langinfo(CODESET);
    if (std::strcmp(name, "UTF-8") == 0)
        return CharacterSet::Utf8;
    return std::strcmp(name, "ISO-8859-1") == 0 ? CharacterSet::Latin1 : CharacterSet::Ascii;
}

bool isTerminal(std::FILE *stream)
{
    return isatty(fileno(stream)) != 0;
}

int terminalColumns(std::FILE *stream)
{
    winsize size = {};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : DefaultColumns;
}

QStringList commandLineWords(int argc, char *argv[])
{
    QStringList words;
    for (int index = 1; index < argc; ++index)
        words << QString::fromUtf8(argv[index]);
    return words;
}

SignalHandler catchNextSignal(int number, SignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // and no SA_RESTART: a write must end
    struct sigaction before = {};
    sigaction(number, &action, &before);
    return before.sa_handler;
}

bool waitForSocket(std::intptr_t socket, SocketEvent event, int milliseconds)
{
    const short events = event == SocketEvent::Readable ? POLLIN : POLLOUT;
    pollfd waiting = {static_cast<int>(socket), events, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

bool joinMulticastGroup(std::intptr_t socket, std::uint32_t group, unsigned interfaceIndex, std::uint32_t)
{
    ip_mreqn membership = {};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_ifindex = static_cast<int>(interfaceIndex);
    return setsockopt(static_cast<int>(socket), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership,
                      sizeof membership) == 0;
}

QString socketErrorText(int error, const QString &otherwise)
{
    switch (error) {
    case 0:
        return otherwise;
    case ENETUNREACH:
    case EHOSTUNREACH:
        return QStringLiteral("there is no route to it");
    case EPERM:
        return QStringLiteral("a firewall of this computer forbids it");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}
