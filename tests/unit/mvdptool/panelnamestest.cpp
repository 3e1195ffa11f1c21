#include "panelnames.h"

#include <QtTest/QtTest>

namespace
{

const MacAddress First = {0x02, 0x00, 0x5E, 0x10, 0x00, 0x01};
const MacAddress Second = {0x02, 0x00, 0x5E, 0x10, 0x00, 0x02};

PanelNames namesIn(const QByteArray &bytes)
{
    return PanelNames::fromBytes(bytes, QStringLiteral("names.csv"));
}

// The lines of the error; none when there was none.
template <typename Action>
QStringList mistakesOf(Action action)
{
    try {
        action();
    } catch (const ToolError &error) {
        return QStringList(error.message) + error.details;
    }
    return {};
}

// "name/remark"
QString labelIn(const PanelNames &names, const MacAddress &mac)
{
    const PanelLabel label = names.labelOf(mac);
    return label.name + QLatin1Char('/') + label.remark;
}

} // namespace

class PanelNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void filesAreRead_data();
    void filesAreRead();
    void namesAreFoundAsAWhole();
    void mistakesAreToldByTheirPlace_data();
    void mistakesAreToldByTheirPlace();
    void everyMistakeIsTold();
    void namesAreFitOrNot_data();
    void namesAreFitOrNot();
    void namesAreSetAndAllElseIsKept_data();
    void namesAreSetAndAllElseIsKept();
    void unfitNameChangesNothing();
    void fileIsWrittenAndReadAgain();
    void fileThatCannotBeWrittenIsTold();
};

void PanelNamesTest::filesAreRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("first"); // "name/remark" of each
    QTest::addColumn<QString>("second");
    const auto row = [](const char *name, const QByteArray &bytes, const char *first,
                        const char *second = "/") { QTest::newRow(name) << bytes << first << second; };
    row("empty", "", "/");
    row("blank lines", "\n\n", "/");
    row("headings alone", "mac,name,remark\n", "/");
    row("usual", "mac,name,remark\n02:00:5e:10:00:01,Cabinet 7,left door\n02005E100002,Press,\n",
        "Cabinet 7/left door", "Press/");
    row("any order", "Remark;NAME;place;mac\nnew;Cabinet 7;hall;02-00-5e-10-00-01\n", "Cabinet 7/new");
    row("no remarks", "name,mac\nCabinet 7,02005e100001\n", "Cabinet 7/");
    row("no names", "mac\n02005e100001\n", "/");
    row("byte order mark", "\xEF\xBB\xBFmac,name\n02005e100001,K\xC3\xBChlung\n", "K\xC3\xBChlung/");
    row("name of another alphabet", "mac,name\n02005e100001,\xD0\xA6\xD0\xB5\xD1\x85 \xF0\x9F\x94\xA7\n",
        "\xD0\xA6\xD0\xB5\xD1\x85 \xF0\x9F\x94\xA7/");
    row("remark of two lines", "mac,remark\n02005e100001,\"left\r\ndoor\"\n", "/left  door");
    row("name like a formula", "mac,name\n02005e100001,'=7\n", "=7/");
    row("panels without MAC addresses", "mac,description\n000000000000,\n02005e100001,x\n000000000000,\n",
        "/");
    row("output of a search",
        "mac,address,netmask,prefix,gateway,version,description,source,interface,way,marks\n"
        "02:00:5e:10:00:01,192.168.10.5,255.255.255.0,24,192.168.10.1,,QM316-44LRNA,192.168.10.5,eth0,"
        "unicast,\n",
        "/");
}

void PanelNamesTest::filesAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, first);
    QFETCH(QString, second);
    const PanelNames names = namesIn(bytes);
    QCOMPARE(labelIn(names, First), first);
    QCOMPARE(labelIn(names, Second), second);
    if (!bytes.isEmpty())
        QCOMPARE(names.toBytes(), bytes);
}

void PanelNamesTest::namesAreFoundAsAWhole()
{
    const PanelNames names = namesIn("mac,name\n02005e100002,K\xC3\xBChlung\n02005e100001,K\xC3\x9CHLUNG\n"
                                     "02005e100003,\n");
    QCOMPARE(names.named(QString::fromUtf8(" k\xC3\xBChlung")), std::vector<MacAddress>({First, Second}));
    QCOMPARE(names.named(QString::fromUtf8("K\xC3\xBChl")), std::vector<MacAddress>());
    QCOMPARE(names.named(QString()), std::vector<MacAddress>());
}

