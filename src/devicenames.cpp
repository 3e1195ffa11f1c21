#include "devicenames.h"

#include "numbertext.h"
#include "rawinifile.h"

#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QStringList>

namespace
{

// Here, unlike in numberFromText(), a text with a blank in it is no number.
int codeFromText(const QString &text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (isWhiteSpace(text.at(i)))
            return 0;
    }
    return numberFromText(text);
}

} // namespace

QHash<int, QString> readDeviceNames(const QString &path)
{
    const QString file =
        path.isEmpty() ? QDir::currentPath() + QDir::separator() + QLatin1String("machine.ini") : path;
    const QSettings settings(file, rawIniFormat());
    return parseDeviceNames(settings.value(QLatin1String("brand/options/devicename")).toString());
}

QHash<int, QString> parseDeviceNames(const QString &text)
{
    QHash<int, QString> names;
    const QStringList parts = text.split(QLatin1Char(','));
    for (int i = 0; i < parts.size(); ++i) {
        const QStringList pieces = parts.at(i).split(QLatin1Char(':'));
        if (pieces.size() == 2)
            names.insert(codeFromText(pieces.at(0)), pieces.at(1));
    }
    return names;
}
