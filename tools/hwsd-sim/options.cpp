#include "options.h"

#include "catalogue.h"
#include "networkdocument.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QCommandLineParser>
#include <QtCore/QVector>

namespace
{

// Values for one interface's record, from "key=value" pieces or from options of the same names.
struct InterfaceKey {
    const char *option;
    bool (*accepts)(const QString &);
    QStringList recordKeys;
};

const QVector<InterfaceKey> &interfaceKeys()
{
    static const QVector<InterfaceKey> keys = {
        {"address", isAddress, {QLatin1String("ip_address"), QLatin1String("actual_ip_address")}},
        {"netmask", isNetmask, {QLatin1String("netmask"), QLatin1String("actual_netmask")}},
        {"gateway", isAddress, {QLatin1String("gateway_ip"), QLatin1String("actual_gateway_ip")}},
        {"mac", isMacAddress, {QLatin1String("mac_address")}},
        {"label", nullptr, {QLatin1String("label")}},
    };
    return keys;
}

const char *const InterfaceFlags[] = {"dhcp", "readonly", "virtual", "hidden", "configured"};

QString setInterfaceKey(QJsonObject &record, const QString &option, const QString &value)
{
    for (const InterfaceKey &key : interfaceKeys()) {
        if (option != QLatin1String(key.option))
            continue;
        if (key.accepts && !value.isEmpty() && !key.accepts(value))
            return QString(QLatin1String("\"%1\" is no %2")).arg(value, option);
        for (const QString &recordKey : key.recordKeys)
            record.insert(recordKey, value);
        return QString();
    }
    return QString(QLatin1String("an interface has no \"%1\"")).arg(option);
}

QString setInterfacePiece(QJsonObject &record, const QString &piece)
{
    const int equals = static_cast<int>(piece.indexOf(QLatin1Char('=')));
    for (const char *flag : InterfaceFlags) {
        if (piece == QLatin1String(flag)) {
            record.insert(piece, true);
            return QString();
        }
    }
    if (equals < 0)
        return QString(QLatin1String("\"%1\" is no key=value")).arg(piece);
    const QString value = piece.mid(equals + 1);
    if (piece.left(equals) != QLatin1String("metric"))
        return setInterfaceKey(record, piece.left(equals), value);
    bool isNumber = false;
    const int metric = value.toInt(&isNumber);
    record.insert(QLatin1String("metric"), metric);
    record.insert(QLatin1String("actual_metric"), metric);
    return isNumber ? QString() : QString(QLatin1String("\"%1\" is no metric")).arg(value);
}

// The actual values of an interface that starts with DHCP, as its lease.
QJsonObject leaseFor(const QJsonObject &record)
{
    QJsonObject lease;
    for (const char *key : {"ip_address", "netmask", "gateway_ip"})
        if (record.contains(QLatin1String(key)))
            lease.insert(QLatin1String(key), record.value(QLatin1String(key)));
    return lease;
}

void addOptions(QCommandLineParser &parser)
{
    const auto add = [&parser](const char *name, const char *description, const char *value = "") {
        parser.addOption(
            QCommandLineOption(QLatin1String(name), QLatin1String(description), QLatin1String(value)));
    };
    parser.setApplicationDescription(
        QLatin1String("Simulated platform service of an operator panel, com.zelt.HWSD on D-Bus."));
    parser.addHelpOption();
    parser.addVersionOption();
    add("system", "Be on the system bus (the default).");
    add("session", "Be on the session bus.");
    add("bus", "Be on the bus at this D-Bus address.", "address");
    add("state", "JSON file to lay over the built-in panel.", "file");
    add("print-state", "Print the panel's state as JSON and end.");
    add("interface",
        "Change or add an interface: NAME[,key=value...][,flag...]; keys address, netmask, gateway, mac, "
        "label, metric; flags dhcp, readonly, virtual, hidden, configured. May be given several times.",
        "interface");
    add("address", "IPv4 address of the first --interface, or of eth0.", "address");
    add("netmask", "Netmask of that interface.", "netmask");
    add("gateway", "Gateway of that interface; empty for none.", "address");
    add("mac", "Hardware address of that interface.", "address");
    add("dhcp", "That interface has its address by DHCP.");
    add("manufacture-code", "Number that tells the panel's model.", "number");
    add("partition-version", "Version text of the main system's partition, at most 20 characters.", "text");
    add("eeprom", "Identification text in the board's EEPROM.", "text");
    add("restart-away",
        "A restart takes the service off the bus for so many ms; 0: until it is told to return.", "ms");
    add("apply-to-kernel", "Applied settings also change the real interfaces of this network namespace.");
}

QString helpText(const QCommandLineParser &parser)
{
    QString text = parser.helpText() + QLatin1String("\nObjects:\n");
    for (const Object &object : allObjects())
        text += QString(QLatin1String("  %1 %2\n"))
                    .arg(QLatin1String(object.path), -20)
                    .arg(QLatin1String(object.interface));
    return text;
}

} // namespace

