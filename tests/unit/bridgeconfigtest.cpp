#include "bridgeconfig.h"

#include "support/recordreading.h"

#include <QtTest/QtTest>

namespace
{

BridgeEntry bridgeNamed(const char *name)
{
    BridgeEntry bridge;
    bridge.name = latin1(name);
    return bridge;
}

QString bridgeAsText(const BridgeEntry &bridge)
{
    return latin1("%1[%2] stp %3 fd %4 opts <%5>")
        .arg(bridge.name, bridge.interfaces.join(QLatin1Char(',')))
        .arg(bridge.stp)
        .arg(bridge.fd)
        .arg(bridge.udhcpcOpts);
}

// "on [eth1,eth2]; br0[eth1] stp 1 fd 5 opts <-t 30 -T 35>"
QString asText(const BridgeConfig &section)
{
    QString text = latin1(section.enabled ? "on [" : "off [") + section.interfaces.join(QLatin1Char(',')) +
                   QLatin1Char(']');
    for (auto bridge = section.bridges.constBegin(); bridge != section.bridges.constEnd(); ++bridge) {
        text += latin1("; ") + bridgeAsText(bridge.value());
        if (bridge.key() != bridge.value().name)
            text += latin1(" under the name ") + bridge.key();
    }
    return text;
}

} // namespace

class BridgeConfigTest : public QObject
{
    Q_OBJECT
private slots:
    void newSectionIsEmpty();
    void newBridgeHasTheDefaults();
    void fullSectionIsWrittenInOrder();
    void bridgesAreWrittenInTheOrderOfTheirNames();

    void textIsRead_data();
    void textIsRead();
    void absentKeysLeaveFieldsAsTheyWere();
    void readingAddsToTheSection();
    void spanningTreeIsReadFromAnotherKeyThanItIsWrittenTo();

    void oddBridgeIsWarnedOf_data();
    void oddBridgeIsWarnedOf();
    void wrongTypeIsABadCastAfterWhatCameBefore_data();
    void wrongTypeIsABadCastAfterWhatCameBefore();
};

void BridgeConfigTest::newSectionIsEmpty()
{
    const BridgeConfig section;
    QCOMPARE(asText(section), latin1("off []"));
    QCOMPARE(section.toJsonString(),
             latin1("{\n\t\"enabled\" : false,\n\t\"interfaces\" : [],\n\t\"list\" : []\n}"));
}

void BridgeConfigTest::newBridgeHasTheDefaults()
{
    QCOMPARE(bridgeAsText(BridgeEntry()), latin1("[] stp 1 fd 5 opts <-t 30 -T 35>"));
}

void BridgeConfigTest::fullSectionIsWrittenInOrder()
{
    BridgeConfig section;
    section.enabled = true;
    section.interfaces << latin1("eth1") << latin1("eth0");
    BridgeEntry bridge = bridgeNamed("br0");
    bridge.interfaces << latin1("eth1") << latin1("caf\xE9");
    bridge.stp = false;
    bridge.fd = 0;
    bridge.udhcpcOpts = latin1("");
    section.bridges.insert(bridge.name, bridge);
    QCOMPARE(section.toJsonString(), latin1("{\n"
                                            "\t\"enabled\" : true,\n"
                                            "\t\"interfaces\" : [\n"
                                            "\t\t\"eth1\",\n"
                                            "\t\t\"eth0\"\n"
                                            "\t],\n"
                                            "\t\"list\" : [\n"
                                            "\t\t{\n"
                                            "\t\t\t\"name\" : \"br0\",\n"
                                            "\t\t\t\"interfaces\" : [\n"
                                            "\t\t\t\t\"eth1\",\n"
                                            "\t\t\t\t\"caf\xE9\"\n"
                                            "\t\t\t],\n"
                                            "\t\t\t\"stp\" : false,\n"
                                            "\t\t\t\"fd\" : 0,\n"
                                            "\t\t\t\"udhcpc_opts\" : \"\"\n"
                                            "\t\t}\n"
                                            "\t]\n"
                                            "}"));
}

void BridgeConfigTest::bridgesAreWrittenInTheOrderOfTheirNames()
{
    BridgeConfig section;
    for (const char *name : {"br9", "br10", "Br1", ""})
        section.bridges.insert(latin1(name), bridgeNamed(name));
    QCOMPARE(namesIn(section.toJsonString()), lines({"", "Br1", "br10", "br9"}));
}

