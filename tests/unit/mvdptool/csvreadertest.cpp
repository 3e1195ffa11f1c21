#include "csvreader.h"

#include <QtTest/QtTest>

namespace
{

TextFile fileOf(const QString &text)
{
    return TextFile(text.toUtf8(), QStringLiteral("x.csv"), ToolError::BadInput, QString());
}

// The error's lines, joined by line ends; empty when there was none.
QString mistakesIn(const QString &text)
{
    try {
        TextFile file = fileOf(text);
        csvTable(file);
        file.throwMistakes();
    } catch (const ToolError &error) {
        return (QStringList(error.message) + error.details).join(QLatin1Char('\n'));
    }
    return QString();
}

QString joined(const CsvRecord &record)
{
    QStringList fields;
    for (const CsvField &field : record)
        fields << field.text;
    return fields.join(QLatin1Char('|'));
}

} // namespace

class CsvReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void recordsAreRead_data();
    void recordsAreRead();
    void headingsAreReadInLowerCase();
    void fieldsKnowWhereTheyStand();
    void mistakesAreToldByTheirPlace_data();
    void mistakesAreToldByTheirPlace();
    void everyMistakeIsToldInItsOrder();
    void manyMistakesAreCounted();
    void fieldsAreReadAsTheyWereWritten_data();
    void fieldsAreReadAsTheyWereWritten();
};

void CsvReaderTest::recordsAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("records"); // the fields of each joined by '|', the headings first
    QTest::newRow("nothing") << "" << QStringList();
    QTest::newRow("usual") << "mac,b\n1,2\n" << QStringList{"mac|b", "1|2"};
    QTest::newRow("no line end at the end") << "mac,b\n1,2" << QStringList{"mac|b", "1|2"};
    QTest::newRow("two-byte line ends") << "mac,b\r\n1,2\r\n" << QStringList{"mac|b", "1|2"};
    QTest::newRow("old line ends") << "mac,b\r1,2\r" << QStringList{"mac|b", "1|2"};
    QTest::newRow("semicolons") << "mac;b\n1,5;2\n" << QStringList{"mac|b", "1,5|2"};
    QTest::newRow("tabs") << "mac\tb\n1\t2\n" << QStringList{"mac|b", "1|2"};
    QTest::newRow("separator named") << "sep=;\r\nmac;b\r\n1,5;2\r\n" << QStringList{"mac|b", "1,5|2"};
    QTest::newRow("blank lines") << "\n\nmac,b\n  \n,\n1,2\n\n" << QStringList{"mac|b", "1|2"};
    QTest::newRow("empty fields") << "mac,b,c\n,2,\n" << QStringList{"mac|b|c", "|2|"};
    QTest::newRow("quoted") << "\"mac\",\"b,c\"\n\"d\"\"e\",\"\"\n" << QStringList{"mac|b,c", "d\"e|"};
    QTest::newRow("line end in quotes") << "mac,b\n\"1\n2\",3\n" << QStringList{"mac|b", "1\n2|3"};
    QTest::newRow("empty heading") << "mac,\n1, \n" << QStringList{"mac|", "1| "};
    QTest::newRow("formulas") << "mac,b\n'=1,\"'+2\"\n'-3,'@4\n" << QStringList{"mac|b", "=1|+2", "-3|@4"};
    QTest::newRow("apostrophes") << "mac,b\n'a,''=1\n" << QStringList{"mac|b", "'a|'=1"};
}

void CsvReaderTest::recordsAreRead()
{
    QFETCH(QString, text);
    QFETCH(QStringList, records);
    TextFile file = fileOf(text);
    const CsvTable table = csvTable(file);
    QStringList result = table.header.empty() ? QStringList() : QStringList(joined(table.header));
    for (const CsvRecord &record : table.rows)
        result << joined(record);
    QCOMPARE(result, records);
    QCOMPARE(mistakesIn(text), QString());
}

void CsvReaderTest::headingsAreReadInLowerCase()
{
    TextFile file = fileOf(QStringLiteral(" MAC ;Bin Nr"));
    const CsvTable table = csvTable(file);
    QCOMPARE(table.headings, QStringList({"mac", "bin nr"}));
    QCOMPARE(table.titles, QStringList({"MAC", "Bin Nr"}));
    QCOMPARE(table.column("bin nr"), 1);
    QCOMPARE(table.column("name"), -1);
}

void CsvReaderTest::fieldsKnowWhereTheyStand()
{
    // The second field of the row spans two lines and has a character of 17 bits.
    TextFile file =
        fileOf(QString::fromUtf8("mac,b,c\r\n\n1,\"\xF0\x9F\x94\xA7\n2\",3\r4,\xF0\x9F\x94\xA7,5\n"));
    const CsvTable table = csvTable(file);
    QCOMPARE(file.place(table.header[2].at), QStringLiteral("x.csv:1:7"));
    QCOMPARE(file.place(table.rows[0][1].at), QStringLiteral("x.csv:3:3"));
    QCOMPARE(file.place(table.rows[0][2].at), QStringLiteral("x.csv:4:4"));
    QCOMPARE(file.place(table.rows[1][2].at), QStringLiteral("x.csv:5:5"));
    QCOMPARE(file.linePlace(table.rows[1][2].at), QStringLiteral("x.csv:5"));
    const CsvField &spanning = table.rows[0][1];
    QCOMPARE(file.text().mid(spanning.at, spanning.end - spanning.at),
             QString::fromUtf8("\"\xF0\x9F\x94\xA7\n2\""));
}

