#include "planfile.h"

#include "textfile.h"

#include <QtCore/QJsonArray>
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
    for (const PlanEntry &entry : parsePlan(bytes, format, QStringLiteral("plan")).entries)
        lines << QStringList{macText(entry.mac), number(entry.wanted.address), number(entry.wanted.netmask),
                             number(entry.wanted.gateway)}
                     .join(QLatin1Char(' '));
    return lines;
}

// The lines of the error; empty when there was none.
QString complaintAbout(const QByteArray &bytes, PlanFormat format)
{
    try {
        parsePlan(bytes, format, QStringLiteral("plan"));
    } catch (const ToolError &error) {
        return error.kind == ToolError::BadPlan
                   ? (QStringList(error.message) + error.details).join(QLatin1Char('\n'))
                   : QStringLiteral("another kind of error");
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
    void labelsAndUnknownColumnsAreKept();
    void unknownMembersKeepTheirKind();
    void unknownMembersAreBounded();
    void filesAreBoundedAndToldByTheirNames();
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
    QTest::newRow("address with its prefix") << QByteArray("mac,address\n02005e100001,10.0.0.1/255.0.0.0\n")
                                             << QStringList{"02:00:5e:10:00:01 10.0.0.1 255.0.0.0 -"};
    QTest::newRow("netmask twice") << QByteArray("mac,address,netmask\n02005e100001,10.0.0.1/8,255.0.0.0\n")
                                   << QStringList{"02:00:5e:10:00:01 10.0.0.1 255.0.0.0 -"};
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
    QTest::newRow("capitals and prefix") << QByteArray(R"([{"MAC":"02005e100001","Address":"10.0.0.1/8"}])")
                                         << QStringList{"02:00:5e:10:00:01 10.0.0.1 255.0.0.0 -"};
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
    table("empty", {}, "plan: the plan is empty");
    table("headings only", "mac,address\n", "plan: the plan has no panel");
    table("no MAC column", "address\n10.0.0.1\n", "plan:1:1: there is no column 'mac'");
    table("no MAC address", "mac,address\n,10.0.0.1\n", "plan:2:1: there is no MAC address");
    table("broken MAC address", "mac,address\n02:00,1.2.3.4\n", "plan:2:1: '02:00' is no MAC address");
    table("zero MAC address", "mac,address\n000000000000,1.2.3.4\n",
          "plan:2:1: the MAC address of zeros names no panel");
    table("broken address", "mac,address\n02005e100001,1.2.3\n", "plan:2:14: '1.2.3' is no address");
    table("broken netmask", "mac,netmask\n02005e100001,33\n", "plan:2:14: '33' is no netmask");
    table("two netmasks", "mac,address,netmask\n02005e100001,1.2.3.4/16,24\n",
          "plan:2:25: '24' is another netmask than that of 1.2.3.4/16");
    table("broken prefix", "mac,address\n02005e100001,1.2.3.4/33\n", "plan:2:14: '1.2.3.4/33' is no address");
    table("unfit name", "mac,address,name\n02005e100001,1.2.3.4,\"a\nb\"\n",
          "plan:2:22: the name 'a b' has control characters");
    table("broken gateway", "mac,gateway\n02005e100001,none\n", "plan:2:14: 'none' is no gateway");
    table("nothing to set", "mac,address\n02005e100001,\n", "plan:2:1: there is nothing to set");
    table("panel twice", "mac,address\n02005e100001,1.2.3.4\n02:00:5E:10:00:01,1.2.3.5\n",
          "plan:3:1: 02:00:5e:10:00:01 is in the plan already, in line 2");
    table("ragged", "mac,address\n02005e100001\n", "plan:2:13: 1 fields under 2 headings");
    table("open quote", "mac,address\n02005e100001,\"1", "plan:2:14: a quotation mark without its partner");
    table("bytes", "\x80\xFF\xC0", "plan:1:1: here the file is not in UTF-8");
    document("bytes in a document", "[\n\"\xFF\"]", "plan:2:2: here the file is not in UTF-8");
    document("empty document", {}, "plan:1:1: this is no JSON");
    document("broken", "[{\n \"mac\": \"\xC3\xBC\" 1}]", "plan:2:1");
    document("deep", QByteArray(100000, '['), "plan:1:");
    document("no list", "{}", "plan: the plan is neither a list nor");
    document("empty list", "[]", "plan: the plan has no panel");
    document("no objects", "[\n 1]", "plan:2:2: this is no object");
    document("member twice", R"([{"mac":"02005e100001","MAC":"02005e100002"}])",
             "plan:1:9: there are two members");
    document("member without a name", R"([{"mac":"02005e100001","":1}])", "plan:1:27: a member has no name");
    document("name of the wrong kind", R"([{"mac":"02005e100001","name":7}])",
             "plan:1:31: 'name' is of the wrong");
    document("address as a number", R"([{"mac":"02005e100001","address":7}])",
             "plan:1:34: 'address' is of the wrong");
    document("wrong kind", R"([{"mac":"02005e100001","address":[1]}])",
             "plan:1:34: 'address' is of the wrong kind");
    document("number too large", R"([{"mac":"02005e100001","netmask":1e300}])", "plan:1:34: 'netmask' is");
    document("half a number", R"([{"mac":"02005e100001","netmask":8.5}])", "plan:1:34: 'netmask' is");
    document("panel twice in a document",
             "{\"panels\":[{\"mac\":\"02005e100001\",\"netmask\":8},\n"
             " {\"mac\":\"02005e100001\",\"netmask\":8}]}",
             "plan:2:2: 02:00:5e:10:00:01 is in the plan already, in line 1");
    document("list twice", R"({"panels":[{"mac":"02005e100001","netmask":8}],"panels":[{"mac":"x"}]})",
             "plan:1:65: 'x' is no MAC address");
    document(
        "behind texts and lists of any kind",
        R"({"a":[{"panels":[1]},"]}\\\""],"panels":[{"mac":"x\"\\","marks":[{}, [1,"}"]], "\u006dac":"y"}]})",
        "plan:1:91: 'y' is no MAC address");
}

