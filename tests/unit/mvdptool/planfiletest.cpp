#include "planfile.h"

#include "toolerror.h"

#include <QtTest/QtTest>

namespace
{

// One entry in a line: "mac address netmask gateway", a dash for what is not given.
QStringList entriesOf(const QByteArray &bytes, PlanFormat format)
{
    const auto number = [](const std::optional<std::uint32_t> &value) {
        return value ? ipv4Text(*value) : QStringLiteral("-");
    };
    QStringList lines;
    for (const PlanEntry &entry : parsePlan(bytes, format))
        lines << QStringList{macText(entry.mac), number(entry.wanted.address), number(entry.wanted.netmask),
                             number(entry.wanted.gateway)}
                     .join(QLatin1Char(' '));
    return lines;
}

// The message of the error; empty when there was none.
QString complaintAbout(const QByteArray &bytes, PlanFormat format)
{
    try {
        parsePlan(bytes, format);
    } catch (const ToolError &error) {
        const bool isOfInput = error.kind == ToolError::BadPlan || error.kind == ToolError::BadInput;
        return isOfInput ? error.message : QStringLiteral("another kind of error");
    }
    return QString();
}

const QString Usual = QStringLiteral("02:00:5e:10:00:01 10.0.0.1 255.0.0.0 10.0.0.254");

} // namespace

Q_DECLARE_METATYPE(PlanFormat)

class PlanFileTest : public QObject
{
    Q_OBJECT

private slots:
    void tablesAreRead_data();
    void tablesAreRead();
    void documentsAreRead_data();
    void documentsAreRead();
    void brokenPlansAreRefused_data();
    void brokenPlansAreRefused();
    void everyMistakeIsNamed();
    void manyMistakesAreCutShort();
    void filesAreBoundedAndNamedByTheirKind();
};

void PlanFileTest::tablesAreRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("entries");
    const QByteArray row = "02:00:5e:10:00:01,10.0.0.1,8,10.0.0.254\n";
    const QByteArray header = "mac,address,netmask,gateway\n";
    QTest::newRow("usual") << header + row << QStringList{Usual};
    QTest::newRow("with a byte order mark") << "\xEF\xBB\xBF" + header + row << QStringList{Usual};
    QTest::newRow("semicolons and capitals")
        << QByteArray("MAC;Address\n\"02-00-5E-10-00-01\";10.0.0.1 \n;\n")
        << QStringList{"02:00:5e:10:00:01 10.0.0.1 - -"};
    QTest::newRow("only what is given") << QByteArray("gateway,mac,address\n0.0.0.0,02005e100001,\n")
                                        << QStringList{"02:00:5e:10:00:01 - - 0.0.0.0"};
}

void PlanFileTest::tablesAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, entries);
    QCOMPARE(entriesOf(bytes, PlanFormat::Csv), entries);
}

void PlanFileTest::documentsAreRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("entries");
    const QByteArray entry =
        R"({"mac":"02:00:5e:10:00:01","address":"10.0.0.1","netmask":"255.0.0.0","gateway":"10.0.0.254"})";
    QTest::newRow("a list") << "[" + entry + "]" << QStringList{Usual};
    QTest::newRow("an object") << "{\"panels\": [" + entry + "], \"ignored\": 3}" << QStringList{Usual};
    QTest::newRow("with a byte order mark") << "\xEF\xBB\xBF[" + entry + "]" << QStringList{Usual};
    QTest::newRow("prefix length as a number")
        << QByteArray(R"([{"mac":"02005e100001","netmask":16,"address":null}])")
        << QStringList{"02:00:5e:10:00:01 - 255.255.0.0 -"};
}

void PlanFileTest::documentsAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, entries);
    QCOMPARE(entriesOf(bytes, PlanFormat::Json), entries);
}

