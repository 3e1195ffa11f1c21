#ifndef FAKESERVICE_H
#define FAKESERVICE_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>
#include <QtCore/QWaitCondition>

class FakeObject;
class QDBusConnection;
class QDBusMessage;

// In place of an answer's arguments: the answer is an error. No variant on a bus is invalid.
const QVariantList ErrorReply = {QVariant()};

// A stand-in for the platform service on a bus: objects at all paths that answer by method name as told, and
// keep a list of what they were asked. It lives in a thread of its own, as the code under test blocks in its
// calls, and knows nothing of the proxies and types of the service's client.
class FakeService
{
public:
    // Takes the name com.zelt.HWSD on the bus at address and answers at once.
    explicit FakeService(const QByteArray &address);
    ~FakeService();
    FakeService(const FakeService &) = delete;
    FakeService &operator=(const FakeService &) = delete;

    bool isOnBus() const { return m_hasName; }

    // Any thread. A method that was told nothing is answered by an error, as by a service without it.
    void answer(const char *method, const QVariantList &arguments);
    void answerInTurn(const char *method, const QList<QVariantList> &answers); // the last one from then on
    void echo(const char *method);   // answers with the call's own arguments
    void ignore(const char *method); // never answers

    // The calls since the last time, oldest first, each as
    // "/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:eth0)"; without those that only wake
    // a sleeping service. The second waits until there are count of them, or so long that something is wrong.
    QStringList takeCalls();
    QStringList waitForCalls(int count);

    // Puts a line of the test's own into that list.
    void note(const QString &line);

private:
    friend class FakeObject;

    enum class Manner { Answer, Echo, Ignore };
    struct Reply {
        Manner manner = Manner::Answer;
        QList<QVariantList> arguments = {ErrorReply}; // of one answer after the other
    };

    // Both in the service's thread.
    void connectTo(const QByteArray &address);
    void disconnect();

    void tell(const char *method, Manner manner, const QList<QVariantList> &arguments = {});
    void handle(const QDBusMessage &call, const QDBusConnection &connection);

    QThread m_thread;
    FakeObject *m_object;
    QString m_connectionName;
    bool m_hasName;

    QMutex m_mutex;
    QWaitCondition m_called;
    QHash<QString, Reply> m_replies;
    QStringList m_calls;
};

// The service's (yyyyay) with the bytes 1, 2, 3, 4 and a text of any length.
QVariant partitionInfoOnWire(const QByteArray &version);

#endif // FAKESERVICE_H
