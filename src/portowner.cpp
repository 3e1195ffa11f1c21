#include "portowner.h"

#include <QtCore/QString>

#include <dirent.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

// Processes and descriptors; a panel has a few hundred.
const int MostLookedAt = 20000;

struct PortHolder {
    unsigned long inode; // of the socket; 0 for none
    unsigned long user;
};

// Reads a table of /proc/net. The columns are those of the kernel's documentation of proc: local address and
// port in hexadecimal in the second, user and inode in the eighth and tenth.
PortHolder holderIn(const QByteArray &table, quint16 port)
{
    PortHolder holder = {0, 0};
    std::FILE *file = std::fopen(table.constData(), "re");
    if (!file)
        return holder;
    char line[512];
    while (holder.inode == 0 && std::fgets(line, sizeof line, file)) {
        unsigned found = 0;
        PortHolder candidate = {0, 0};
        if (std::sscanf(line, "%*u: %*[0-9A-Fa-f]:%4x %*s %*s %*s %*s %*s %lu %*u %lu", &found,
                        &candidate.user, &candidate.inode) == 3 &&
            found == port)
            holder = candidate;
    }
    std::fclose(file);
    return holder;
}

// IPv6 sockets hold the port for IPv4 too, unless they decline.
PortHolder holderOf(quint16 port, const QByteArray &procFolder)
{
    const PortHolder holder = holderIn(procFolder + "/self/net/udp", port);
    return holder.inode != 0 ? holder : holderIn(procFolder + "/self/net/udp6", port);
}

// The entries of a folder whose names are numbers, one after the other.
class NumberedEntries
{
public:
    explicit NumberedEntries(const QByteArray &folder)
        : m_folder(::opendir(folder.constData()))
    {
    }
    ~NumberedEntries()
    {
        if (m_folder)
            ::closedir(m_folder);
    }

    // Null at the end, and where the folder cannot be read.
    const char *next()
    {
        while (const dirent *entry = m_folder ? ::readdir(m_folder) : nullptr) {
            if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])))
                return entry->d_name;
        }
        return nullptr;
    }

private:
    NumberedEntries(const NumberedEntries &);
    NumberedEntries &operator=(const NumberedEntries &);

    DIR *const m_folder;
};

bool linksTo(const QByteArray &link, const QByteArray &target)
{
    char text[64];
    const ssize_t length = ::readlink(link.constData(), text, sizeof text);
    return length == target.size() && std::memcmp(text, target.constData(), static_cast<size_t>(length)) == 0;
}

// The process's number, empty when it is not found.
QByteArray processWithSocket(unsigned long inode, const QByteArray &procFolder)
{
    const QByteArray socket = "socket:[" + QByteArray::number(static_cast<qulonglong>(inode)) + ']';
    int lookedAt = 0;
    NumberedEntries processes(procFolder);
    while (const char *process = processes.next()) {
        const QByteArray folder = procFolder + '/' + process + "/fd";
        NumberedEntries descriptors(folder);
        while (const char *descriptor = descriptors.next()) {
            if (linksTo(folder + '/' + descriptor, socket))
                return process;
            if (++lookedAt >= MostLookedAt)
                return QByteArray();
        }
        if (++lookedAt >= MostLookedAt)
            return QByteArray();
    }
    return QByteArray();
}

// A process gives itself any name of up to 15 bytes.
QByteArray nameOf(const QByteArray &process, const QByteArray &procFolder)
{
    char name[64];
    std::FILE *file = std::fopen((procFolder + '/' + process + "/comm").constData(), "re");
    if (!file)
        return "gone";
    const size_t length = std::fread(name, 1, sizeof name, file);
    std::fclose(file);
    QByteArray result(name, static_cast<int>(length));
    if (result.endsWith('\n'))
        result.chop(1);
    for (int i = 0; i < result.size(); ++i) {
        if (result.at(i) < ' ' || result.at(i) > '~')
            result[i] = '?';
    }
    return result;
}

} // namespace

QByteArray portOwner(quint16 port, const QByteArray &procFolder)
{
    const PortHolder holder = holderOf(port, procFolder);
    if (holder.inode == 0)
        return QByteArray();
    const QByteArray process = processWithSocket(holder.inode, procFolder);
    QByteArray user = "user " + QByteArray::number(static_cast<qulonglong>(holder.user));
    if (process.isEmpty())
        return user;
    return "process " + process + " (" + nameOf(process, procFolder) + ") of " + user;
}
