#include "nearest.h"

#include <QtTest/QtTest>

class NearestTest : public QObject
{
    Q_OBJECT

private slots:
    void fewestChangesWin_data();
    void fewestChangesWin();
    void guessEndsAMessage();
    void longWordsAreNoBurden();
};

void NearestTest::fewestChangesWin_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("found");
    QTest::newRow("the word itself") << "wink"
                                     << "wink";
    QTest::newRow("one missing") << "wnk"
                                 << "wink";
    QTest::newRow("one more") << "winkk"
                              << "wink";
    QTest::newRow("another") << "wing"
                             << "wink";
    QTest::newRow("exchanged") << "iwnk"
                               << "wink";
    QTest::newRow("exchanged at the end") << "discovre"
                                          << "discover";
    QTest::newRow("in another case") << "WINC"
                                     << "wink";
    QTest::newRow("two of eight") << "disover_"
                                  << "discover";
    QTest::newRow("too far") << "blink it"
                             << "";
    QTest::newRow("equally near") << "we"
                                  << "";
    QTest::newRow("empty") << ""
                           << "";
}

void NearestTest::fewestChangesWin()
{
    QFETCH(QString, word);
    QTEST(nearest(word, {"wink", "discover", "wa", "wo"}), "found");
}

void NearestTest::guessEndsAMessage()
{
    QCOMPARE(didYouMean(QStringLiteral("winc"), {"wink"}), QStringLiteral(": did you mean 'wink'?"));
    QCOMPARE(didYouMean(QStringLiteral("restart"), {"wink"}), QString());
    QCOMPARE(didYouMean(QStringLiteral("restart"), {}), QString());
}

void NearestTest::longWordsAreNoBurden()
{
    const QString word(1000000, QLatin1Char('x'));
    QCOMPARE(nearest(word, {QString(999999, QLatin1Char('x')), "y"}), QString(999999, QLatin1Char('x')));
}

QTEST_APPLESS_MAIN(NearestTest)
#include "nearesttest.moc"
