#include "portowner.h"

#include "support/descriptors.h"
#include "support/namespaces.h"
#include "support/texts.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

// Runs in its own network namespace, where no socket is but the tests' own. The hostile cases are made of
// files.

namespace
{

const char Header[] =
    "   sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
    "inode ref pointer drops            \n";

// A line of the kernel's table.
QByteArray line(const char *address, const char *uid, const char *inode)
{
    return QByteArray("  123: ") + address + " 00000000:0000 07 00000000:00000000 00:00000000 00000000 " +
           uid + "        0 " + inode + " 2 00000000c0ffee00 0         \n";
}

// A folder in the form of /proc.
class FakeProc
{
public:
    FakeProc() { QDir(m_folder.path()).mkpath(latin1("self/net")); }

    QByteArray path() const { return QFile::encodeName(m_folder.path()); }

    void write(const char *name, const QByteArray &content)
    {
        QFile file(m_folder.filePath(latin1(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("Cannot write %s", name);
    }

    // A process with descriptors 0, 1, ... that lead to these things.
    void addProcess(const char *number, const QByteArray &name, const QList<QByteArray> &targets)
    {
        const QString folder = m_folder.filePath(latin1(number));
        QDir().mkpath(folder + latin1("/fd"));
        for (int i = 0; i < targets.size(); ++i) {
            const QByteArray link = QFile::encodeName(folder) + "/fd/" + QByteArray::number(i);
            if (::symlink(targets.at(i).constData(), link.constData()) != 0)
                qFatal("Cannot link %s", link.constData());
        }
        write((QByteArray(number) + "/comm").constData(), name);
    }

    bool isListedBefore(const char *one, const char *other) const
    {
        QDirIterator entries(m_folder.path());
        while (entries.hasNext()) {
            entries.next();
            if (entries.fileName() == latin1(one) || entries.fileName() == latin1(other))
                return entries.fileName() == latin1(one);
        }
        return false;
    }

    QString owner() const { return QString::fromLatin1(portOwner(58553, path())); }

private:
    const QTemporaryDir m_folder;
};

template <class Address>
bool listenAt(int socket, const Address &address)
{
    return ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

QByteArray thisProcess()
{
    return "process " + QByteArray::number(::getpid()) + " (test of owners) of user " +
           QByteArray::number(::geteuid());
}

} // namespace

class PortOwnerTest : public QObject
{
    Q_OBJECT
private slots:
    void freePortHasNoOwner();
    void holderIsNamedOnEveryAddress_data();
    void holderIsNamedOnEveryAddress();
    void holderOfAnIpv6SocketIsNamed();

    void otherPortsAreSkipped();
    void linesOfAnotherFormAreSkipped();
    void processThatCannotBeSeenLeavesTheUser();
    void onlyTheSocketItselfCounts();
    void processThatGoesMeanwhileIsNamedByNumber();
    void nameIsPrintable_data();
    void nameIsPrintable();
    void longTablesAreReadToTheEnd();
    void amongVeryManyDescriptorsTheUserIsLeft();
};

void PortOwnerTest::freePortHasNoOwner()
{
    QCOMPARE(portOwner(58553), QByteArray());
    QCOMPARE(portOwner(58553, "/nowhere"), QByteArray());
}

void PortOwnerTest::holderIsNamedOnEveryAddress_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("all") << QByteArray("0.0.0.0");
    QTest::newRow("one") << QByteArray("127.0.0.1");
}

void PortOwnerTest::holderIsNamedOnEveryAddress()
{
    QFETCH(QByteArray, text);
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(58553);
    address.sin_addr.s_addr = inet_addr(text.constData());
    const int holder = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool listens = listenAt(holder, address);
    const int before = openDescriptors();
    const QByteArray owner = portOwner(58553);
    const int after = openDescriptors();
    ::close(holder);
    QVERIFY(listens);
    QCOMPARE(owner, thisProcess());
    QCOMPARE(after, before);
    QCOMPARE(portOwner(58554), QByteArray());
}

void PortOwnerTest::holderOfAnIpv6SocketIsNamed()
{
    sockaddr_in6 address;
    std::memset(&address, 0, sizeof address);
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(58553);
    const int holder = ::socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (holder < 0)
        QSKIP("the kernel has no IPv6");
    const bool listens = listenAt(holder, address);
    const QByteArray owner = portOwner(58553);
    ::close(holder);
    QVERIFY(listens);
    QCOMPARE(owner, thisProcess());
}

void PortOwnerTest::otherPortsAreSkipped()
{
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B8", "1", "11") + line("E4B9E4B9:0035", "2", "12") +
                                   line("0100007F:E4B9", "3", "13") + line("00000000:E4B9", "4", "14"));
    QCOMPARE(proc.owner(), latin1("user 3"));
}

void PortOwnerTest::linesOfAnotherFormAreSkipped()
{
    FakeProc proc;
    proc.write("self/net/udp", "\n\n: :E4B9\n00000000:E4B9 5 5\n" + line("00000000:E4B9", "x", "y") +
                                   line("00000000:E4B9", "7", "0") + QByteArray(3000, 'x') + '\n' +
                                   QByteArray(100, '\0') + '\n' + line("00000000:E4B9", "4294967295", "14"));
    QCOMPARE(proc.owner(), latin1("user 4294967295"));
}

void PortOwnerTest::processThatCannotBeSeenLeavesTheUser()
{
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B9", "104", "14"));
    QDir(QFile::decodeName(proc.path())).mkdir(latin1("77"));
    proc.write("78", "no folder");
    QCOMPARE(proc.owner(), latin1("user 104"));
}

void PortOwnerTest::onlyTheSocketItselfCounts()
{
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B9", "0", "14"));
    proc.addProcess("5", "close\n",
                    {"socket:[1]", "socket:[140]", "socket:[14", "socket:[14]x", "pipe:[14]",
                     "socket:[14]" + QByteArray(200, ']')});
    proc.addProcess("net", "nonumber\n", {"socket:[14]"});
    proc.addProcess("6", "holder\n", {"/dev/null", "socket:[14]"});
    QCOMPARE(proc.owner(), latin1("process 6 (holder) of user 0"));
}

void PortOwnerTest::processThatGoesMeanwhileIsNamedByNumber()
{
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B9", "0", "14"));
    proc.addProcess("6", "", {"socket:[14]"});
    QVERIFY(QFile::remove(QFile::decodeName(proc.path() + "/6/comm")));
    QCOMPARE(proc.owner(), latin1("process 6 (gone) of user 0"));
}

void PortOwnerTest::nameIsPrintable_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("controls") << QByteArray("\x1b[2J\n\t\x7f\r\n") << latin1("?[2J????");
    QTest::newRow("zero") << QByteArray("a\0b\n", 4) << latin1("a?b");
    QTest::newRow("not ASCII") << QByteArray("\xc3\xa9\x9b\xff\n") << latin1("????");
    QTest::newRow("marks") << QByteArray("%s %n \"\\) (\n") << latin1("%s %n \"\\) (");
    QTest::newRow("no line end") << QByteArray("name") << latin1("name");
    QTest::newRow("longer than the kernel has") << QByteArray(10000, 'n') << QString(64, QLatin1Char('n'));
}

void PortOwnerTest::nameIsPrintable()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, shown);
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B9", "0", "14"));
    proc.addProcess("6", name, {"socket:[14]"});
    QCOMPARE(proc.owner(), latin1("process 6 (") + shown + latin1(") of user 0"));
}

