// Bytes through the reader of the factory's INI file.

#include "fuzztarget.h"
#include "rawinifile.h"

#include <QtCore/QBuffer>

namespace
{

QSettings::SettingsMap entriesOf(const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    REQUIRE(buffer.open(QIODevice::ReadOnly));
    QSettings::SettingsMap entries;
    REQUIRE(readRawIni(buffer, entries));
    return entries;
}

QByteArray escaped(const QString &text, const char *introducer)
{
    QByteArray result;
    for (const QChar character : text)
        result += introducer + QByteArray::number(character.unicode(), 16).rightJustified(4, '0');
    return result;
}

// As a file without sections and without characters of special meaning.
QByteArray writtenAnew(const QSettings::SettingsMap &entries)
{
    QByteArray file;
    for (auto entry = entries.constBegin(); entry != entries.constEnd(); ++entry) {
        const QString value = entry.value().toString();
        // A value that begins with a type's mark is written with the mark doubled.
        const char *mark = value.startsWith(QLatin1Char('@')) ? "@" : "";
        file += escaped(entry.key(), "%U") + '=' + mark + escaped(value, "\\x") + '\n';
    }
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray file(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QSettings::SettingsMap entries = entriesOf(file);
    std::size_t characters = 0;
    for (auto entry = entries.constBegin(); entry != entries.constEnd(); ++entry) {
        REQUIRE(!entry.key().isEmpty());
        characters += static_cast<std::size_t>(entry.value().toString().size());
    }
    REQUIRE(characters <= size);
    REQUIRE(entriesOf(writtenAnew(entries)) == entries);
    return 0;
}
