#include "csvreader.h"

#include "toolerror.h"

#include <QtTest/QtTest>

class CsvReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void recordsAreRead_data();
    void recordsAreRead();
    void linesAreCounted();
    void brokenTextIsRefused_data();
    void brokenTextIsRefused();
};

void CsvReaderTest::recordsAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("records"); // the fields of each joined by '|'
    QTest::newRow("nothing") << "" << QStringList();
    QTest::newRow("usual") << "a,b\n1,2\n" << QStringList{"a|b", "1|2"};
    QTest::newRow("no line end at the end") << "a,b\n1,2" << QStringList{"a|b", "1|2"};
    QTest::newRow("two-byte line ends") << "a,b\r\n1,2\r\n" << QStringList{"a|b", "1|2"};
    QTest::newRow("old line ends") << "a,b\r1,2\r" << QStringList{"a|b", "1|2"};
    QTest::newRow("semicolons") << "a;b\n1,5;2\n" << QStringList{"a|b", "1,5|2"};
    QTest::newRow("tabs") << "a\tb\n1\t2\n" << QStringList{"a|b", "1|2"};
    QTest::newRow("separator named") << "sep=;\r\na;b\r\n1,5;2\r\n" << QStringList{"a|b", "1,5|2"};
    QTest::newRow("no separator named") << "sep=\na\n1\n" << QStringList{"sep=", "a", "1"};
    QTest::newRow("blank lines") << "\n\na,b\n  \n,\n1,2\n\n" << QStringList{"a|b", "1|2"};
    QTest::newRow("empty fields") << "a,b,c\n,2,\n" << QStringList{"a|b|c", "|2|"};
    QTest::newRow("quoted") << "\"a\",\"b,c\"\n\"d\"\"e\",\"\"\n" << QStringList{"a|b,c", "d\"e|"};
    QTest::newRow("line end in quotes") << "a,b\n\"1\n2\",3\n" << QStringList{"a|b", "1\n2|3"};
}

void CsvReaderTest::recordsAreRead()
{
    QFETCH(QString, text);
    QFETCH(QStringList, records);
    QStringList result;
    for (const CsvRecord &record : csvRecords(text))
        result << record.fields.join(QLatin1Char('|'));
    QCOMPARE(result, records);
}

void CsvReaderTest::linesAreCounted()
{
    const auto records = csvRecords(QStringLiteral("a\n\n\"1\n2\"\r\n3\n"));
    QCOMPARE(records.size(), std::size_t(3));
    QCOMPARE(records[0].line, 1);
    QCOMPARE(records[1].line, 3);
    QCOMPARE(records[2].line, 5);
}

void CsvReaderTest::brokenTextIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char *name, const QString &text, const char *complaint) {
        QTest::newRow(name) << text << complaint;
    };
    row("open quote", "a\n\"b\nc", "line 2 has a quotation mark without its partner");
    row("text behind a quote", "\"a\"b", "line 1 has text behind");
    row("quote in the middle", "a\"b", "line 1 has a quotation mark in the middle");
    row("text behind sep=;", "sep=;a\nb", "line 1 has text behind its separator");
    row("nothing but separators", QString(100000, QLatin1Char(',')), "line 1 has more fields");
    row("no end of records", QStringLiteral("a\n").repeated(20000), "more panels");
}

void CsvReaderTest::brokenTextIsRefused()
{
    QFETCH(QString, text);
    QFETCH(QString, complaint);
    try {
        csvRecords(text);
        QFAIL("it was read");
    } catch (const ToolError &error) {
        QCOMPARE(error.kind, ToolError::BadInput);
        QVERIFY2(error.message.contains(complaint), qPrintable(error.message));
    }
}

QTEST_APPLESS_MAIN(CsvReaderTest)
#include "csvreadertest.moc"