void PortOwnerTest::longTablesAreReadToTheEnd()
{
    FakeProc proc;
    proc.write("self/net/udp",
               Header + line("00000000:1234", "0", "10").repeated(65535) + line("00000000:E4B9", "9", "14"));
    QCOMPARE(proc.owner(), latin1("user 9"));
}

void PortOwnerTest::amongVeryManyDescriptorsTheUserIsLeft()
{
    FakeProc proc;
    proc.write("self/net/udp", Header + line("00000000:E4B9", "9", "14"));
    proc.addProcess("6", "six\n", {});
    proc.addProcess("7", "seven\n", {});
    const bool sixIsFirst = proc.isListedBefore("6", "7");
    proc.addProcess(sixIsFirst ? "7" : "6", "holder\n", {"socket:[14]"});
    QVERIFY(proc.owner().contains(latin1("(holder)")));
    QList<QByteArray> targets;
    while (targets.size() < 25000)
        targets.append("/dev/null");
    proc.addProcess(sixIsFirst ? "6" : "7", "many\n", targets);
    QCOMPARE(proc.owner(), latin1("user 9"));
}

int main(int argc, char **argv)
{
    enterOwnNetworkNamespace();
    ::prctl(PR_SET_NAME, "test of owners");
    QCoreApplication application(argc, argv);
    PortOwnerTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "portownertest.moc"