void PlanFileTest::brokenPlansAreRefused()
{
    QFETCH(PlanFormat, format);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, complaint);
    const QString said = complaintAbout(bytes, format);
    QVERIFY2(said.startsWith(complaint), qPrintable(said));
}

void PlanFileTest::everyMistakeIsNamed()
{
    QCOMPARE(complaintAbout("mac,address\n02005e100001,x\n02005e100002,1.2.3.4\nz,y\n", PlanFormat::Csv),
             QStringLiteral("plan:2:14: 'x' is no address\n"
                            "plan:4:1: 'z' is no MAC address\n"
                            "plan:4:3: 'y' is no address"));
}

void PlanFileTest::manyMistakesAreCutShort()
{
    const QByteArray longCell(10000, 'x');
    const QString said = complaintAbout(
        "mac,address\n" + QByteArray("02005e100001," + longCell + '\n').repeated(400), PlanFormat::Csv);
    QVERIFY2(said.endsWith(QStringLiteral("\nplan: 380 more mistakes")), qPrintable(said));
    QVERIFY2(said.size() < 4000, qPrintable(QString::number(said.size())));
}

void PlanFileTest::labelsAndUnknownColumnsAreKept()
{
    const QByteArray table = "Cabinet,mac,wantedAddress,NAME,address,remark,\"a\nb\",\n"
                             "'=7,02005e100001,x,Press,1.2.3.4,\"left\ndoor\",\"1\t2\",\n"
                             ",02005e100002,,,1.2.3.5,,,\n";
    const PlanContent read = parsePlan(table, PlanFormat::Csv, QStringLiteral("plan"));
    QCOMPARE(read.unknownColumns, QStringList({"Cabinet", "a b"}));
    QCOMPARE(read.entries[0].label.name, QStringLiteral("Press"));
    QCOMPARE(read.entries[0].label.remark, QStringLiteral("left door"));
    QCOMPARE(read.entries[0].columns, QJsonObject({{"Cabinet", "=7"}, {"a b", "1 2"}}));
    QCOMPARE(read.entries[1].label.name, QString());
    QCOMPARE(read.entries[1].columns, QJsonObject({{"Cabinet", ""}, {"a b", ""}}));
}

void PlanFileTest::unknownMembersKeepTheirKind()
{
    const QByteArray list =
        R"([{"mac":"02005e100001","address":"1.2.3.4","name":null,"wantedAddress":1,"slot":[7]},
                               {"mac":"02005e100002","address":"1.2.3.5","a\u001bb":{"\u009b":"x\ny"},"slot":true}])";
    const PlanContent read = parsePlan(list, PlanFormat::Json, QStringLiteral("plan"));
    QCOMPARE(read.unknownColumns, QStringList({"slot", "a b"}));
    QCOMPARE(read.entries[0].columns, QJsonObject({{"slot", QJsonArray{7}}}));
    QCOMPARE(read.entries[1].columns, QJsonObject({{"slot", true}, {"a b", QJsonObject{{"", "x y"}}}}));
}

void PlanFileTest::unknownMembersAreBounded()
{
    QByteArray members;
    for (int number = 0; number < 65; ++number)
        members += ",\"x" + QByteArray::number(number) + "\":1";
    const QByteArray list = R"([{"mac":"02005e100001","address":"1.2.3.4")" + members + "}]";
    QVERIFY(complaintAbout(list, PlanFormat::Json)
                .endsWith(QStringLiteral(": there are more columns than in any "
                                         "list of panels")));
}

void PlanFileTest::filesAreBoundedAndToldByTheirNames()
{
    QTemporaryDir folder;
    const auto complaint = [&folder](const char *name, qint64 size) {
        QFile file(folder.filePath(QLatin1String(name)));
        if (size >= 0 && !(file.open(QIODevice::WriteOnly) && file.resize(size)))
            return QStringLiteral("the test cannot write");
        try {
            TextFile::bytesOf(file.fileName());
        } catch (const ToolError &error) {
            return error.message;
        }
        return QString();
    };
    QVERIFY(complaint("missing.csv", -1).contains(QStringLiteral("missing.csv' cannot be read")));
    QVERIFY(complaint("large.csv", 100 << 20).contains(QStringLiteral("larger than 4 MiB")));
    QCOMPARE(complaint("largest.csv", 4 << 20), QString());
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("folder.csv")));
    QVERIFY(complaint("folder.csv", -1).contains(QStringLiteral("cannot be read")));
    QCOMPARE(planFormatOf(QStringLiteral("a.CSV")), PlanFormat::Csv);
    QCOMPARE(planFormatOf(QStringLiteral("a.csv.Json")), PlanFormat::Json);
    QVERIFY(!planFormatOf(QStringLiteral("plan.txt")).has_value());
}

QTEST_APPLESS_MAIN(PlanFileTest)
#include "planfiletest.moc"
