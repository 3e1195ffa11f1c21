#include "arguments.h"

#include "command.h"
#include "failure.h"

#include <QtTest/QtTest>

#include <functional>

namespace
{

const Grammar TestGrammar = {
    {{"mac", "MAC", ""}, {"netmask", "NETMASK", ""}, {"hex", "BYTES", "", true}}, 1, 2};

Arguments parsed(const QStringList &words)
{
    return Arguments(words, TestGrammar);
}

// The code of the failure that the action ends with; "none" when it does not fail.
QString failureOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Failure &failure) {
        return QString::number(static_cast<int>(failure.code));
    }
    return QStringLiteral("none");
}

} // namespace

class ArgumentsTest : public QObject
{
    Q_OBJECT

private slots:
    void wordsAndOptionsMayMix();
    void repeatedOptionsAreAllKept();
    void unfitCommandLinesAreUsageErrors_data();
    void unfitCommandLinesAreUsageErrors();
    void unfitValuesAreUsageErrors_data();
    void unfitValuesAreUsageErrors();
    void helpNeedsNoWords();
    void commandMayStandBehindOptions_data();
    void commandMayStandBehindOptions();
    void optionsHaveShortForms();
    void mistypedOptionIsGuessed();
    void colorTakesThreeWords();
    void prefixMayStandBehindTheAddress();
    void defaultsStandWhereNothingIsGiven();
    void secondsTakeADecimalPoint();
    void helpLinesFitIntoEightyColumns();
    void everyCommandIsFoundByItsName();
    void beginningOfOneCommandIsEnough();
    void shortFormsAreUnique();
};

void ArgumentsTest::wordsAndOptionsMayMix()
{
    const Arguments arguments = parsed({"one", "--netmask", "24", "two", "--mac=020000000001", "--json"});
    QCOMPARE(arguments.words(), QStringList({"one", "two"}));
    QCOMPARE(arguments.netmask("netmask").value(), 0xFFFFFF00u);
    QCOMPARE(macText(arguments.mac("mac").value()), QStringLiteral("02:00:00:00:00:01"));
    QVERIFY(arguments.isSet("json"));
    QVERIFY(!arguments.isSet("quiet"));
}

void ArgumentsTest::repeatedOptionsAreAllKept()
{
    QCOMPARE(parsed({"x", "--hex", "01", "--hex", "02"}).texts("hex"), QStringList({"01", "02"}));
}

void ArgumentsTest::unfitCommandLinesAreUsageErrors_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("option twice") << QStringList{"x", "--netmask", "24", "--netmask", "24"};
    QTest::newRow("word missing") << QStringList();
    QTest::newRow("word too many") << QStringList({"one", "two", "three"});
    QTest::newRow("unknown option") << QStringList({"one", "--colour"});
    QTest::newRow("value missing") << QStringList({"one", "--mac"});
    QTest::newRow("value where none goes") << QStringList({"one", "--json=yes"});
}

void ArgumentsTest::unfitCommandLinesAreUsageErrors()
{
    QFETCH(QStringList, words);
    QCOMPARE(failureOf([&words] { parsed(words); }), QStringLiteral("2"));
}

void ArgumentsTest::unfitValuesAreUsageErrors_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("value");
    for (const char *value : {"0", "1001", "-1", "1.5", "many", "", "99999999999999999999"})
        QTest::addRow("rounds %s", value) << "rounds" << value;
    for (const char *value : {"0", "-1", "3601", "nan", "inf", "soon", ""})
        QTest::addRow("timeout %s", value) << "timeout" << value;
    for (const char *value : {"0", "65536", "http"})
        QTest::addRow("source-port %s", value) << "source-port" << value;
    QTest::newRow("interface") << "interface"
                               << "";
    QTest::newRow("mac") << "mac"
                         << "02:00";
    QTest::newRow("netmask") << "netmask"
                             << "33";
}

void ArgumentsTest::unfitValuesAreUsageErrors()
{
    QFETCH(QString, option);
    QFETCH(QString, value);
    const Arguments arguments = parsed({"x", QStringLiteral("--%1=%2").arg(option, value)});
    QCOMPARE(failureOf([&arguments] {
                 arguments.patience(1, std::chrono::seconds(1));
                 arguments.transportOptions();
                 arguments.mac("mac");
                 arguments.netmask("netmask");
             }),
             QStringLiteral("2"));
}

void ArgumentsTest::helpNeedsNoWords()
{
    QVERIFY(parsed({"--help"}).isSet("help"));
    QVERIFY(parsed({"-h"}).isSet("help"));
}

void ArgumentsTest::commandMayStandBehindOptions_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("position");
    QTest::newRow("first") << QStringList{"wink", "-v"} << 0;
    QTest::newRow("behind a flag") << QStringList{"--json", "wink"} << 1;
    QTest::newRow("behind a value") << QStringList{"--timeout", "2", "wink"} << 2;
    QTest::newRow("behind a joined value") << QStringList{"--timeout=2", "wink"} << 1;
    QTest::newRow("behind a short value") << QStringList{"-t", "2", "wink"} << 2;
    QTest::newRow("behind a joined short value") << QStringList{"-t2", "wink"} << 1;
    QTest::newRow("behind joined letters") << QStringList{"-jvt", "2", "wink"} << 2;
    QTest::newRow("behind a value with the command's name") << QStringList{"-i", "wink", "wink"} << 2;
    QTest::newRow("behind the value of one command") << QStringList{"--count", "3", "echo"} << 2;
    QTest::newRow("behind an unknown option") << QStringList{"--what", "wink"} << 1;
    QTest::newRow("none") << QStringList{"--timeout", "2"} << -1;
    QTest::newRow("value missing") << QStringList{"--timeout"} << -1;
    QTest::newRow("nothing") << QStringList() << -1;
    QTest::newRow("a dash") << QStringList{"-"} << 0;
}