void PlanFileTest::brokenPlansAreRefused_data()
{
    QTest::addColumn<PlanFormat>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("complaint");
    const auto table = [](const char *name, const QByteArray &bytes, const char *complaint) {
        QTest::newRow(name) << PlanFormat::Csv << bytes << complaint;
    };
    const auto document = [](const char *name, const QByteArray &bytes, const char *complaint) {
        QTest::newRow(name) << PlanFormat::Json << bytes << complaint;
    };
    table("empty", {}, "the plan is empty");
    table("headings only", "mac,address\n", "the plan has no panel");
    table("unknown column", "mac,adress\n", "line 1: there is no column 'adress'");
    table("column twice", "mac,mac\n", "two columns 'mac'");
    table("no MAC column", "address\n10.0.0.1\n", "no column 'mac'");
    table("no MAC address", "mac,address\n,10.0.0.1\n", "line 2: there is no MAC address");
    table("broken MAC address", "mac,address\n02:00,1.2.3.4\n", "line 2: '02:00' is no MAC");
    table("zero MAC address", "mac,address\n000000000000,1.2.3.4\n", "names no panel");
    table("broken address", "mac,address\n02005e100001,1.2.3\n", "'1.2.3' is no address");
    table("broken netmask", "mac,netmask\n02005e100001,33\n", "'33' is no netmask");
    table("broken gateway", "mac,gateway\n02005e100001,none\n", "'none' is no gateway");
    table("nothing to set", "mac,address\n02005e100001,\n", "nothing to set");
    table("panel twice", "mac,address\n02005e100001,1.2.3.4\n02:00:5E:10:00:01,1.2.3.5\n",
          "line 3: 02:00:5e:10:00:01 is in the plan already, in line 2");
    table("too short", "mac,address\n02005e100001\n", "1 fields under 2 headings");
    table("too long", "mac,address\n02005e100001,1.2.3.4,5\n", "3 fields under 2");
    table("UTF-16", QByteArray("\xFF\xFEm\0a\0c\0", 8), "UTF-16");
    table("bytes", "\x80\xFF\xC0", "there is no column");
    table("zero bytes", QByteArray("\0\x80", 2), "zero bytes");
    table("zero byte in a cell", QByteArray("mac,address\n02005e100001,1.2.3.4\0x\n", 36), "zero bytes");
    document("empty document", {}, "no JSON");
    document("broken", "[{]", "no JSON at byte");
    document("deep", QByteArray(100000, '['), "no JSON");
    document("no list", "{}", "neither a list nor");
    document("empty list", "[]", "the plan has no panel");
    document("no objects", "[1]", "entry 1: it is no object");
    document("unknown member", R"([{"mac":"02005e100001","ip":"1.2.3.4"}])", "entry 1: 'ip' is unknown");
    document("wrong kind", R"([{"mac":"02005e100001","address":[1]}])", "of the wrong kind");
    document("number too large", R"([{"mac":"02005e100001","netmask":1e300}])", "wrong kind");
    document("half a number", R"([{"mac":"02005e100001","netmask":8.5}])", "wrong kind");
    document("panel twice in a document",
             R"([{"mac":"02005e100001","netmask":8},{"mac":"02005e100001","netmask":8}])",
             "entry 2: 02:00:5e:10:00:01 is in the plan already, in entry 1");
}

void PlanFileTest::brokenPlansAreRefused()
{
    QFETCH(PlanFormat, format);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, complaint);
    const QString said = complaintAbout(bytes, format);
    QVERIFY2(said.contains(complaint), qPrintable(said));
}

void PlanFileTest::everyMistakeIsNamed()
{
    const QString said =
        complaintAbout("mac,address\n02005e100001,x\n02005e100002,1.2.3.4\nz,y\n", PlanFormat::Csv);
    for (const char *mistake :
         {"line 2: 'x' is no address", "line 4: 'z' is no MAC address", "line 4: 'y' is no"})
        QVERIFY2(said.contains(QLatin1String(mistake)), qPrintable(said));
    QVERIFY(!said.contains(QStringLiteral("line 3")));
}

void PlanFileTest::manyMistakesAreCutShort()
{
    const QByteArray longCell(10000, 'x');
    const QString said = complaintAbout(
        "mac,address\n" + QByteArray("02005e100001," + longCell + '\n').repeated(400), PlanFormat::Csv);
    QVERIFY2(said.size() < 4000, qPrintable(QString::number(said.size())));
}

void PlanFileTest::filesAreBoundedAndNamedByTheirKind()
{
    QTemporaryDir folder;
    const auto complaint = [&folder](const char *name, qint64 size) {
        QFile file(folder.filePath(QLatin1String(name)));
        if (size >= 0 && !(file.open(QIODevice::WriteOnly) && file.resize(size)))
            return QStringLiteral("the test cannot write");
        try {
            readPlan(file.fileName());
        } catch (const ToolError &error) {
            return error.message;
        }
        return QString();
    };
    QVERIFY(complaint("plan.txt", 1).contains(QStringLiteral("neither .csv nor .json")));
    QVERIFY(complaint("missing.csv", -1).contains(QStringLiteral("cannot be read")));
    QVERIFY(complaint("large.csv", 100 << 20).contains(QStringLiteral("larger than 4 MiB")));
    QVERIFY(complaint("empty.JSON", 0).contains(QStringLiteral("no JSON")));
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("folder.csv")));
    QVERIFY(complaint("folder.csv", -1).contains(QStringLiteral("cannot be read")));
}

QTEST_APPLESS_MAIN(PlanFileTest)
#include "planfiletest.moc"