void BridgeConfigTest::textIsRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("section");
    const auto row = [](const char *name, const char *text, const char *section) {
        QTest::newRow(name) << latin1(text) << latin1(section);
    };
    row("empty object", "{}", "off []");
    row("not enabled", R"({"enabled":false})", "off []");
    row("enabled", R"({"enabled":true})", "on []");
    row("interfaces", R"({"interfaces":["eth1","eth0","eth1",""]})", "off [eth1,eth0,eth1,]");
    row("no interfaces", R"({"interfaces":[]})", "off []");
    row("empty list", R"({"enabled":true,"list":[]})", "on []");
    row("unknown keys", R"({"Enabled":true,"mtu":{},"list":[{"name":"a","interfaces":[],"x":1}]})",
        "off []; a[] stp 1 fd 5 opts <-t 30 -T 35>");
    row("bridge with defaults", R"({"list":[{"name":"br0","interfaces":["eth1","eth0"]}]})",
        "off []; br0[eth1,eth0] stp 1 fd 5 opts <-t 30 -T 35>");
    row("bridge in full",
        R"({"list":[{"name":"br0","interfaces":[],"std":false,"fd":0,"udhcpc_opts":"-n"}]})",
        "off []; br0[] stp 0 fd 0 opts <-n>");
    row("delay that is no whole number", R"({"list":[{"name":"br0","interfaces":[],"fd":15.9}]})",
        "off []; br0[] stp 1 fd 15 opts <-t 30 -T 35>");
    row("empty options", R"({"list":[{"name":"br0","interfaces":[],"udhcpc_opts":""}]})",
        "off []; br0[] stp 1 fd 5 opts <>");
    row("two bridges", R"({"list":[{"name":"b","interfaces":[]},{"name":"a","interfaces":[],"fd":1}]})",
        "off []; a[] stp 1 fd 1 opts <-t 30 -T 35>; b[] stp 1 fd 5 opts <-t 30 -T 35>");
    row("empty name", R"({"list":[{"name":"","interfaces":[]}]})",
        "off []; [] stp 1 fd 5 opts <-t 30 -T 35>");
    row("any order of keys", R"({"list":[{"udhcpc_opts":"x","interfaces":[],"name":"a"}],"enabled":true})",
        "on []; a[] stp 1 fd 5 opts <x>");
}

void BridgeConfigTest::textIsRead()
{
    QFETCH(QString, text);
    QFETCH(QString, section);
    BridgeConfig record;
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(asText(record), section);
}

void BridgeConfigTest::absentKeysLeaveFieldsAsTheyWere()
{
    BridgeConfig section;
    section.enabled = true;
    section.interfaces << latin1("eth1");
    section.bridges.insert(latin1("a"), bridgeNamed("a"));
    const QString before = asText(section);
    QCOMPARE(readText(section, "{}").result, latin1("true"));
    QCOMPARE(asText(section), before);
}

void BridgeConfigTest::readingAddsToTheSection()
{
    BridgeConfig section;
    readText(section, R"({"enabled":true,"interfaces":["eth1"],"list":[{"name":"b","interfaces":[]}]})");
    const RecordReading reading =
        readText(section, R"({"enabled":false,"interfaces":["eth0"],)"
                          R"("list":[{"name":"a","interfaces":[]},{"name":"b","interfaces":["x"]}]})");
    QCOMPARE(reading.warnings, QStringList(latin1(R"(Bridge  "b"  aready inserted)")));
    QCOMPARE(asText(section), latin1("off [eth1,eth0]; a[] stp 1 fd 5 opts <-t 30 -T 35>; "
                                     "b[] stp 1 fd 5 opts <-t 30 -T 35>"));
}

void BridgeConfigTest::spanningTreeIsReadFromAnotherKeyThanItIsWrittenTo()
{
    BridgeConfig section;
    section.bridges.insert(latin1("a"), bridgeNamed("a"));
    section.bridges[latin1("a")].stp = false;
    const QString text = section.toJsonString();
    QVERIFY2(text.contains(latin1(R"("stp" : false)")), qPrintable(text));
    QVERIFY2(!text.contains(latin1("std")), qPrintable(text));

    BridgeConfig again;
    QCOMPARE(readText(again, text).warnings, QStringList());
    QCOMPARE(again.bridges.value(latin1("a")).stp, true);

    // A mistyped "stp" is ignored too.
    BridgeConfig mistyped;
    const RecordReading reading =
        readText(mistyped, R"({"list":[{"name":"a","interfaces":[],"stp":5,"std":false}]})");
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(mistyped.bridges.value(latin1("a")).stp, false);
}

