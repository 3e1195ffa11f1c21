#ifndef FAKESERVICE_H
#define FAKESERVICE_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>

#include <condition_variable>
#include <mutex>

class FakeObject;
class QDBusConnection;
class QDBusMessage;

// As the arguments of an answer: the answer is an error. A variant from a bus is never invalid.
const QVariantList ErrorReply = {QVariant()};

// A replacement for the platform service on a bus: objects at all paths answer by method name as set, and
// record their calls. It has its own thread, because the code under test blocks in its calls, and does not
// use the proxies and types of the service's client.
class FakeService
{
public:
    // Owns the name com.zelt.HWSD on the bus at address and answers when this returns.
    explicit FakeService(const QByteArray &address);
    ~FakeService();
    FakeService(const FakeService &) = delete;
    FakeService &operator=(const FakeService &) = delete;

    bool isOnBus() const { return m_hasName; }

    // Any thread. A method without an answer returns an error, as a service without the method does.
    void answer(const char *method, const QVariantList &arguments);
    void answerInTurn(const char *method, const QList<QVariantList> &answers); // the last one from then on
    void echo(const char *method);   // answers with the call's own arguments
    void ignore(const char *method); // never answers

    // The calls since the last time, oldest first, each as "/NetworkManager
    // com.zelt.HWSD.NetworkManager.getInterfaceConfig(s:eth0)"; without those that only wake a sleeping
    // service. The second waits for count calls, or until a time limit.
    QStringList takeCalls();
    QStringList waitForCalls(int count);

    // Adds a line of the test's own to that list.
    void note(const QString &line);

private:
    friend class FakeObject;

    enum class Manner { Answer, Echo, Ignore };
    struct Reply {
        Manner manner = Manner::Answer;
        QList<QVariantList> arguments = {ErrorReply}; // of one answer after the other
    };

    // Both run in the service's thread.
    void connectTo(const QByteArray &address);
    void disconnect();

    void tell(const char *method, Manner manner, const QList<QVariantList> &arguments = {});
    void handle(const QDBusMessage &call, const QDBusConnection &connection);

    QThread m_thread;
    FakeObject *m_object;
    QString m_connectionName;
    bool m_hasName;

    // Those of the standard library: the thread sanitizer does not see what Qt's wait condition does.
    std::mutex m_mutex;
    std::condition_variable m_called;
    QHash<QString, Reply> m_replies;
    QStringList m_calls;
};

// The service's (yyyyay) with the bytes 1, 2, 3, 4 and a text of any length.
QVariant partitionInfoOnWire(const QByteArray &version);

#endif // FAKESERVICE_H