void CsvReaderTest::mistakesAreToldByTheirPlace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("mistake");
    const auto row = [](const char *name, const QString &text, const char *mistake) {
        QTest::newRow(name) << text << mistake;
    };
    row("open quote", "mac\n1\n\"b\nc", "x.csv:3:1: a quotation mark without its partner");
    row("text behind a quote", "mac,\"a\"b", "x.csv:1:8: text behind a closing quotation mark");
    row("quote in the middle", "mac,a\"b", "x.csv:1:6: a quotation mark in the middle");
    row("text behind sep=;", "sep=;a\nb", "x.csv:1:6: there is text behind the separator");
    row("nothing but separators", QString(100000, QLatin1Char(',')), "x.csv:1:64: there are more fields");
    row("no end of records", QStringLiteral("mac\n").repeated(20000), "x.csv:10001:1: there are more panels");
    row("heading twice", "a,mac, MAC \n", "x.csv:1:7: there are two columns 'mac'");
    row("no MAC addresses", "name\nx\n", "x.csv:1:1: there is no column 'mac'");
    row("short row", "mac,b\n1,2\n3\n", "x.csv:3:2: 1 fields under 2 headings");
    row("long row", "mac,b\n1,2,3,4\n", "x.csv:2:5: 4 fields under 2 headings");
    row("no heading", "mac,,c\n1, x ,\n", "x.csv:2:3: 'x' stands under no heading");
}

void CsvReaderTest::mistakesAreToldByTheirPlace()
{
    QFETCH(QString, text);
    QFETCH(QString, mistake);
    const QString told = mistakesIn(text);
    QVERIFY2(told.startsWith(mistake), qPrintable(told));
    QVERIFY2(!told.contains(QLatin1Char('\n')), qPrintable(told));
}

void CsvReaderTest::everyMistakeIsToldInItsOrder()
{
    QCOMPARE(mistakesIn(QStringLiteral("mac,mac\n1\n1,2\n1,2,3\n\"")),
             QStringLiteral("x.csv:1:5: there are two columns 'mac'\n"
                            "x.csv:2:2: 1 fields under 2 headings\n"
                            "x.csv:4:5: 3 fields under 2 headings\n"
                            "x.csv:5:1: a quotation mark without its partner"));
}

void CsvReaderTest::manyMistakesAreCounted()
{
    const QStringList lines =
        mistakesIn(QStringLiteral("mac\n") + QStringLiteral("1,2\n").repeated(9000)).split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 21);
    QCOMPARE(lines.at(19), QStringLiteral("x.csv:21:3: 2 fields under 1 headings"));
    QCOMPARE(lines.at(20), QStringLiteral("x.csv: 8980 more mistakes"));
}

void CsvReaderTest::fieldsAreReadAsTheyWereWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("field");
    QTest::newRow("plain") << "a b"
                           << "a b";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("comma") << "a,b"
                           << "\"a,b\"";
    QTest::newRow("semicolon") << "a;b"
                               << "\"a;b\"";
    QTest::newRow("tab") << "a\tb"
                         << "\"a\tb\"";
    QTest::newRow("line end") << "a\nb"
                              << "\"a\nb\"";
    QTest::newRow("quotes") << "5\" screen"
                            << "\"5\"\" screen\"";
    QTest::newRow("formula") << "=1+1"
                             << "'=1+1";
    QTest::newRow("signs") << "+1"
                           << "'+1";
    QTest::newRow("minus") << "-1"
                           << "'-1";
    QTest::newRow("function") << "@SUM(A1)"
                              << "'@SUM(A1)";
    QTest::newRow("formula with quotes") << "=HYPERLINK(\"x\")"
                                         << "\"'=HYPERLINK(\"\"x\"\")\"";
    QTest::newRow("apostrophe before a sign") << "'=1"
                                              << "''=1";
    QTest::newRow("apostrophe") << "'a"
                                << "'a";
    QTest::newRow("sign further on") << "a=1"
                                     << "a=1";
}

void CsvReaderTest::fieldsAreReadAsTheyWereWritten()
{
    QFETCH(QString, text);
    QFETCH(QString, field);
    QCOMPARE(csvField(text), field);
    for (const QString &separator : {QStringLiteral(","), QStringLiteral(";"), QStringLiteral("\t")}) {
        TextFile file = fileOf(QStringLiteral("mac%1b\nx%1%2\n").arg(separator, field));
        QCOMPARE(csvTable(file).rows.at(0).at(1).text, text);
    }
}

QTEST_APPLESS_MAIN(CsvReaderTest)
#include "csvreadertest.moc"
