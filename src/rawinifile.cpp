#include "rawinifile.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QString>

namespace
{

// The factory file has a few hundred bytes; what is larger by far is no such file.
const qint64 LargestFile = 1 << 20;

// "options\devicename" is "options/devicename"; %20 is a blank.
QString nameFromFile(const QByteArray &name)
{
    QByteArray path = name.trimmed();
    path.replace('\\', '/');
    const QByteArray decoded = QByteArray::fromPercentEncoding(path);
    return QString::fromLatin1(decoded.constData(), static_cast<int>(decoded.size()));
}

QString valueFromFile(const QByteArray &value)
{
    QByteArray text = value.trimmed();
    if (text.size() >= 2 && text.startsWith('"') && text.endsWith('"'))
        text = text.mid(1, text.size() - 2);
    return QString::fromLatin1(text.constData(), static_cast<int>(text.size()));
}

// The prefix of the keys that follow; the section "General" is no group of its own.
QString prefixOfSection(const QByteArray &line)
{
    const QByteArray name = line.mid(1, line.indexOf(']') - 1);
    if (qstricmp(name.trimmed().constData(), "general") == 0)
        return QString();
    return nameFromFile(name) + QLatin1Char('/');
}

bool refuseToWrite(QIODevice &, const QSettings::SettingsMap &)
{
    return false;
}

} // namespace

QSettings::Format rawIniFormat()
{
    static const QSettings::Format format =
        QSettings::registerFormat(QLatin1String("ini"), readRawIni, refuseToWrite);
    return format;
}

bool readRawIni(QIODevice &device, QSettings::SettingsMap &entries)
{
    if (!device.isReadable())
        return false;
    QString prefix;
    const QList<QByteArray> lines = device.read(LargestFile).replace('\r', '\n').split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).trimmed();
        const int equals = static_cast<int>(line.indexOf('='));
        if (line.startsWith(';'))
            continue;
        if (line.startsWith('['))
            prefix = prefixOfSection(line);
        else if (equals > 0)
            entries.insert(prefix + nameFromFile(line.left(equals)), valueFromFile(line.mid(equals + 1)));
    }
    return true;
}
