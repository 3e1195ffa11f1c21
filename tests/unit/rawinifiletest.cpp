#include "rawinifile.h"

#include <QBuffer>
#include <QtTest>

class RawIniFileTest : public QObject
{
    Q_OBJECT
private slots:
    void fileGivesEntries_data();
    void fileGivesEntries();
    void entryBehindTheFirstMebibyteIsNotRead();
    void lastEntryWithinTheFirstMebibyteIsRead();
    void unreadableDeviceIsRefused();
    void settingsReadTheFormat();
    void settingsNeverWriteTheFile();
};

namespace
{

using Entries = QMap<QString, QString>;

// All entries that are read, or a note that the file is refused.
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

} // namespace

Q_DECLARE_METATYPE(Entries)

void RawIniFileTest::fileGivesEntries_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Entries>("entries");
    const auto row = [](const char *name, const char *file, const Entries &entries) {
        QTest::newRow(name) << QByteArray(file) << entries;
    };
    const auto one = [&row](const char *name, const char *file, const char *key, const char *value) {
        row(name, file, {{QString::fromLatin1(key), QString::fromLatin1(value)}});
    };
    one("usual spelling", "[Brand]\noptions\\devicename=501:A\n", "Brand/options/devicename", "501:A");
    one("slash in the key", "[Brand]\noptions/devicename=501:A\n", "Brand/options/devicename", "501:A");
    one("whole path in the section", "[Brand/options]\ndevicename=501:A\n", "Brand/options/devicename",
        "501:A");
    one("backslash in the section", "[Brand\\options]\ndevicename=501:A\n", "Brand/options/devicename",
        "501:A");
    one("blanks around key and value", " [Brand] \n \ta = b c \t\n", "Brand/a", "b c");
    one("commas stay text", "[B]\na=501:A, 502:B,\n", "B/a", "501:A, 502:B,");
    one("quotes around the value go", "[B]\na=\"501:A, 502:B\"\n", "B/a", "501:A, 502:B");
    one("blanks within quotes stay", "[B]\na=\" x \"\n", "B/a", " x ");
    one("one pair of quotes only", "[B]\na=\"\"x\"\"\n", "B/a", "\"x\"");
    one("lone quote stays", "[B]\na=\"\n", "B/a", "\"");
    one("quote inside stays", "[B]\na=19\" panel\n", "B/a", "19\" panel");
    one("backslash in a value stays", "[B]\na=x\\ny\n", "B/a", "x\\ny");
    one("Latin-1 byte", "[B]\na=caf\xE9\n", "B/a", "caf\xE9");
    one("equals sign in a value", "[B]\na=x=y\n", "B/a", "x=y");
    one("empty value", "[B]\na=\n", "B/a", "");
    one("last of two wins", "[B]\na=1\na=2\n", "B/a", "2");
    one("no newline at the end", "[B]\na=1", "B/a", "1");
    one("carriage returns", "[B]\r\na=1\r\n", "B/a", "1");
    one("comment", "; a=0\n[B]\n;a=1\na=2\n;a=3\n", "B/a", "2");
    one("no section", "a=1\n", "a", "1");
    one("the general section is none", "[General]\na=1\n", "a", "1");
    one("blank in a key", "[B]\nfirst%20name=1\n", "B/first name", "1");
    one("lines that are no entry", "[B]\n\nnonsense\n=5\na=1\n", "B/a", "1");
    row("sections in turn", "[A]\nx=1\n[B]\nx=2\n[A]\ny=3\n",
        {{QStringLiteral("A/x"), QStringLiteral("1")},
         {QStringLiteral("A/y"), QStringLiteral("3")},
         {QStringLiteral("B/x"), QStringLiteral("2")}});
    row("empty", "", {});
    row("nothing but noise", "\xFF\xFE\x01[[]]\n]\n[", {});
}

void RawIniFileTest::fileGivesEntries()
{
    QFETCH(QByteArray, file);
    QTEST(entriesOf(file), "entries");
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

void RawIniFileTest::unreadableDeviceIsRefused()
{
    QBuffer closed;
    QSettings::SettingsMap entries;
    QVERIFY(!readRawIni(closed, entries));
    QVERIFY(entries.isEmpty());
}

void RawIniFileTest::settingsReadTheFormat()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("machine.ini")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Brand]\noptions\\devicename=501:A, 502:caf\xE9\n");
    file.close();
    const QSettings settings(file.fileName(), rawIniFormat());
    QCOMPARE(settings.value(QStringLiteral("Brand/options/devicename")).toString(),
             QString::fromLatin1("501:A, 502:caf\xE9"));
    QCOMPARE(settings.value(QStringLiteral("brand/options/devicename")).isValid(), false);
}

void RawIniFileTest::settingsNeverWriteTheFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("machine.ini"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Brand]\nx=1\n");
    file.close();
    {
        QSettings settings(path, rawIniFormat());
        settings.setValue(QStringLiteral("Brand/x"), QStringLiteral("2"));
        settings.sync();
    }
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("[Brand]\nx=1\n"));
}

QTEST_GUILESS_MAIN(RawIniFileTest)

#include "rawinifiletest.moc"
