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

class PlanFileTest : public QObject
{
    Q_OBJECT

private slots:
    void tablesAreRead_data();
    void tablesAreRead();
    void documentsAreRead_data();
    void documentsAreRead();
    void brokenTablesAreRefused_data();
    void brokenTablesAreRefused();
    void brokenDocumentsAreRefused_data();
    void brokenDocumentsAreRefused();
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
    QTest::newRow("two-byte line ends") << QByteArray("mac,address\r\n02005e100001,10.0.0.1\r\n")
                                        << QStringList{"02:00:5e:10:00:01 10.0.0.1 - -"};
    QTest::newRow("of a spreadsheet")
        << QByteArray("\"MAC\" ; \"Address\"\n\"02-00-5E-10-00-01\";10.0.0.1 \n") << QStringList{};
    QTest::newRow("semicolons and capitals")
        << QByteArray("MAC;Address\n\"02-00-5E-10-00-01\";10.0.0.1 \n;\n")
        << QStringList{"02:00:5e:10:00:01 10.0.0.1 - -"};
    QTest::newRow("only what is given") << QByteArray("gateway,mac,address\n0.0.0.0,02005e100001,\n")
                                        << QStringList{"02:00:5e:10:00:01 - - 0.0.0.0"};
    QTest::newRow("what discover prints")
        << QByteArray("mac,address,netmask,prefix,gateway,version,description,source,interface,way,marks\n"
                      "02:00:5e:10:00:01,10.0.0.1,255.0.0.0,8,10.0.0.254,,\"a,\"\"b\"\"\",10.0.0.1,eth0,"
                      "unicast,\n")
        << QStringList{Usual};
}

void PlanFileTest::tablesAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, entries);
    if (entries.isEmpty()) // blanks around quotes are no quotes
        QVERIFY(!complaintAbout(bytes, PlanFormat::Csv).isEmpty());
    else
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
    QTest::newRow("what discover prints")
        << QByteArray(R"({"panels":[{"mac":"02005e100001","address":"10.0.0.1","prefix":8,"version":null,
                      "description":"x","source":"10.0.0.1","interface":"eth0","way":"unicast","marks":[]}]})")
        << QStringList{"02:00:5e:10:00:01 10.0.0.1 - -"};
}

void PlanFileTest::documentsAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, entries);
    QCOMPARE(entriesOf(bytes, PlanFormat::Json), entries);
}

void PlanFileTest::brokenTablesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("empty") << QByteArray() << "the plan is empty";
    QTest::newRow("headings only") << QByteArray("mac,address\n") << "the plan has no panel";
    QTest::newRow("unknown column") << QByteArray("mac,adress\n") << "line 1: there is no column 'adress'";
    QTest::newRow("column twice") << QByteArray("mac,mac\n") << "two columns 'mac'";
    QTest::newRow("no MAC column") << QByteArray("address\n10.0.0.1\n") << "no column 'mac'";
    QTest::newRow("no MAC address") << QByteArray("mac,address\n,10.0.0.1\n")
                                    << "line 2: there is no MAC address";
    QTest::newRow("broken MAC address")
        << QByteArray("mac,address\n02:00,1.2.3.4\n") << "line 2: '02:00' is no MAC";
    QTest::newRow("zero MAC address")
        << QByteArray("mac,address\n000000000000,1.2.3.4\n") << "names no panel";
    QTest::newRow("broken address") << QByteArray("mac,address\n02005e100001,1.2.3\n")
                                    << "'1.2.3' is no address";
    QTest::newRow("broken netmask") << QByteArray("mac,netmask\n02005e100001,33\n") << "'33' is no netmask";
    QTest::newRow("broken gateway") << QByteArray("mac,gateway\n02005e100001,none\n")
                                    << "'none' is no gateway";
    QTest::newRow("nothing to set") << QByteArray("mac,address\n02005e100001,\n") << "nothing to set";
    QTest::newRow("panel twice") << QByteArray(
                                        "mac,address\n02005e100001,1.2.3.4\n02:00:5E:10:00:01,1.2.3.5\n")
                                 << "line 3: 02:00:5e:10:00:01 is in the plan already, in line 2";
    QTest::newRow("too short") << QByteArray("mac,address\n02005e100001\n") << "1 fields under 2 headings";
    QTest::newRow("too long") << QByteArray("mac,address\n02005e100001,1.2.3.4,5\n") << "3 fields under 2";
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFEm\0a\0c\0", 8) << "UTF-16";
    QTest::newRow("bytes") << QByteArray("\x80\xFF\xC0") << "there is no column";
    QTest::newRow("zero bytes") << QByteArray("\0\x80", 2) << "zero bytes";
    QTest::newRow("open quote") << QByteArray("mac,address\n\"02005e100001,1.2.3.4\n")
                                << "without its partner";
    QTest::newRow("zero byte in a cell")
        << QByteArray("mac,address\n02005e100001,1.2.3.4\0x\n", 36) << "zero bytes";
}

void PlanFileTest::brokenTablesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, complaint);
    const QString said = complaintAbout(bytes, PlanFormat::Csv);
    QVERIFY2(said.contains(complaint), qPrintable(said));
}

void PlanFileTest::brokenDocumentsAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("empty") << QByteArray() << "no JSON";
    QTest::newRow("broken") << QByteArray("[{]") << "no JSON at byte";
    QTest::newRow("deep") << QByteArray(100000, '[') << "no JSON";
    QTest::newRow("no list") << QByteArray("{}") << "neither a list nor";
    QTest::newRow("empty list") << QByteArray("[]") << "the plan has no panel";
    QTest::newRow("no objects") << QByteArray("[1]") << "entry 1: it is no object";
    QTest::newRow("unknown member") << QByteArray(R"([{"mac":"02005e100001","ip":"1.2.3.4"}])")
                                    << "entry 1: 'ip' is unknown";
    QTest::newRow("wrong kind") << QByteArray(R"([{"mac":"02005e100001","address":[1]}])")
                                << "of the wrong kind";
    QTest::newRow("number too large")
        << QByteArray(R"([{"mac":"02005e100001","netmask":1e300}])") << "wrong kind";
    QTest::newRow("half a number") << QByteArray(R"([{"mac":"02005e100001","netmask":8.5}])") << "wrong kind";
    QTest::newRow("panel twice")
        << QByteArray(R"([{"mac":"02005e100001","netmask":8},{"mac":"02005e100001","netmask":8}])")
        << "entry 2: 02:00:5e:10:00:01 is in the plan already, in entry 1";
}

void PlanFileTest::brokenDocumentsAreRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, complaint);
    const QString said = complaintAbout(bytes, PlanFormat::Json);
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