void ArgumentsTest::commandMayStandBehindOptions()
{
    QFETCH(QStringList, words);
    QTEST(commandPosition(words, allOptions()), "position");
}

void ArgumentsTest::optionsHaveShortForms()
{
    const Arguments arguments = parsed({"x", "-jv", "-i", "eth1", "-t0.5"});
    QVERIFY(arguments.isSet("json") && arguments.isSet("verbose") && !arguments.isSet("help"));
    QCOMPARE(arguments.text("interface"), QStringLiteral("eth1"));
    QCOMPARE(arguments.seconds("timeout").value().count(), 500);
    QVERIFY(parsed({"-V"}).isSet("version"));
    QCOMPARE(failureOf([] { parsed({"x", "-i", "eth1", "--interface", "eth2"}); }), QStringLiteral("2"));
}

void ArgumentsTest::mistypedOptionIsGuessed()
{
    try {
        parsed({"x", "--jsno"});
        QFAIL("it was accepted");
    } catch (const Failure &failure) {
        QCOMPARE(failure.message, QStringLiteral("there is no option '--jsno': did you mean '--json'?"));
    }
}

void ArgumentsTest::colorTakesThreeWords()
{
    QCOMPARE(parsed({"x"}).color(), ColorUse::Auto);
    QCOMPARE(parsed({"x", "--color", "always"}).color(), ColorUse::Always);
    QCOMPARE(parsed({"x", "--color=never"}).color(), ColorUse::Never);
    QCOMPARE(failureOf([] { parsed({"x", "--color", "red"}).color(); }), QStringLiteral("2"));
}

void ArgumentsTest::prefixMayStandBehindTheAddress()
{
    const Grammar grammar = {{{"address", "A", ""}, {"netmask", "M", ""}, {"gateway", "G", ""}}, 0, 0};
    const auto settings = [&grammar](const QStringList &words) {
        return Arguments(words, grammar).settings();
    };
    const WantedSettings both = settings({"--address", "10.20.0.31/16", "--gateway", "10.20.0.1"});
    QCOMPARE(both.address.value(), 0x0A14001Fu);
    QCOMPARE(both.netmask.value(), 0xFFFF0000u);
    QCOMPARE(both.gateway.value(), 0x0A140001u);
    const WantedSettings alone = settings({"--address", "10.20.0.31"});
    QVERIFY(alone.address && !alone.netmask && !alone.gateway);
    QCOMPARE(settings({"--address", "10.20.0.31/16", "--netmask", "255.255.0.0"}).netmask.value(),
             0xFFFF0000u);
    QVERIFY(!settings({}).address);
    for (const QStringList &words :
         {QStringList{"--address", "10.20.0.31/16", "--netmask", "24"},
          QStringList{"--address", "10.20.0.31/33"}, QStringList{"--address", "10.20.0/16"},
          QStringList{"--address", ""}, QStringList{"--gateway", "10.20.0.1/16"}})
        QCOMPARE(failureOf([&settings, &words] { settings(words); }), QStringLiteral("2"));
}

void ArgumentsTest::defaultsStandWhereNothingIsGiven()
{
    const Arguments arguments = parsed({"x"});
    QCOMPARE(arguments.patience(7, std::chrono::milliseconds(300)).rounds, 7);
    QCOMPARE(arguments.patience(7, std::chrono::milliseconds(300)).timeout.count(), 300);
    QCOMPARE(arguments.transportOptions().sourcePort, std::uint16_t(0));
    QVERIFY(arguments.transportOptions().interface.isEmpty());
    QVERIFY(!arguments.mac("mac").has_value());
}

void ArgumentsTest::secondsTakeADecimalPoint()
{
    QCOMPARE(parsed({"x", "--timeout", "0.25"}).seconds("timeout").value().count(), 250);
    QCOMPARE(parsed({"x", "--timeout", "3600"}).seconds("timeout").value().count(), 3600000);
}

void ArgumentsTest::helpLinesFitIntoEightyColumns()
{
    QString help = generalHelp();
    for (const Command *command : allCommands())
        help += QLatin1Char('\n') + commandHelp(*command);
    for (const QString &line : help.split(QLatin1Char('\n')))
        QVERIFY2(line.size() <= 80, qPrintable(line));
}

void ArgumentsTest::everyCommandIsFoundByItsName()
{
    for (const Command *command : allCommands())
        QCOMPARE(&commandNamed(QLatin1String(command->name)), command);
}

void ArgumentsTest::beginningOfOneCommandIsEnough()
{
    QCOMPARE(QLatin1String(commandNamed(QStringLiteral("disco")).name), QLatin1String("discover"));
    QCOMPARE(QLatin1String(commandNamed(QStringLiteral("reset")).name), QLatin1String("reset-network"));
    for (const char *word : {"re", "", "discovers", "Discover", "-"})
        QCOMPARE(failureOf([word] { commandNamed(QLatin1String(word)); }), QStringLiteral("2"));
}

void ArgumentsTest::shortFormsAreUnique()
{
    for (const Command *command : allCommands()) {
        QString letters;
        std::vector<Option> options = commonOptions();
        options.insert(options.end(), command->grammar.options.begin(), command->grammar.options.end());
        for (const Option &option : options) {
            QVERIFY(option.letter == 0 || !letters.contains(QLatin1Char(option.letter)));
            if (option.letter != 0)
                letters += QLatin1Char(option.letter);
        }
    }
}

QTEST_APPLESS_MAIN(ArgumentsTest)
#include "argumentstest.moc"
