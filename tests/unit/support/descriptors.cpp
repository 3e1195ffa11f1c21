#include "descriptors.h"

#include <QtCore/QDir>

#include <sys/resource.h>
#include <unistd.h>

namespace
{

unsigned long setLimit(unsigned long limit)
{
    rlimit descriptors;
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    const unsigned long before = descriptors.rlim_cur;
    descriptors.rlim_cur = limit;
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    return before;
}

int nextDescriptor()
{
    const int next = ::dup(0);
    ::close(next);
    return next;
}

} // namespace

int openDescriptors()
{
    return static_cast<int>(QDir(QStringLiteral("/proc/self/fd")).count());
}

NoMoreDescriptors::NoMoreDescriptors()
    : m_before(setLimit(static_cast<unsigned long>(nextDescriptor())))
{
}

NoMoreDescriptors::~NoMoreDescriptors()
{
    setLimit(m_before);
}
