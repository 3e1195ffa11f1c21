#include "resultlines.h"

#include <QtTest/QtTest>

class ResultLinesTest : public QObject
{
    Q_OBJECT

private slots:
    void lineLeavesOutWhatHasNoRoom_data();
    void lineLeavesOutWhatHasNoRoom();
    void worstStatusWins();
};

void ResultLinesTest::lineLeavesOutWhatHasNoRoom_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("line");
    const char *whole = "02:00:5e:10:00:01  done        Press 2  192.168.10.5";
    QTest::newRow("no terminal") << 0 << whole;
    QTest::newRow("wide") << 52 << whole;
    QTest::newRow("without the address") << 51 << "02:00:5e:10:00:01  done        Press 2";
    QTest::newRow("just") << 38 << "02:00:5e:10:00:01  done        Press 2";
    QTest::newRow("the name cut") << 37 << "02:00:5e:10:00:01  done        Press>";
    QTest::newRow("too narrow for anything") << 3 << "02:00:5e:10:00:01  done        >";
}

void ResultLinesTest::lineLeavesOutWhatHasNoRoom()
{
    QFETCH(int, columns);
    QTEST(resultLine("02:00:5e:10:00:01", "done", {"Press 2", "192.168.10.5"}, columns), "line");
    QCOMPARE(resultLine("Press 2", "not found", {}, columns), QStringLiteral("Press 2            not found"));
}

void ResultLinesTest::worstStatusWins()
{
    WorstCode worst;
    QCOMPARE(worst.code(), ExitCode::Done);
    const std::pair<ExitCode, ExitCode> steps[] = {{ExitCode::Done, ExitCode::Done},
                                                   {ExitCode::NoAnswer, ExitCode::NoAnswer},
                                                   {ExitCode::NetworkTrouble, ExitCode::NetworkTrouble},
                                                   {ExitCode::NoAnswer, ExitCode::NetworkTrouble},
                                                   {ExitCode::Refused, ExitCode::Refused},
                                                   {ExitCode::NetworkTrouble, ExitCode::Refused}};
    for (const auto &[added, result] : steps) {
        worst.add(added);
        QCOMPARE(worst.code(), result);
    }
    QCOMPARE(worst.all(), 6);
    QCOMPARE(worst.good(), 1);
}

QTEST_APPLESS_MAIN(ResultLinesTest)
#include "resultlinestest.moc"
