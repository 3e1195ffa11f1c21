#include "dbuspeer.h"

#include "fuzztarget.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <utility>

namespace
{

// Numbers of the D-Bus protocol.
enum MessageType { MethodCall = 1, MethodReturn = 2, Error = 3 };
enum HeaderField {
    Path = 1,
    Interface = 2,
    Member = 3,
    ErrorName = 4,
    ReplySerial = 5,
    Destination = 6,
    Sender = 7,
    Signature = 8
};
const int NoReplyExpected = 1;
const int FixedHeader = 16;

const char PlatformService[] = "com.zelt.HWSD";

bool readAll(int file, char *target, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::read(file, target, size);
        if (count <= 0)
            return false;
        target += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

void writeAll(int file, const QByteArray &bytes)
{
    const char *next = bytes.constData();
    std::size_t left = static_cast<std::size_t>(bytes.size());
    while (left > 0) {
        const ssize_t count = ::send(file, next, left, MSG_NOSIGNAL);
        if (count <= 0)
            return; // the client has gone
        next += count;
        left -= static_cast<std::size_t>(count);
    }
}

// Reads what DBusWriter writes. The client is this process, so that what it sends is well formed.
class Reader
{
public:
    Reader(const QByteArray &bytes, bool isBigEndian)
        : m_bytes(bytes)
        , m_isBigEndian(isBigEndian)
    {
    }

    int at() const { return m_at; }
    void align(int size) { m_at = (m_at + size - 1) / size * size; }
    std::uint32_t number(int size)
    {
        align(size);
        std::uint32_t value = 0;
        for (int i = 0; i < size; ++i) {
            const std::uint32_t byte = static_cast<std::uint8_t>(m_bytes.at(m_at++));
            value |= byte << 8 * (m_isBigEndian ? size - 1 - i : i);
        }
        return value;
    }
    // A string or an object path; or a signature, whose length is one byte.
    QByteArray text(int lengthSize = 4)
    {
        const int size = static_cast<int>(number(lengthSize));
        const QByteArray taken = m_bytes.mid(m_at, size);
        m_at += size + 1;
        return taken;
    }

private:
    const QByteArray &m_bytes;
    const bool m_isBigEndian;
    int m_at = 0;
};

DBusAnswer textAnswer(const char *text)
{
    return dbusAnswer(QByteArray("s ") + text);
}

} // namespace

struct DBusPeer::Message {
    bool isBigEndian = false;
    bool wantsReply = false;
    std::uint32_t serial = 0;
    QByteArray path;
    QByteArray interface;
    QByteArray member;
    QByteArray destination;
    QByteArray signature;
    QByteArray body;
};

DBusPeer::DBusPeer()
    : m_listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un name;
    std::memset(&name, 0, sizeof name);
    name.sun_family = AF_UNIX;
    const QByteArray path = m_folder.filePath(QStringLiteral("bus")).toLocal8Bit();
    REQUIRE(m_listener >= 0 && static_cast<std::size_t>(path.size()) < sizeof name.sun_path);
    std::memcpy(name.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    REQUIRE(::bind(m_listener, reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0);
    REQUIRE(::listen(m_listener, 8) == 0);
    m_thread = std::thread(&DBusPeer::run, this);
}

QByteArray DBusPeer::address() const
{
    return "unix:path=" + m_folder.filePath(QStringLiteral("bus")).toLocal8Bit();
}

void DBusPeer::answer(const QByteArray &member, const DBusAnswer &answer)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[member] = answer;
}

void DBusPeer::forgetAnswers()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers.clear();
}

std::vector<QByteArray> DBusPeer::takeCalls(std::size_t count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_called.wait_for(lock, std::chrono::minutes(1), [&] { return m_calls.size() >= count; });
    return std::exchange(m_calls, {});
}

// One connection after the other: the service looks whether anything listens before it connects.
void DBusPeer::run()
{
    for (;;) {
        const int client = ::accept(m_listener, nullptr, nullptr);
        REQUIRE(client >= 0);
        serve(client);
        ::close(client);
    }
}

void DBusPeer::serve(int client)
{
    if (!authenticate(client))
        return;
    Message message;
    while (receive(client, message))
        handle(client, message);
}

// Lets everybody in. False when the client goes.
bool DBusPeer::authenticate(int client)
{
    QByteArray line;
    char character = 0;
    while (readAll(client, &character, 1)) {
        line += character;
        if (!line.endsWith("\r\n"))
            continue;
        if (line.endsWith("BEGIN\r\n"))
            return true;
        writeAll(client,
                 line.contains("AUTH EXTERNAL") ? "OK 0123456789abcdef0123456789abcdef\r\n" : "ERROR\r\n");
        line.clear();
    }
    return false;
}

