#include "csvrow.h"

#include "csvreader.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>

class CsvRowTest : public QObject
{
    Q_OBJECT

private slots:
    void numbersHaveTheDigitsOfJson_data();
    void numbersHaveTheDigitsOfJson();
    void fieldsAreQuotedWhereTheyMustBe_data();
    void fieldsAreQuotedWhereTheyMustBe();
};

void CsvRowTest::numbersHaveTheDigitsOfJson_data()
{
    QTest::addColumn<double>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0.0 << "0";
    QTest::newRow("a million") << 1000000.0 << "1000000";
    QTest::newRow("seven digits") << 1234567.0 << "1234567";
    QTest::newRow("largest whole") << 9007199254740992.0 << "9007199254740992";
    QTest::newRow("negative") << -1000000.0 << "-1000000";
    QTest::newRow("time") << 1234.567891 << "1234.567891";
    QTest::newRow("short time") << 0.0481340987 << "0.0481340987";
}

void CsvRowTest::numbersHaveTheDigitsOfJson()
{
    QFETCH(double, number);
    QFETCH(QString, text);
    const QJsonObject object = {{"number", number}};
    QCOMPARE(csvFields(object, {"number"}), QStringList({text}));
    QCOMPARE(QJsonDocument(object).toJson(QJsonDocument::Compact), "{\"number\":" + text.toUtf8() + "}");
}

void CsvRowTest::fieldsAreQuotedWhereTheyMustBe_data()
{
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("line");
    QTest::newRow("plain") << QStringList{"a", "b c", ""} << "a,b c,\n";
    QTest::newRow("separators") << QStringList{"a,b", "a;b"} << "\"a,b\",\"a;b\"\n";
    QTest::newRow("quotes") << QStringList{"5\" screen"} << "\"5\"\" screen\"\n";
    QTest::newRow("line end") << QStringList{"a\nb"} << "\"a\nb\"\n";
    QTest::newRow("formulas") << QStringList{"=1+1", "+1", "-1", "@SUM(A1)"} << "'=1+1,'+1,'-1,'@SUM(A1)\n";
    QTest::newRow("formula with quotes")
        << QStringList{"=HYPERLINK(\"x\")"} << "\"'=HYPERLINK(\"\"x\"\")\"\n";
    QTest::newRow("signs further on") << QStringList{"a=1", "QM316-44LRNA"} << "a=1,QM316-44LRNA\n";
}

void CsvRowTest::fieldsAreQuotedWhereTheyMustBe()
{
    QFETCH(QStringList, fields);
    QFETCH(QString, line);
    QCOMPARE(csvLine(fields), line);
}

QTEST_APPLESS_MAIN(CsvRowTest)
#include "csvrowtest.moc"