void BridgeConfigTest::oddBridgeIsWarnedOf_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QStringList>("warnings");
    QTest::addColumn<QString>("section");
    const char kept[] = "off []; a[] stp 1 fd 5 opts <-t 30 -T 35>";
    const QString noName = latin1("Missing bridge name in json");
    const QString noMembers = latin1(R"(Missing bridge interfaces list in json from bridge  "a")");
    const QString twice = latin1(R"(Bridge  "a"  aready inserted)");
    const auto row = [](const char *name, const char *list, const QStringList &warnings,
                        const char *section) {
        QTest::newRow(name) << latin1(list) << warnings << latin1(section);
    };
    row("no name", "{}", {noName}, "off []");
    row("no name, all else mistyped", R"({"interfaces":5,"fd":"x"})", {noName}, "off []");
    row("no name, then a good one", R"({},{"name":"a","interfaces":[]})", {noName}, kept);
    row("no members", R"({"name":"a"})", {noMembers}, kept);
    row("no members, other keys", R"({"name":"a","fd":7})", {noMembers},
        "off []; a[] stp 1 fd 7 opts <-t 30 -T 35>");
    row("twice", R"({"name":"a","interfaces":[]},{"name":"a","interfaces":["x"],"fd":9})", {twice}, kept);
    row("twice, then a good one",
        R"({"name":"a","interfaces":[]},{"name":"a","interfaces":[]},{"name":"b","interfaces":[]})", {twice},
        "off []; a[] stp 1 fd 5 opts <-t 30 -T 35>; b[] stp 1 fd 5 opts <-t 30 -T 35>");
    // The members are checked before the name.
    row("twice, then without members", R"({"name":"a","interfaces":[]},{"name":"a"})", {noMembers, twice},
        kept);
    // Further members of a bridge whose name is known already are ignored.
    row("twice, the second mistyped",
        R"({"name":"a","interfaces":[]},{"name":"a","interfaces":[],"fd":"x","std":1})", {twice}, kept);
    row("names differ in a blank", R"({"name":"a","interfaces":[]},{"name":" a","interfaces":[]})", {},
        "off [];  a[] stp 1 fd 5 opts <-t 30 -T 35>; a[] stp 1 fd 5 opts <-t 30 -T 35>");
    row("names differ in case", R"({"name":"a","interfaces":[]},{"name":"A","interfaces":[]})", {},
        "off []; A[] stp 1 fd 5 opts <-t 30 -T 35>; a[] stp 1 fd 5 opts <-t 30 -T 35>");
}

void BridgeConfigTest::oddBridgeIsWarnedOf()
{
    QFETCH(QString, list);
    QFETCH(QStringList, warnings);
    QFETCH(QString, section);
    BridgeConfig record;
    const RecordReading reading = readObject(record, toObject(latin1(R"({"list":[%1]})").arg(list)));
    QCOMPARE(reading.warnings, warnings);
    QCOMPARE(reading.result, latin1("true"));
    QCOMPARE(asText(record), section);
}

void BridgeConfigTest::wrongTypeIsABadCastAfterWhatCameBefore_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("section");
    const auto row = [](const QString &text, const char *section) {
        QTest::newRow(qPrintable(text)) << text << latin1(section);
    };
    row(latin1(R"({"interfaces":["x"],"enabled":null})"), "off []");
    row(latin1(R"({"enabled":true,"interfaces":null})"), "on []");
    row(latin1(R"({"enabled":true,"interfaces":["x",null]})"), "on [x]");
    row(latin1(R"({"enabled":true,"interfaces":["x"],"list":null})"), "on [x]");
    // One more bridge after a valid one. Its members are read before its name is checked; unlike a name
    // server, a bridge that is no object does not count as an empty one.
    for (const char *bridge :
         {R"({"name":null})", R"({"name":"b","interfaces":null})", R"({"name":"a","interfaces":null})",
          R"({"name":"b","interfaces":["y",null]})", R"({"name":"b","interfaces":[],"std":null})",
          R"({"name":"b","interfaces":[],"fd":null})", R"({"name":"b","interfaces":[],"udhcpc_opts":null})",
          "null", "[]", R"("b")"})
        row(latin1(R"({"list":[{"name":"a","interfaces":[]},%1]})").arg(latin1(bridge)),
            "off []; a[] stp 1 fd 5 opts <-t 30 -T 35>");
}

void BridgeConfigTest::wrongTypeIsABadCastAfterWhatCameBefore()
{
    QFETCH(QString, text);
    QFETCH(QString, section);
    BridgeConfig record;
    const RecordReading reading = readText(record, text);
    QCOMPARE(reading.warnings, QStringList());
    QCOMPARE(reading.result, latin1("Bad cast"));
    QCOMPARE(asText(record), section);
}

QTEST_GUILESS_MAIN(BridgeConfigTest)

#include "bridgeconfigtest.moc"
