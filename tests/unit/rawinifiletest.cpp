#include "rawinifile.h"

#include "support/texts.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <random>

class RawIniFileTest : public QObject
{
    Q_OBJECT
private slots:
    void fileGivesEntries_data();
    void fileGivesEntries();
    void anyTextIsReadAsQtReadsIt();
    void whatQtWritesIsReadBack_data();
    void whatQtWritesIsReadBack();
    void entryBehindTheFirstMebibyteIsNotRead();
    void lastEntryWithinTheFirstMebibyteIsRead();
    void keysDoNotGrowBeyondMeasure();
    void unreadableDeviceIsRefused();
    void settingsReadTheFormatAndNeverWriteTheFile();
};

namespace
{

using Entries = QMap<QString, QString>;

// All entries that are read, or a note that the file was refused.
Entries entriesOf(const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    QSettings::SettingsMap read;
    if (!readRawIni(buffer, read))
        return {{QStringLiteral("unreadable"), QString()}};
    Entries entries;
    for (auto entry = read.constBegin(); entry != read.constEnd(); ++entry)
        entries.insert(entry.key(), entry.value().toString());
    return entries;
}

// What Qt's own format finds in a file, by keys in small letters.
Entries entriesByQt(const QString &path)
{
    const QSettings settings(path, QSettings::IniFormat);
    Entries entries;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        entries.insert(key.toLower(), settings.value(key).toString());
    return entries;
}

// QSettings removes slashes from the keys that it looks up, so that it never finds a key with them. Qt 6 also
// removes a line end from a key, which can be there only behind a backslash.
void removeOddKeys(Entries &entries)
{
    const QRegularExpression odd(QStringLiteral("^$|^/|//|/$|[\\r\\n]"));
    for (auto entry = entries.begin(); entry != entries.end();)
        entry = odd.match(entry.key()).hasMatch() ? entries.erase(entry) : std::next(entry);
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

Q_DECLARE_METATYPE(Entries)

void RawIniFileTest::fileGivesEntries_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Entries>("entries");
    const auto row = [](const char *name, const char *file, const Entries &entries) {
        QTest::newRow(name) << QByteArray(file) << entries;
    };
    // Keys are returned in small letters.
    const auto one = [&row](const char *name, const char *file, const char *key, const char *value) {
        row(name, file, {{latin1(key).toLower(), latin1(value)}});
    };
    one("usual spelling", "[Brand]\noptions\\devicename=501:A\n", "Brand/options/devicename", "501:A");
    one("slash in the key", "[Brand]\noptions/devicename=501:A\n", "Brand/options/devicename", "501:A");
    one("whole path in the section", "[Brand/options]\ndevicename=501:A\n", "Brand/options/devicename",
        "501:A");
    one("backslash in the section", "[Brand\\options]\ndevicename=501:A\n", "Brand/options/devicename",
        "501:A");
    one("blanks around key and value", " [Brand] \n \ta = b c \t\n", "Brand/a", "b c");
    one("commas stay text", "[B]\na=501:A, 502:B,\n", "B/a", "501:A, 502:B,");
    one("Latin-1 byte", "[B]\na=caf\xE9\n", "B/a", "caf\xE9");
    one("Latin-1 byte in a key", "[\xE4]\n\xE9=1\n", "\xE4/\xE9", "1");
    one("UTF-8 behind a byte order mark", "\xEF\xBB\xBF[B]\na=caf\xC3\xA9\n", "B/a", "caf\xE9");
    one("byte order mark before a key",
        "\xEF\xBB\xBF"
        "a=1\n",
        "a", "1");
    one("value up to a semicolon", "[B]\na=1 ; what it is=0\nb", "B/a", "1");
    one("semicolon between quotes", "[B]\na=\"1;2\"\n", "B/a", "1;2");
    one("line end between quotes", "[B]\na=\"1\n[C]\r\nb=2\"\n", "B/a", "1\n[C]\r\nb=2");
    one("quotes that are never closed", "[B]\na=19\" panel\nb=1\n", "B/a", "19 panel\nb=1\n");
    one("quote behind a backslash", "[B]\na=19\\\" panel\n", "B/a", "19\" panel");
    one("quotes in a key", "[B]\n\"a=0\n;\"=1\n", "B/\"a=0\n;\"", "1");
    one("line goes on behind a backslash", "[B]\na=1\\\n2\\\r3\\\r\n4\\\n\r5\n", "B/a", "12345");
    one("line end behind the one that is passed over", "[B]\na=1\\\n\n2\n", "B/a", "1");
    one("backslash at the end", "[B]\na=1\\", "B/a", "1");
    one("comment does not go on", "; a=0\\\n[B]\na=1\n", "B/a", "1");
    one("comment with a quote", "; \"\n[B]\na=1\n", "B/a", "1");
    one("indented comment", " \t; a=0\n  [B]\n  a=1\n", "B/a", "1");
    one("escapes in a key", "[%42]\n%61%20%U0062=1\n", "B/a b", "1");
    one("escapes that are none", "[%]\n%%4=1\n", "%/%%4", "1");
    one("more escapes that are none", "[%U006]\n%zz%U00g0%U=1\n", "%U006/%zz%U00g0%U", "1");
    one("equals sign in a value", "[B]\na=x=y\n", "B/a", "x=y");
    one("empty value", "[B]\na=\n", "B/a", "");
    one("last of two wins", "[B]\na=1\na=2\n", "B/a", "2");
    one("no newline at the end", "[B]\na=1", "B/a", "1");
    one("carriage returns", "[B]\r\na=1\r\n", "B/a", "1");
    one("comment", "; a=0\n[B]\n;a=1\na=2\n;a=3\n", "B/a", "2");
    one("no section", "a=1\n", "a", "1");
    one("the general section is none", "[General]\na=1\n", "a", "1");
    one("the general section in another case", "[ geNERAL ]\na=1\n", "a", "1");
    one("the group of that name", "[%General]\na=1\n", "General/a", "1");
    one("section without its end", "[B\na=1\n", "B/a", "1");
    one("section up to a semicolon", "[B;]\na=1\n", "B/a", "1");
    one("what follows the section's end", "[B] x=1\na=1\n", "B/a", "1");
    one("other case of a key", "[B]\nkey=1\nKEY=2\n", "B/KEY", "2");
    one("other case of a section", "[B]\na=1\n[b]\na=2\n", "b/a", "2");
    one("section that names more holds", "[B/c]\na=1\n[B]\nc\\a=2\n", "B/c/a", "1");
    one("section that names more holds, behind", "[B]\nc\\a=2\n[b/C]\na=1\n", "b/C/a", "1");
    one("blank in a key", "[B]\nfirst%20name=1\n", "B/first name", "1");
    one("lines that are no entry", "[B]\n\nnonsense\n=5\na=1\n", "B/a", "1");
    row("sections in turn", "[A]\nx=1\n[B]\nx=2\n[A]\ny=3\n",
        {{QStringLiteral("a/x"), QStringLiteral("1")},
         {QStringLiteral("a/y"), QStringLiteral("3")},
         {QStringLiteral("b/x"), QStringLiteral("2")}});
    row("empty", "", {});
    row("nothing but noise", "\xFF\xFE\x01[[]]\n]\n[", {});
    row("nothing but quotes", "\"\"\"[B]\na=1\n", {});
    row("byte order mark alone", "\xEF\xBB\xBF", {});
    QTest::newRow("zero bytes") << QByteArray("[B\0]\na\0b=1\0\\\0 2\n\0", 17)
                                << Entries{
                                       {QString::fromLatin1("b\0/a\0b", 6), QString::fromLatin1("1\0 2", 4)}};
}

void RawIniFileTest::fileGivesEntries()
{
    QFETCH(QByteArray, file);
    QTEST(entriesOf(file), "entries");
}

// Random texts without commas, capitals in keys and bytes above 127, where this format differs on purpose,
// and without the few characters that Qt 5 and Qt 6 read differently.
void RawIniFileTest::anyTextIsReadAsQtReadsIt()
{
    const QList<QByteArray> pieces =
        QByteArray(
            "a|b|x|0|1|6|61|U|U0062|%|/|\\|\\|\"|\"|=|=|=|\n|\n|\r|\r\n|;| |\t|[|]|[a]\n|[b]\n|[a/b]\n|"
            "[General]\n|[%general]\n|a=|a=|\nb=|b\\a=|\\x4|\\\n|\\\"|\\n|'|?|:|\x01")
            .split('|');
    const QTemporaryDir folder;
    std::mt19937 random(20);
    int entryCount = 0;
    for (int round = 0; round < 4000; ++round) {
        QByteArray text;
        for (auto count = random() % 60; count > 0; --count)
            text += pieces.at(static_cast<int>(random() % static_cast<unsigned>(pieces.size())));
        // A new name each time, because Qt caches what it read from a file.
        const QString path = folder.filePath(QString::number(round));
        QVERIFY(writeFile(path, text));
        Entries expected = entriesByQt(path);
        QVERIFY(QFile::remove(path));
        Entries read = entriesOf(text);
        removeOddKeys(expected);
        removeOddKeys(read);
        if (read != expected)
            qWarning() << text << "Qt:" << expected << "we:" << read;
        QVERIFY(read == expected);
        entryCount += static_cast<int>(expected.size());
    }
    // Enough of the texts had entries.
    QVERIFY(entryCount > 3000);
}

void RawIniFileTest::whatQtWritesIsReadBack_data()
{
    QTest::addColumn<QString>("name");
    const auto row = [](const char *name) { QTest::newRow(name) << latin1(name); };
    row("Line 3 panel");
    row("");
    row("caf\xE9");
    row("\xE9");
    row("\xE9"
        "9 \xFC"
        "f");
    row("\xC3\xA9 that looks like UTF-8");
    row("19\" panel");
    row("\"quoted\"");
    row("a\\b\\n");
    row("\\");
    row("ends in \\");
    row("a;b");
    row("501:A,502:B");
    row("501:A, 502:B,");
    row(",");
    row("501:A;502:caf\xE9,503:\"C\"");
    row("x=y");
    row("[x]");
    row("%20%U0041");
    row(" leading");
    row("\tleading tab");
    row("trailing ");
    row("trailing tab\t");
    row(" ");
    row("\t");
    row("two\nlines\r\n");
    row("\a\b\f\v\x01"
        "1\x1F\x7F\x80\x9F\xA0\xFF");
    row("@at");
    row("@@at");
    row("@Invalid()");
    row("@ByteArray(x)");
    row("@Rect(0 0 1 1)");
    row("@String(x)");
    QTest::newRow("zero byte") << QString::fromLatin1("a\0001b\0", 5);
    QTest::newRow("outside Latin-1") << QString(QChar(0x4E2D)) + QChar(0x6587);
    QTest::newRow("outside the first plane") << QString(QChar(0xD83D)) + QChar(0xDE00);
}

void RawIniFileTest::whatQtWritesIsReadBack()
{
    QFETCH(QString, name);
    const QString key = QStringLiteral("Br\u00E4nd & co/options/devicename");
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("machine.ini"));
    {
        QSettings written(path, QSettings::IniFormat);
        written.setValue(QStringLiteral("other"), 5);
        written.setValue(key, name);
        written.setValue(QStringLiteral("General/other"), 6);
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const Entries read = entriesOf(file.readAll());
    QCOMPARE(read.value(key.toLower()), name);
    QCOMPARE(read.value(QStringLiteral("other")), QStringLiteral("5"));
    QCOMPARE(read.value(QStringLiteral("general/other")), QStringLiteral("6"));
}

void RawIniFileTest::entryBehindTheFirstMebibyteIsNotRead()
{
    const QByteArray padding = ';' + QByteArray(1024 * 1024 - 2, 'x') + '\n';
    QCOMPARE(entriesOf(padding + "a=1\n"), Entries());
}

void RawIniFileTest::lastEntryWithinTheFirstMebibyteIsRead()
{
    const QByteArray padding = ';' + QByteArray(1024 * 1024 - 6, 'x') + '\n';
    QCOMPARE(entriesOf(padding + "a=1\n"), (Entries{{QStringLiteral("a"), QStringLiteral("1")}}));
}

// Half a mebibyte of section name, in every one of the many keys behind it.
void RawIniFileTest::keysDoNotGrowBeyondMeasure()
{
    QByteArray file = '[' + QByteArray(1 << 19, 's') + "]\n";
    for (int i = 0; i < 50000; ++i)
        file += 'k' + QByteArray::number(i) + "=\n";
    const Entries entries = entriesOf(file);
    QCOMPARE(entries.size(), 7);
    QCOMPARE(entries.firstKey(), QString(1 << 19, QLatin1Char('s')) + QStringLiteral("/k0"));
}

void RawIniFileTest::unreadableDeviceIsRefused()
{
    QBuffer closed;
    QSettings::SettingsMap entries;
    QVERIFY(!readRawIni(closed, entries));
    QVERIFY(entries.isEmpty());
}

void RawIniFileTest::settingsReadTheFormatAndNeverWriteTheFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(latin1("machine.ini"));
    const QByteArray content("[Brand]\nx=1, \xE9\n");
    QVERIFY(writeFile(path, content));
    {
        QSettings settings(path, rawIniFormat());
        QCOMPARE(settings.value(latin1("brand/x")).toString(), latin1("1, \xE9"));
        settings.setValue(latin1("Brand/x"), latin1("2"));
        settings.sync();
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

QTEST_GUILESS_MAIN(RawIniFileTest)

#include "rawinifiletest.moc"
