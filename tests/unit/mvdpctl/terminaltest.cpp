#include "terminal.h"

#include <QtTest/QtTest>

class TerminalTest : public QObject
{
    Q_OBJECT

private slots:
    void messagesCannotSteerATerminal();
    void foreignLettersBecomeQuestionMarksInAscii();
    void longMessagesAreBrokenAndIndented();
};

void TerminalTest::messagesCannotSteerATerminal()
{
    const QString hostile = QString::fromUtf8("a\x1b[2J\nb\r\x7f\u0085\u202e\u2028\ufeffz");
    QCOMPARE(printable(hostile), QStringLiteral("a?[2J?b??????z"));
    QCOMPARE(printable(QString::fromUtf8("Prüfstand 5\"")), QString::fromUtf8("Prüfstand 5\""));
}

void TerminalTest::foreignLettersBecomeQuestionMarksInAscii()
{
    QCOMPARE(toAscii(QString::fromUtf8("Prüfstand €1")), QByteArray("Pr?fstand ?1"));
}

void TerminalTest::longMessagesAreBrokenAndIndented()
{
    QCOMPARE(wrapped(QStringLiteral("one two three four"), 9), QStringLiteral("one two\n  three\n  four"));
    QCOMPARE(wrapped(QStringLiteral("one two"), 7), QStringLiteral("one two"));
    QCOMPARE(wrapped(QStringLiteral("unbreakable"), 4), QStringLiteral("unbreakable"));
}

QTEST_APPLESS_MAIN(TerminalTest)
#include "terminaltest.moc"