Options::Outcome Options::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) {
        text = parser.errorText();
        return Outcome::UsageError;
    }
    if (parser.isSet(QLatin1String("help"))) {
        text = helpText(parser);
        return Outcome::PrintText;
    }
    if (parser.isSet(QLatin1String("version"))) {
        text = QLatin1String("hwsd-sim " HWSD_SIM_VERSION "\n");
        return Outcome::PrintText;
    }
    if (!parser.positionalArguments().isEmpty())
        text = QString(QLatin1String("What is \"%1\"?")).arg(parser.positionalArguments().first());
    if (text.isEmpty())
        text = takeBus(parser);
    if (text.isEmpty())
        text = takeState(parser);
    if (text.isEmpty())
        text = takeInterfaces(parser);
    stateFile = parser.value(QLatin1String("state"));
    applyToKernel = parser.isSet(QLatin1String("apply-to-kernel"));
    printState = parser.isSet(QLatin1String("print-state"));
    return text.isEmpty() ? Outcome::Run : Outcome::UsageError;
}

QString Options::takeBus(const QCommandLineParser &parser)
{
    const bool session = parser.isSet(QLatin1String("session"));
    const bool address = parser.isSet(QLatin1String("bus"));
    if (session + address + parser.isSet(QLatin1String("system")) > 1)
        return QLatin1String("Only one of --system, --session and --bus can be meant");
    bus.kind = session ? Bus::Kind::Session : address ? Bus::Kind::Address : Bus::Kind::System;
    bus.address = parser.value(QLatin1String("bus"));
    return QString();
}

QString Options::takeState(const QCommandLineParser &parser)
{
    bool isNumber = true;
    if (parser.isSet(QLatin1String("manufacture-code"))) {
        const int code = parser.value(QLatin1String("manufacture-code")).toInt(&isNumber);
        state.insert(QLatin1String("identity"), QJsonObject{{QLatin1String("manufactureCode"), code}});
    }
    if (!isNumber)
        return QLatin1String("--manufacture-code takes a number");
    if (parser.isSet(QLatin1String("restart-away"))) {
        const int away = parser.value(QLatin1String("restart-away")).toInt(&isNumber);
        if (!isNumber || away < 0)
            return QLatin1String("--restart-away takes a number of milliseconds");
        state.insert(QLatin1String("restartAwayMs"), away);
    }
    const QString version = parser.value(QLatin1String("partition-version"));
    if (version.size() > 20)
        return QLatin1String("--partition-version takes at most 20 characters");
    if (parser.isSet(QLatin1String("partition-version")))
        state.insert(QLatin1String("partition"), QJsonObject{{QLatin1String("version"), version}});
    if (parser.isSet(QLatin1String("eeprom")))
        state.insert(QLatin1String("eeprom"),
                     QJsonObject{{QLatin1String("text"), parser.value(QLatin1String("eeprom"))}});
    return QString();
}

QString Options::takeInterfaces(const QCommandLineParser &parser)
{
    const QStringList given = parser.values(QLatin1String("interface"));
    const QString first = given.value(0, QLatin1String("eth0")).section(QLatin1Char(','), 0, 0);
    QJsonObject record;
    QString problem;
    for (const char *option : {"address", "netmask", "gateway", "mac"})
        if (parser.isSet(QLatin1String(option)) && problem.isEmpty())
            problem = setInterfaceKey(record, QLatin1String(option), parser.value(QLatin1String(option)));
    if (parser.isSet(QLatin1String("dhcp")))
        record.insert(QLatin1String("dhcp"), true);

    QJsonObject records;
    if (!record.isEmpty())
        records.insert(first, record);
    for (const QString &one : given) {
        const QStringList pieces = one.split(QLatin1Char(','));
        QJsonObject pieced = records.value(pieces.first()).toObject();
        for (int i = 1; i < pieces.size() && problem.isEmpty(); ++i)
            problem = setInterfacePiece(pieced, pieces.at(i));
        if (pieces.first().isEmpty() && problem.isEmpty())
            problem = QLatin1String("--interface takes a name first");
        records.insert(pieces.first(), pieced);
    }
    QJsonObject leases;
    for (const QString &name : records.keys()) {
        const QJsonObject lease = leaseFor(records.value(name).toObject());
        if (records.value(name).toObject().value(QLatin1String("dhcp")).toBool() && !lease.isEmpty())
            leases.insert(name, lease);
    }
    state.insert(QLatin1String("interfaces"), records);
    state.insert(QLatin1String("leases"), leases);
    return problem;
}
