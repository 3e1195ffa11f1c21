#include "messagecatcher.h"

#include <QtCore/QMutexLocker>

namespace
{

MessageCatcher *theCatcher = nullptr;

} // namespace

MessageCatcher::MessageCatcher()
    : m_previous(nullptr)
{
    Q_ASSERT(!theCatcher);
    theCatcher = this;
    m_previous = qInstallMessageHandler(handle);
}

MessageCatcher::~MessageCatcher()
{
    qInstallMessageHandler(m_previous);
    theCatcher = nullptr;
}

QStringList MessageCatcher::take()
{
    const QMutexLocker lock(&m_mutex);
    QStringList taken = m_warnings;
    m_warnings.clear();
    return taken;
}

void MessageCatcher::handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtWarningMsg) {
        theCatcher->m_previous(type, context, text);
        return;
    }
    const QMutexLocker lock(&theCatcher->m_mutex);
    theCatcher->m_warnings.append(text);
}
