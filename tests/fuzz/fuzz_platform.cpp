// The platform service's answers, of any D-Bus types, through the proxies and the facade, held to what the
// documents say of each. An input is lines; each sets the answer to one method, and most then call the
// operation of the facade that asks for it:
//   C getInterfaceConfig      the network state is refreshed
//   W setInterfaceConfigJSON  settings are staged and applied
//   A applyNewConfiguration   (nothing)
//   R resetConfiguration      the configuration is reset
//   B restartSystem           the system is restarted
//   V info                    the partition version is asked for
//   M manufactureCode         (nothing)
//   E readSlvAddr             the description is asked for
//   I                         another interface is chosen, whose name is the rest of the line
// Behind the letter stands the answer (dbusvalue.h). A small letter sends it with the most significant byte
// of each number first.

#include "countedwarnings.h"
#include "dbuspeer.h"
#include "fuzztarget.h"
#include "hwsdlink.h"
#include "hwsdplatform.h"
#include "modelcodes.h"
#include "networkinterfaceconfig.h"
#include "textmodels.h"

// The proxies that the link owns.
#include "hwsdinterface.h"
#include "i2cseeprominterface.h"
#include "networkmanagerinterface.h"
#include "partitioninfointerface.h"
#include "systeminfointerface.h"
#include <json/exception.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <memory>
#include <vector>

// A facade takes its link once and never frees it. Each input has a new facade, and all have the first one's
// link, because making one costs more than an input. The linker puts the first function in the place of
// HwsdLink::open(), and calls that the second (CMakeLists.txt).
std::unique_ptr<HwsdLink> sharedLink() __asm__("__wrap__ZN8HwsdLink4openEv");
std::unique_ptr<HwsdLink> openLink() __asm__("__real__ZN8HwsdLink4openEv");

std::unique_ptr<HwsdLink> sharedLink()
{
    static HwsdLink *const link = openLink().release();
    return std::unique_ptr<HwsdLink>(link);
}

namespace
{

const std::uint32_t StagedAddress = 0xC0A80A14; // 192.168.10.20
const std::uint32_t StagedNetmask = 0xFFFFFE00; // 255.255.254.0
const std::uint32_t StagedGateway = 0xC0A80BFE; // 192.168.11.254
const char Root[] = "/ com.zelt.HWSD.";
const char NetworkManager[] = "/NetworkManager com.zelt.HWSD.NetworkManager.";

const struct {
    char letter;
    const char *member;
} Methods[] = {
    {'C', "getInterfaceConfig"},    {'W', "setInterfaceConfigJSON"},
    {'A', "applyNewConfiguration"}, {'R', "resetConfiguration"},
    {'B', "restartSystem"},         {'V', "info"},
    {'M', "manufactureCode"},       {'E', "readSlvAddr"},
};

// The process around the facade; kept until the process ends, like the link, which uses it.
struct Surroundings {
    Surroundings()
        : application(argumentCount, arguments)
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", peer.address());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=");
        // It would name models.
        REQUIRE(!QFileInfo::exists(QStringLiteral("/mnt/factory/machine.ini")));
        REQUIRE(sharedLink().release());
        // A fuzzer may end without any destructor.
        peer.removeAddress();
    }

    int argumentCount = 1;
    char name[5] = "fuzz";
    char *arguments[2] = {name, nullptr};
    QCoreApplication application;
    DBusPeer peer;
};

std::uint32_t versionIn(const QByteArray &field)
{
    QByteArray text = field.left(20);
    text.truncate(static_cast<int>(::strnlen(text.constData(), static_cast<std::size_t>(text.size()))));
    if (text.size() <= 8)
        return 0;
    const QString digits = QString::fromLatin1(text.right(8));
    const auto part = [&digits](int at, int size) {
        return static_cast<std::uint32_t>(numberIn(digits.mid(at, size)));
    };
    return part(0, 2) << 24 | part(2, 3) << 16 | part(5, 2) << 8 | part(7, 1);
}

// What the facade is to know and to do.
class Model
{
public:
    explicit Model(DBusPeer &peer)
        : m_peer(peer)
        , m_platform(HWSDPlatform::instance())
    {
    }
    ~Model() { delete m_platform; }

