#include "csvrow.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>

class CsvRowTest : public QObject
{
    Q_OBJECT

private slots:
    void numbersHaveTheDigitsOfJson_data();
    void numbersHaveTheDigitsOfJson();
    void ownColumnsAndPanelCountAsTheRecord();
    void lineIsWritten();
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

void CsvRowTest::ownColumnsAndPanelCountAsTheRecord()
{
    const QJsonObject record = {
        {"panel", QJsonObject{{"address", "10.0.0.1"}, {"marks", QJsonArray{"one", "two"}}}},
        {"columns",
         QJsonObject{{"panel", true}, {"slot", QJsonArray{1, "x"}}, {"place", QJsonObject{{"row", 1}}}}},
        {"result", "applied"},
    };
    QCOMPARE(csvFields(record, {"result", "address", "marks", "panel", "slot", "place", "missing"}),
             QStringList({"applied", "10.0.0.1", "one two", "true", "[1,\"x\"]", "{\"row\":1}", ""}));
}

void CsvRowTest::lineIsWritten()
{
    QCOMPARE(csvLine({"a", "b,c", "=1+1", ""}), QStringLiteral("a,\"b,c\",'=1+1,\n"));
}

QTEST_APPLESS_MAIN(CsvRowTest)
#include "csvrowtest.moc"