void PanelNamesTest::mistakesAreToldByTheirPlace_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("mistake");
    const auto row = [](const char *name, const QByteArray &bytes, const char *mistake) {
        QTest::newRow(name) << bytes << mistake;
    };
    row("no MAC address", "name,mac\nx,\n", "names.csv:2:3: there is no MAC address");
    row("broken MAC address", "mac,name\n02:00,x\n", "names.csv:2:1: '02:00' is no MAC address");
    row("panel twice", "mac,name\n02005e100001,x\n\n02:00:5e:10:00:01,y\n",
        "names.csv:4:1: 02:00:5e:10:00:01 is in the file already, in line 2");
    row("zeros with a name", "name,mac\nx,000000000000\n",
        "names.csv:2:3: the MAC address of zeros names no panel");
    row("unfit name", "mac,name\n02005e100001,1.2.3.4\n",
        "names.csv:2:14: '1.2.3.4' is an address, so it cannot be a name");
    row("name of two lines", "mac,name\n02005e100001,\"a\nb\"\n",
        "names.csv:2:14: the name 'a b' has control characters");
    row("no column", "name\nx\n", "names.csv:1:1: there is no column 'mac'");
    row("ragged", "mac,name\n02005e100001\n", "names.csv:2:13: 1 fields under 2 headings");
    row("quotes", "mac,name\n02005e100001,\"x", "names.csv:2:14: a quotation mark without its partner");
    row("UTF-16", QByteArray("\xFF\xFEm\0a\0c\0", 8), "names.csv: the file is in UTF-16: save it as UTF-8");
    row("zero byte", QByteArray("mac\n\0\xFF", 6), "names.csv:2:1: the file has zero bytes in it");
    row("Latin-1", "mac,name\n02005e100001,K\xC3\xBChl K\xFChl\n",
        "names.csv:2:20: here the file is not in UTF-8: save it as UTF-8");
    row("cut character", "mac\n\xC3", "names.csv:2:1: here the file is not in UTF-8");
}

void PanelNamesTest::mistakesAreToldByTheirPlace()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, mistake);
    const QStringList told = mistakesOf([&bytes] { namesIn(bytes); });
    QCOMPARE(told.size(), 1);
    QVERIFY2(told.first().startsWith(mistake), qPrintable(told.first()));
}

void PanelNamesTest::everyMistakeIsTold()
{
    QCOMPARE(mistakesOf([] { namesIn("mac,name\n02005e100001,02005e100001\nx,1.2.3.4\n02005e100001,y\n"); }),
             QStringList({"names.csv:2:14: '02005e100001' is an address, so it cannot be a name",
                          "names.csv:3:1: 'x' is no MAC address",
                          "names.csv:3:3: '1.2.3.4' is an address, so it cannot be a name",
                          "names.csv:4:1: 02:00:5e:10:00:01 is in the file already, in line 2"}));
}

void PanelNamesTest::namesAreFitOrNot_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isFit");
    QTest::newRow("usual") << "Cabinet 7" << true;
    QTest::newRow("blanks at the ends") << " Cabinet 7 " << true;
    QTest::newRow("64 characters") << QString::fromUtf8("\xF0\x9F\x94\xA7").repeated(64) << true;
    QTest::newRow("65 characters") << QString(65, QLatin1Char('x')) << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("blank") << "  " << false;
    QTest::newRow("escape") << "a\x1B[2J" << false;
    QTest::newRow("line separator") << QString::fromUtf8("a\xE2\x80\xA8z") << false;
    QTest::newRow("right to left") << QString::fromUtf8("a\xE2\x80\xAEz") << false;
    QTest::newRow("MAC address") << "02005e100001" << false;
    QTest::newRow("IP address") << "10.0.0.1" << false;
    QTest::newRow("piece of an address") << "10.0" << true;
}

void PanelNamesTest::namesAreFitOrNot()
{
    QFETCH(QString, name);
    QFETCH(bool, isFit);
    const QString mistake = PanelNames::nameMistake(name);
    QVERIFY2(mistake.isEmpty() == isFit, qPrintable(mistake));
}