    void take(const QByteArray &line)
    {
        const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(line.at(0))));
        if (letter == 'I')
            chooseInterface(line.mid(1));
        for (const auto &method : Methods) {
            if (method.letter != letter)
                continue;
            DBusAnswer answer = dbusAnswer(line.mid(1));
            answer.isBigEndian = line.at(0) != letter;
            m_answers[letter] = answer;
            m_peer.answer(method.member, answer);
        }
        switch (letter) {
        case 'C':
            refresh();
            break;
        case 'W':
            apply();
            break;
        case 'R':
            reset();
            break;
        case 'B':
            restart();
            break;
        case 'V':
            askForVersion();
            break;
        case 'E':
            askForDescription();
            break;
        default:
            break;
        }
        checkState();
    }

private:
    enum class Reading { Done, Refused, Mistyped };

    // The arguments are there, and of these types, and perhaps more of them.
    const std::vector<DBusValue> *arguments(char letter, const char *types)
    {
        const auto answer = m_answers.find(letter);
        return answer != m_answers.end() && answer->second.beginsWith(types) ? &answer->second.arguments
                                                                             : nullptr;
    }

    void chooseInterface(QByteArray name)
    {
        for (char &character : name)
            character &= 0x7F;
        name.truncate(static_cast<int>(::strnlen(name.constData(), 15)));
        REQUIRE(m_platform->setInterface(name.constData()));
        m_interface = name.isEmpty() ? QByteArray("eth0") : name;
    }

    // The record that the service's answer describes; its own warnings are counted.
    Reading read(NetworkInterfaceConfig &record)
    {
        m_warnings = 0;
        const std::vector<DBusValue> *answer = arguments('C', "s");
        if (!answer)
            return Reading::Refused;
        const CountedWarnings warnings;
        try {
            record.fromJsonString(QString::fromUtf8(answer->front().bytes));
        } catch (const json::Exception &error) {
            // Said once for each interface and text, and for no more than 16 interfaces.
            m_warnings = warnings.count();
            const auto told = m_told.find(m_interface);
            if (told == m_told.end() || told->second != error.what()) {
                if (m_told.size() >= 16)
                    m_told.clear();
                m_told[m_interface] = error.what();
                ++m_warnings;
            }
            return Reading::Mistyped;
        }
        m_warnings = warnings.count();
        m_told.erase(m_interface);
        return Reading::Done;
    }
    QByteArray readingCall() const { return NetworkManager + ("getInterfaceConfig(" + m_interface) + ')'; }

    void refresh()
    {
        NetworkInterfaceConfig record;
        const Reading reading = read(record);
        const CountedWarnings warnings;
        REQUIRE(m_platform->refreshNetworkState());
        checkWarnings(warnings);
        checkCalls({readingCall()});
        if (reading != Reading::Done)
            return;
        m_address = addressIn(record.actualIpAddress);
        m_netmask = addressIn(record.actualNetmask);
        m_gateway = addressIn(record.actualGatewayIp);
        // Six parts at most; the later bytes stay as they were when there are fewer.
        const QStringList parts = record.macAddress.split(QLatin1Char(':'));
        for (int i = 0; i < 6 && i < parts.size(); ++i)
            m_mac[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(numberIn(parts.at(i), 16));
    }

    void apply()
    {
        REQUIRE(m_platform->setIpAddress(StagedAddress) && m_platform->setNetmask(StagedNetmask) &&
                m_platform->setGateway(StagedGateway));
        m_address = StagedAddress;
        m_netmask = StagedNetmask;
        m_gateway = StagedGateway;
        NetworkInterfaceConfig record;
        const bool isRead = read(record) == Reading::Done;
        const CountedWarnings warnings;
        REQUIRE(m_platform->applyConfiguration() == isRead);
        checkWarnings(warnings);
        if (!isRead)
            return checkCalls({readingCall()});
        record.ipAddress = QStringLiteral("192.168.10.20");
        record.netmask = QStringLiteral("255.255.254.0");
        record.gatewayIp = QStringLiteral("192.168.11.254");
        record.dhcp = false;
        std::vector<QByteArray> calls = {readingCall(),
                                         NetworkManager + ("setInterfaceConfigJSON(" + m_interface) + ',' +
                                             record.toJsonString().toUtf8().replace('\0', "\\u0000") + ')'};
        if (arguments('W', "i"))
            calls.push_back(NetworkManager + QByteArray("applyNewConfiguration()"));
        checkCalls(calls);
    }

    void reset()
    {
        REQUIRE(m_platform->resetConfiguration() == (arguments('R', "i") != nullptr));
        checkCalls({NetworkManager + QByteArray("resetConfiguration()")});
    }

    void restart()
    {
        REQUIRE(m_platform->restartSystem());
        checkCalls({Root + QByteArray("restartSystem()")});
    }

    void askForVersion()
    {
        std::vector<QByteArray> calls;
        if (m_version == 0) {
            calls.push_back("/MainOSInfo com.zelt.HWSD.PartitionInfo.info()");
            if (const std::vector<DBusValue> *answer = arguments('V', "(yyyyay)"))
                m_version = versionIn(answer->front().children.back().bytes);
        }
        REQUIRE(m_platform->partitionVersion() == m_version);
        checkCalls(calls);
    }

    void askForDescription()
    {
        std::vector<QByteArray> calls;
        if (m_description.isEmpty()) {
            calls.push_back("/SystemInfo com.zelt.HWSD.SystemInfo.manufactureCode()");
            std::int32_t code = 0;
            const std::vector<DBusValue> *answer = arguments('M', "ay");
            if (answer && answer->front().bytes.size() >= 4) {
                std::uint32_t number = 0;
                for (int i = 0; i < 4; ++i)
                    number |= std::uint32_t(std::uint8_t(answer->front().bytes.at(i))) << 8 * i;
                code = static_cast<std::int32_t>(number);
                m_description = QString::fromLatin1(modelCodeText(code));
            }
            if (m_description.isEmpty()) {
                calls.push_back("/I2CSEEPROM com.zelt.HWSD.I2CSEEPROM.readSlvAddr(80,85,20)");
                m_description = seepromText();
            }
            if (m_description.isEmpty())
                m_description = QStringLiteral("HMI %1").arg(code);
        }
        REQUIRE(m_platform->systemInfoText() == m_description);
        checkCalls(calls);
        std::array<char, 64> text = {};
        REQUIRE(m_platform->systemInfo(text.data()));
        QByteArray expected = m_description.toLatin1().left(64);
        expected.append(64 - expected.size(), '\0');
        REQUIRE(expected == QByteArray(text.data(), 64));
        checkCalls({});
    }
    // Up to the first zero, when only printable characters stand before it.
    QString seepromText()
    {
        const std::vector<DBusValue> *answer = arguments('E', "iay");
        if (!answer || !answer->at(1).bytes.contains('\0'))
            return QString();
        const QByteArray text = answer->at(1).bytes.constData();
        const bool isPrintable = std::all_of(text.begin(), text.end(), [](char character) {
            return character >= 32 && static_cast<unsigned char>(character) <= 127;
        });
        return isPrintable ? QString::fromLatin1(text) : QString();
    }

    void checkWarnings(const CountedWarnings &warnings) const
    {
        if (warnings.count() != m_warnings)
            std::fprintf(stderr, "the last warning: %s\n", qPrintable(warnings.last()));
        REQUIRE(warnings.count() == m_warnings);
    }
    void checkCalls(const std::vector<QByteArray> &expected)
    {
        const std::vector<QByteArray> calls = m_peer.takeCalls(expected.size());
        if (calls == expected)
            return;
        for (const QByteArray &call : calls)
            std::fprintf(stderr, "called: %s\n", call.toPercentEncoding(" \"{}()/,:").constData());
        for (const QByteArray &call : expected)
            std::fprintf(stderr, "expected: %s\n", call.toPercentEncoding(" \"{}()/,:").constData());
        REQUIRE(calls == expected);
    }
    void checkState()
    {
        REQUIRE(m_platform->ipAddress() == m_address);
        REQUIRE(m_platform->netmask() == m_netmask);
        REQUIRE(m_platform->gateway() == m_gateway);
        std::array<std::uint8_t, 6> mac;
        REQUIRE(m_platform->macAddress(mac.data()) && mac == m_mac);
    }

    DBusPeer &m_peer;
    HWSDPlatform *const m_platform;
    QByteArray m_interface = "eth0";
    std::map<char, DBusAnswer> m_answers;
    std::map<QByteArray, QByteArray> m_told; // by interface, what was warned of last
    int m_warnings = 0;                      // of the last reading
    std::uint32_t m_address = 0;
    std::uint32_t m_netmask = 0;
    std::uint32_t m_gateway = 0;
    std::array<std::uint8_t, 6> m_mac = {};
    std::uint32_t m_version = 0;
    QString m_description;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Surroundings &surroundings = *new Surroundings;
    surroundings.peer.forgetAnswers();
    Model model(surroundings.peer);
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    for (const QByteArray &line : input.split('\n')) {
        if (!line.isEmpty())
            model.take(line);
    }
    return 0;
}
