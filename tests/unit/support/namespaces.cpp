#include "namespaces.h"

#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QtDebug>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

void require(bool done, const char *what)
{
    if (done)
        return;
    std::fprintf(stderr, "Cannot %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

void writeFile(const char *path, const QByteArray &text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    require(file >= 0 && ::write(file, text.constData(), static_cast<size_t>(text.size())) == text.size(),
            path);
    ::close(file);
}

void enter(int kind, const char *what)
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0) {
        require(::unshare(kind) == 0, what);
        return;
    }
    require(::unshare(CLONE_NEWUSER | kind) == 0, what);
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1");
    writeFile("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1");
}

} // namespace

void enterOwnMountNamespace()
{
    enter(CLONE_NEWNS, "make a mount namespace");
    require(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "keep mounts private");
    require(::mount("none", "/mnt", "tmpfs", 0, nullptr) == 0, "mount a tmpfs on /mnt");
}

void enterOwnNetworkNamespace()
{
    enter(CLONE_NEWNET, "make a network namespace");
}

bool runProgram(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit &&
        process.exitCode() == 0)
        return true;
    qWarning() << program << arguments << process.errorString() << process.readAll();
    return false;
}
