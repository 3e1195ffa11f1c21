#include "methods.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtDBus/QDBusObjectPath>

Handler deviceNumber(const char *key)
{
    return [key](Panel &panel, const QVariantList &) { return one(panel.state.number("device", key)); };
}

Handler setDeviceNumber(const char *key, int least, int greatest)
{
    return [key, least, greatest](Panel &panel, const QVariantList &arguments) {
        const int value = arguments.last().toInt();
        if (value < least || value > greatest)
            return one(Failure);
        panel.state.setNumber("device", key, value);
        return one(Success);
    };
}

Reply succeed(Panel &, const QVariantList &)
{
    return one(Success);
}

Reply startImageJob(Panel &panel, const QVariantList &)
{
    // The number wraps long before it can overflow. The returned job is only a path; no object exists there.
    const int job = panel.state.number("device", "imageJobs") % 1000000 + 1;
    panel.state.setNumber("device", "imageJobs", job);
    const QString path = QString(QLatin1String("/ImageJobs/%1")).arg(qAbs(job));
    return one(QVariant::fromValue(QDBusObjectPath(path)));
}

Reply clearTimeCounters(Panel &panel, const QVariantList &arguments)
{
    const int which = arguments.first().toInt();
    if (which < 0 || which > 2)
        return one(Failure);
    if (which != 1)
        panel.state.setNumber("device", "backlightHours", 0);
    if (which != 0)
        panel.state.setNumber("device", "systemHours", 0);
    return one(Success);
}

Reply dualBootMode(Panel &panel, const QVariantList &)
{
    return one(panel.state.document().value(QLatin1String("dualBootMode")).toString());
}

Handler lockScreen(int locked)
{
    return [locked](Panel &panel, const QVariantList &) {
        panel.state.setNumber("device", "screenLocked", locked);
        return one(Success);
    };
}

Reply mouseNotification(Panel &panel, const QVariantList &arguments)
{
    const int plugged = arguments.first().toInt();
    panel.state.setNumber("device", "mousePlugged", plugged != 0);
    panel.announceMouse(plugged);
    return values({});
}

Reply restartSystem(Panel &panel, const QVariantList &)
{
    panel.restart();
    return one(Success);
}

Reply setScreenOrientation(Panel &panel, const QVariantList &arguments)
{
    const int angle = arguments.first().toInt();
    if (angle < 0 || angle > 270 || angle % 90 != 0)
        return one(Failure);
    panel.state.setNumber("device", "screenOrientation", angle);
    return one(Success);
}

Reply beep(Panel &panel, const QVariantList &)
{
    panel.state.setNumber("device", "beeps", panel.state.number("device", "beeps") % 1000000 + 1);
    return one(Success);
}

Reply changePassword(Panel &panel, const QVariantList &arguments)
{
    const QString user = arguments.at(0).toString();
    QJsonObject users = panel.state.section("users");
    if (!users.contains(user) || users.value(user).toString() != arguments.at(1).toString())
        return one(Failure);
    users.insert(user, arguments.at(2).toString());
    panel.state.setSection("users", users);
    return one(Success);
}

Reply checkPassword(Panel &panel, const QVariantList &arguments)
{
    const QJsonValue password = panel.state.section("users").value(arguments.at(0).toString());
    return one(password.isString() && password.toString() == arguments.at(1).toString() ? Success : Failure);
}

Reply splashInfo(Panel &panel, const QVariantList &)
{
    QVariantList fields;
    for (const char *key : {"splashX", "splashY", "splashWidth", "splashHeight"})
        fields << static_cast<quint32>(panel.state.number("device", key));
    return structure(fields);
}

Handler splashNumber(const char *key)
{
    return [key](Panel &panel, const QVariantList &) {
        return one(static_cast<quint32>(panel.state.number("device", key)));
    };
}

Handler storageList(bool dynamicOnly)
{
    return [dynamicOnly](Panel &panel, const QVariantList &) {
        const QJsonObject storages = panel.state.section("storage");
        QStringList names;
        for (const QString &name : storages.keys())
            if (!dynamicOnly || storages.value(name).toObject().value(QLatin1String("dynamic")).toBool())
                names << name;
        return one(names.join(QLatin1Char(',')));
    };
}

Reply installationFolder(Panel &panel, const QVariantList &)
{
    const QJsonObject flash = panel.state.section("storage").value(QLatin1String("flash")).toObject();
    return one(flash.value(QLatin1String("mountPoint")).toString() + QLatin1String("/hmi"));
}

Handler mountPoint(const char *storage)
{
    return [storage](Panel &panel, const QVariantList &) {
        const QJsonObject found = panel.state.section("storage").value(QLatin1String(storage)).toObject();
        return one(found.value(QLatin1String("mountPoint")).toString());
    };
}

Reply storageInfo(Panel &panel, const QVariantList &arguments)
{
    const QString name = arguments.first().toString();
    const QJsonObject storages = panel.state.section("storage");
    if (!storages.contains(name))
        return refusal("com.zelt.HWSD.Error.UnknownStorage",
                       QString(QLatin1String("There is no storage \"%1\"")).arg(name));
    const QJsonObject storage = storages.value(name).toObject();
    return structure({name, storage.value(QLatin1String("mountPoint")).toString(),
                      static_cast<quint32>(storage.value(QLatin1String("totalMegabytes")).toInt()),
                      static_cast<quint32>(storage.value(QLatin1String("freeMegabytes")).toInt()),
                      storage.value(QLatin1String("dynamic")).toBool()});
}

Reply isAppRunning(Panel &panel, const QVariantList &arguments)
{
    const QJsonArray apps = panel.state.document().value(QLatin1String("runningApps")).toArray();
    return one(apps.contains(QJsonValue(arguments.first().toString())) ? 1 : 0);
}

Reply timeZoneFile(Panel &, const QVariantList &)
{
    return one(QString(QLatin1String("/etc/timezone.env")));
}

Reply timeZoneInfo(Panel &panel, const QVariantList &)
{
    const QJsonObject zone = panel.state.section("timeZone");
    return structure({zone.value(QLatin1String("name")).toString(),
                      zone.value(QLatin1String("rule")).toString(),
                      zone.value(QLatin1String("offsetMinutes")).toInt(),
                      zone.value(QLatin1String("daylightSaving")).toBool()});
}

Reply setTimeZoneInfo(Panel &panel, const QVariantList &arguments)
{
    const QVariantList fields = arguments.first().toList();
    QJsonObject zone;
    zone.insert(QLatin1String("name"), fields.at(0).toString());
    zone.insert(QLatin1String("rule"), fields.at(1).toString());
    zone.insert(QLatin1String("offsetMinutes"), fields.at(2).toInt());
    zone.insert(QLatin1String("daylightSaving"), fields.at(3).toBool());
    panel.state.setSection("timeZone", zone);
    return one(Success);
}
