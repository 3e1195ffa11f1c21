#ifndef MESSAGECATCHER_H
#define MESSAGECATCHER_H

#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

// While an object exists, warnings from any thread are kept in their order instead of being printed. One at a
// time.
class MessageCatcher
{
public:
    MessageCatcher();
    ~MessageCatcher();
    MessageCatcher(const MessageCatcher &) = delete;
    MessageCatcher &operator=(const MessageCatcher &) = delete;

    // The warnings since the last call.
    QStringList take();

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text);

    QMutex m_mutex;
    QStringList m_warnings;
    QtMessageHandler m_previous;
};

#endif // MESSAGECATCHER_H