void PanelNamesTest::namesAreSetAndAllElseIsKept_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("name"); // for the first panel
    QTest::addColumn<QByteArray>("after");
    const auto row = [](const char *name, const QByteArray &before, const char *given,
                        const QByteArray &after) { QTest::newRow(name) << before << given << after; };
    row("no file", "", "Cabinet 7", "mac,name,remark\n02:00:5e:10:00:01,Cabinet 7,\n");
    row("separator alone", "sep=;", "x", "sep=;\nmac;name;remark\n02:00:5e:10:00:01;x;\n");
    row("blank lines", "\r\n\r\n", "x", "\r\n\r\nmac,name,remark\r\n02:00:5e:10:00:01,x,\r\n");
    row("new panel", "\xEF\xBB\xBFsep=;\r\nremark;Name;MAC\r\n;;\r\n\"a;\";\"b\";02005e100002", "x",
        "\xEF\xBB\xBFsep=;\r\nremark;Name;MAC\r\n;;\r\n\"a;\";\"b\";02005e100002\r\n;x;02:00:5e:10:00:"
        "01\r\n");
    row("new name", "mac,place,name\n02005E100001,\"a\nb\",\"old\"\n\n02005e100002,,y", "x",
        "mac,place,name\n02005E100001,\"a\nb\",x\n\n02005e100002,,y");
    row("no column", "mac\taddress\r02005E100001\t1.2.3.4\r\r02005e100002\t\r", "x",
        "mac\taddress\tname\r02005E100001\t1.2.3.4\tx\r\r02005e100002\t\t\r");
    row("removed", "mac,name,remark\n02005e100001,old,here\n", "", "mac,name,remark\n02005e100001,,here\n");
    row("removed where it is not", "mac\n02005e100002\n", "", "mac\n02005e100002\n");
    row("the same", "mac,name\n02005e100001,\"old\"\n", " old ", "mac,name\n02005e100001,\"old\"\n");
    row("another case", "mac,name\n02005e100001,old\n", "Old", "mac,name\n02005e100001,Old\n");
    row("quotes and formula", "mac;name\n", "=5\"; x", "mac;name\n02:00:5e:10:00:01;\"'=5\"\"; x\"\n");
    row("quotes in its row", "mac,name,remark\n02005e100001,old,here\n", "a,b",
        "mac,name,remark\n02005e100001,\"a,b\",here\n");
    row("blanks at the ends", "mac,name\n", " x ", "mac,name\n02:00:5e:10:00:01,x\n");
}

void PanelNamesTest::namesAreSetAndAllElseIsKept()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, name);
    QFETCH(QByteArray, after);
    PanelNames names = before.isEmpty() ? PanelNames() : namesIn(before);
    names.setName(First, name);
    QCOMPARE(names.toBytes(), after);
    QCOMPARE(names.labelOf(First).name, name.trimmed());
    QCOMPARE(namesIn(after).labelOf(First).name, name.trimmed());
}

void PanelNamesTest::unfitNameChangesNothing()
{
    PanelNames names = namesIn("mac,name\n02005e100001,old\n");
    QCOMPARE(mistakesOf([&names] { names.setName(First, QStringLiteral("a\nb")); }),
             QStringList("the name 'a b' has control characters"));
    QCOMPARE(mistakesOf([&names] { names.setName({}, QStringLiteral("x")); }),
             QStringList("a panel without a MAC address cannot have a name"));
    PanelNames wide = namesIn("mac" + QByteArray(63, ',') + "\n02005e100001" + QByteArray(63, ',') + "\n");
    QVERIFY(!mistakesOf([&wide] { wide.setName(First, QStringLiteral("x")); }).isEmpty());
    QCOMPARE(names.toBytes(), QByteArray("mac,name\n02005e100001,old\n"));
    QVERIFY(wide.toBytes().startsWith("mac,,") && wide.labelOf(First).name.isEmpty());
}

void PanelNamesTest::fileIsWrittenAndReadAgain()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("new/folder/names.csv"));
    QVERIFY(
        mistakesOf([&path] { PanelNames::read(path); }).value(0).contains(QStringLiteral("cannot be read")));
    PanelNames names;
    names.write(path);
    QCOMPARE(PanelNames::read(path).toBytes(), QByteArray("mac,name,remark\n"));
    names.setName(First, QStringLiteral("Cabinet 7"));
    names.write(path);
    QCOMPARE(PanelNames::read(path).labelOf(First).name, QStringLiteral("Cabinet 7"));
    QCOMPARE(QDir(folder.filePath(QStringLiteral("new/folder"))).entryList(QDir::Files),
             QStringList("names.csv"));
}

void PanelNamesTest::fileThatCannotBeWrittenIsTold()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const auto told = [](const QString &path) {
        return mistakesOf([&path] { PanelNames().write(path); }).value(0);
    };
    QCOMPARE(told(folder.path()),
             QStringLiteral("'%1' is no ordinary file, so names cannot be kept in it").arg(folder.path()));
    QCOMPARE(told(file.fileName() + QStringLiteral("/names.csv")),
             QStringLiteral("the folder '%1' cannot be made").arg(file.fileName()));
    const QString noFile = told(QStringLiteral("/proc/names.csv"));
    QVERIFY2(noFile.startsWith(QStringLiteral("'/proc/names.csv' cannot be written: ")), qPrintable(noFile));
}

QTEST_APPLESS_MAIN(PanelNamesTest)
#include "panelnamestest.moc"
