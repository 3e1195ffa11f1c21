// Bytes as the factory's settings file, read as the service reads it: through QSettings, from a file, down to
// the table of the models' names. What Qt itself writes into such a file is read back, and plain files read
// as with Qt's own reader.

#include "devicenames.h"
#include "fuzztarget.h"
#include "rawinifile.h"
#include "textmodels.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <map>

namespace
{

// A file for as long as the object lives. Each has another name, because QSettings remembers the content of a
// file by its name, its size and its time.
class ShortLivedFile
{
public:
    ShortLivedFile()
    {
        // In memory.
        static const QTemporaryDir folder(QStringLiteral("/dev/shm/fuzz-XXXXXX"));
        REQUIRE(folder.isValid());
        static int number = 0;
        m_name = folder.filePath(QStringLiteral("%1.ini").arg(number++));
    }
    ~ShortLivedFile() { QFile::remove(m_name); }
    ShortLivedFile(const ShortLivedFile &) = delete;
    ShortLivedFile &operator=(const ShortLivedFile &) = delete;

    const QString &name() const { return m_name; }
    void write(const QByteArray &bytes) const
    {
        QFile file(m_name);
        REQUIRE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    QByteArray bytes() const
    {
        QFile file(m_name);
        REQUIRE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

private:
    QString m_name;
};

QSettings::SettingsMap entriesOf(QByteArray file)
{
    QBuffer buffer(&file);
    REQUIRE(buffer.open(QIODevice::ReadOnly));
    QSettings::SettingsMap entries;
    REQUIRE(readRawIni(buffer, entries));
    return entries;
}

// Whether QSettings leaves a key as it is when it is asked for it.
bool isInNormalForm(const QString &key)
{
    const QChar slash = QLatin1Char('/');
    return !key.startsWith(slash) && !key.endsWith(slash) && !key.contains(QLatin1String("//"));
}

QString textOf(const QSettings::SettingsMap &entries, const QString &key)
{
    return entries.value(key).toString();
}

void checkThroughSettings(const QSettings::SettingsMap &entries, const QString &file)
{
    const QSettings settings(file, rawIniFormat());
    REQUIRE(settings.status() == QSettings::NoError);
    REQUIRE(settings.allKeys().size() == entries.size());
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        REQUIRE(!isInNormalForm(entry.key()) || settings.value(entry.key()) == entry.value());
}

void checkRewriting(const QSettings::SettingsMap &entries)
{
    const ShortLivedFile file;
    QSettings::SettingsMap expected;
    {
        QSettings settings(file.name(), QSettings::IniFormat);
        for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
            if (!isInNormalForm(entry.key()))
                continue;
            expected.insert(entry.key(), entry.value());
            settings.setValue(entry.key(), entry.value());
        }
        settings.sync();
        REQUIRE(settings.status() == QSettings::NoError);
    }
    if (!expected.isEmpty())
        REQUIRE(entriesOf(file.bytes()) == expected);
}

// Qt's own reader gives the same in files without what the two read differently; rawinifile.h names that. A
// key in two spellings is two keys for Qt.
void checkAgainstQt(const QByteArray &bytes, const QSettings::SettingsMap &entries)
{
    const bool isPlain = std::all_of(bytes.begin(), bytes.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x80 && character != '\0' && character != ';' &&
               character != ',' && character != '@' && character != '\\' && character != '%';
    });
    if (!isPlain)
        return;
    const ShortLivedFile file;
    file.write(bytes);
    const QSettings settings(file.name(), QSettings::IniFormat);
    std::map<QString, QStringList> names;
    for (const QString &key : settings.allKeys()) {
        if (isInNormalForm(key) && !key.isEmpty())
            names[key.toLower()] << key;
    }
    for (const auto &name : names) {
        REQUIRE(entries.contains(name.first));
        const bool isOne = name.second.size() == 1;
        REQUIRE(!isOne || textOf(entries, name.first) == settings.value(name.second.first()).toString());
    }
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        REQUIRE(!isInNormalForm(entry.key()) || names.count(entry.key()) == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QSettings::SettingsMap entries = entriesOf(bytes);
    const ShortLivedFile file;
    file.write(bytes);
    const QString text = textOf(entries, QStringLiteral("brand/options/devicename"));
    REQUIRE(readDeviceNames(file.name()) == namesIn(text));
    REQUIRE(parseDeviceNames(text) == namesIn(text));
    checkThroughSettings(entries, file.name());
    checkRewriting(entries);
    checkAgainstQt(bytes, entries);
    return 0;
}
