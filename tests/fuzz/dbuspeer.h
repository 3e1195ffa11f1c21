#ifndef DBUSPEER_H
#define DBUSPEER_H

#include "dbusvalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QTemporaryDir>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

// A message bus with one client and the platform service on it, in a thread of this process: what the client
// writes into its socket is answered from a table. No other process takes part, so that an answer costs a few
// tens of microseconds. It says what a bus says of itself, and for every name that it has an owner.
class DBusPeer
{
public:
    // Listens when this returns, and until the process ends.
    DBusPeer();

    QByteArray address() const;
    // Removes the socket's file. Who is connected stays so.
    void removeAddress() { m_folder.remove(); }

    // Any thread. From now on the answer to a method of the platform service; by default an error.
    void answer(const QByteArray &member, const DBusAnswer &answer);
    void forgetAnswers();

    // The calls of the platform service since the last time, oldest first, once there are so many or after a
    // minute; each as "/NetworkManager com.zelt.HWSD.NetworkManager.getInterfaceConfig(eth0)".
    std::vector<QByteArray> takeCalls(std::size_t count);

private:
    struct Message;

    void run();
    void serve(int client);
    bool authenticate(int client);
    bool receive(int client, Message &message);
    void handle(int client, const Message &call);
    void note(const Message &call);

    QTemporaryDir m_folder;
    int m_listener;
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_called;
    std::map<QByteArray, DBusAnswer> m_answers;
    std::vector<QByteArray> m_calls;
};

#endif // DBUSPEER_H
