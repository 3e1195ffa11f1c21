#include "devicenames.h"

#include "support/texts.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using Names = QHash<int, QString>;
Q_DECLARE_METATYPE(Names)

class DeviceNamesTest : public QObject
{
    Q_OBJECT
private slots:
    void textGivesTable_data();
    void textGivesTable();
    void fileGivesTable_data();
    void fileGivesTable();
    void onlyAnEmptyPathMeansTheWorkingDirectory();
    void unreadableFileGivesEmptyTable();
};

namespace
{

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

void DeviceNamesTest::textGivesTable_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Names>("names");
    const auto row = [](const char *name, const char *text, const Names &names) {
        QTest::newRow(name) << latin1(text) << names;
    };
    row("one", "506:Line 3 panel", {{506, latin1("Line 3 panel")}});
    row("two", "506:Line 3 panel,510:Oven", {{506, latin1("Line 3 panel")}, {510, latin1("Oven")}});
    row("blank after the comma", "501:Panel A, 502:Panel B",
        {{501, latin1("Panel A")}, {0, latin1("Panel B")}});
    row("blank before the colon", "501 :A", {{0, latin1("A")}});
    row("names are not trimmed", "501: A ", {{501, latin1(" A ")}});
    row("last wins", "501:A,502:B,501:C", {{501, latin1("C")}, {502, latin1("B")}});
    row("part without a colon", "501,502:B", {{502, latin1("B")}});
    row("part of three pieces", "501:A:x,502:B", {{502, latin1("B")}});
    row("empty parts", ",,501:A,,", {{501, latin1("A")}});
    row("empty name", "501:", {{501, latin1("")}});
    row("empty number", ":A", {{0, latin1("A")}});
    row("a colon alone", ":", {{0, latin1("")}});
    row("no number", "abc:A", {{0, latin1("A")}});
    row("hexadecimal is no number", "0x1F5:A", {{0, latin1("A")}});
    row("too large for a number", "99999999999:A", {{0, latin1("A")}});
    row("negative", "-5:A", {{-5, latin1("A")}});
    row("zeros in front are decimal", "0501:A", {{501, latin1("A")}});
    row("Latin-1", "501:caf\xE9", {{501, latin1("caf\xE9")}});
    row("blank of Latin-1 before the number",
        "\xA0"
        "501:A",
        {{0, latin1("A")}});
    row("next line before the number",
        "\x85"
        "501:A",
        {{0, latin1("A")}});
    row("sign in front", "+501:A", {{501, latin1("A")}});
    QTest::newRow("zero byte behind the number")
        << QString::fromLatin1("501\0:A", 6) << Names{{0, latin1("A")}};
    row("empty", "", {});
    row("no table at all", "Panel", {});
}

void DeviceNamesTest::textGivesTable()
{
    QFETCH(QString, text);
    QTEST(parseDeviceNames(text), "names");
}

void DeviceNamesTest::fileGivesTable_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Names>("names");
    const auto row = [](const char *name, const char *content, const Names &names) {
        QTest::newRow(name) << QByteArray(content) << names;
    };
    // Not trimmed, and not a list: the text as it stands in the file.
    row("blank after the comma", "[Brand]\noptions\\devicename=501:A, 502:caf\xE9\n",
        {{501, latin1("A")}, {0, latin1("caf\xE9")}});
    row("other case, among others", "[Last]\ny=2\n[BRAND]\nname=Z\nOptions\\DeviceName=501:A\n",
        {{501, latin1("A")}});
    row("another section", "[Brond]\noptions\\devicename=501:A\n", {});
    row("another key", "[Brand]\noptions\\device=501:A\n", {});
    row("no section", "options\\devicename=501:A\n", {});
    row("empty file", "", {});
}

void DeviceNamesTest::fileGivesTable()
{
    QFETCH(QByteArray, content);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("machine.ini"));
    QVERIFY(writeFile(path, content));
    QTEST(readDeviceNames(path), "names");
}

void DeviceNamesTest::onlyAnEmptyPathMeansTheWorkingDirectory()
{
    const QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath(latin1("machine.ini")), "[Brand]\noptions\\devicename=501:A\n"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const Names ofNoPath = readDeviceNames(QString());
    const Names ofAnAbsentFile = readDeviceNames(folder.filePath(latin1("absent/machine.ini")));
    QDir::setCurrent(before);
    QCOMPARE(ofNoPath, (Names{{501, latin1("A")}}));
    QCOMPARE(ofAnAbsentFile, Names());
}

void DeviceNamesTest::unreadableFileGivesEmptyTable()
{
    const QTemporaryDir folder;
    QCOMPARE(readDeviceNames(folder.filePath(QStringLiteral("absent.ini"))), Names());
    QCOMPARE(readDeviceNames(folder.path()), Names());
}

QTEST_GUILESS_MAIN(DeviceNamesTest)

#include "devicenamestest.moc"