bool DBusPeer::receive(int client, Message &message)
{
    QByteArray bytes(FixedHeader, '\0');
    if (!readAll(client, bytes.data(), FixedHeader))
        return false;
    message = Message();
    message.isBigEndian = bytes.at(0) == 'B';
    Reader fixed(bytes, message.isBigEndian);
    fixed.number(1);
    REQUIRE(fixed.number(1) == MethodCall);
    message.wantsReply = (fixed.number(1) & NoReplyExpected) == 0;
    fixed.number(1);
    const int bodySize = static_cast<int>(fixed.number(4));
    message.serial = fixed.number(4);
    const int fieldsSize = static_cast<int>(fixed.number(4));
    const int bodyBegin = (FixedHeader + fieldsSize + 7) / 8 * 8;
    bytes.resize(bodyBegin + bodySize);
    if (!readAll(client, bytes.data() + FixedHeader, static_cast<std::size_t>(bytes.size()) - FixedHeader))
        return false;

    Reader fields(bytes, message.isBigEndian);
    fields.number(4), fields.number(4), fields.number(4), fields.number(4);
    while (fields.at() < FixedHeader + fieldsSize) {
        fields.align(8);
        const std::uint32_t code = fields.number(1);
        const QByteArray type = fields.text(1);
        QByteArray value;
        if (type == "u")
            fields.number(4);
        else
            value = fields.text(type == "g" ? 1 : 4);
        switch (code) {
        case Path:
            message.path = value;
            break;
        case Interface:
            message.interface = value;
            break;
        case Member:
            message.member = value;
            break;
        case Destination:
            message.destination = value;
            break;
        case Signature:
            message.signature = value;
            break;
        default:
            break;
        }
    }
    message.body = bytes.mid(bodyBegin);
    return true;
}

void DBusPeer::note(const Message &call)
{
    QByteArray line = call.path + ' ' + call.interface + '.' + call.member + '(';
    Reader body(call.body, call.isBigEndian);
    for (int i = 0; i < static_cast<int>(call.signature.size()); ++i) {
        if (i > 0)
            line += ',';
        const char type = call.signature.at(i);
        REQUIRE(type == 's' || type == 'y' || type == 'u');
        line += type == 's' ? body.text() : QByteArray::number(body.number(type == 'y' ? 1 : 4));
    }
    m_calls.push_back(line + ')');
}

void DBusPeer::handle(int client, const Message &call)
{
    DBusAnswer answer;
    if (call.member == "Hello") {
        answer = textAnswer(":1.1");
    } else if (call.member == "GetNameOwner") {
        answer = textAnswer(":1.2");
    } else if (call.member == "GetId") {
        answer = textAnswer("0123456789abcdef0123456789abcdef");
    } else if (call.interface.startsWith(PlatformService)) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto known = m_answers.find(call.member);
        answer = known == m_answers.end() ? dbusAnswer("!") : known->second;
        note(call);
        m_called.notify_all();
    }
    if (!call.wantsReply)
        return;

    static std::uint32_t serial = 0;
    DBusWriter body(answer.isBigEndian);
    for (const DBusValue &argument : answer.arguments)
        body.value(argument);
    DBusWriter message(answer.isBigEndian);
    message.raw(answer.isBigEndian ? "B" : "l");
    message.number(answer.isError ? Error : MethodReturn, 1);
    message.number(NoReplyExpected, 1);
    message.number(1, 1);
    message.number(static_cast<std::uint64_t>(body.bytes().size()), 4);
    message.number(++serial, 4);
    message.number(0, 4);
    const auto field = [&message](HeaderField code, const char *type) {
        message.align(8);
        message.number(code, 1);
        message.signature(type);
    };
    field(ReplySerial, "u");
    message.number(call.serial, 4);
    field(Destination, "s");
    message.text(":1.1");
    field(Sender, "s");
    message.text(call.destination == PlatformService ? QByteArray(":1.2") : call.destination);
    if (answer.isError) {
        field(ErrorName, "s");
        message.text("com.zelt.HWSD.Error");
    }
    if (!answer.arguments.empty()) {
        field(Signature, "g");
        message.signature(answer.signature());
    }
    message.replace(FixedHeader - 4, static_cast<std::uint32_t>(message.bytes().size() - FixedHeader));
    message.align(8);
    message.raw(body.bytes());
    writeAll(client, message.bytes());
}
