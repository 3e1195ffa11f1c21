#include "inivalue.h"

#include <QtTest/QtTest>

class IniValueTest : public QObject
{
    Q_OBJECT
private slots:
    void valueGivesText_data();
    void valueGivesText();
    void bytesAreUtf8OrLatin1_data();
    void bytesAreUtf8OrLatin1();
    void byteOrderMarkMeansUtf8();
    void manyDigitsAndQuotesAreReadToTheEnd();
};

void IniValueTest::valueGivesText_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *value, const char *text) {
        QTest::newRow(*value ? value : "empty") << QByteArray(value) << QString::fromLatin1(text);
    };
    row("", "");
    row("x", "x");
    row(" \t x y \t ", "x y");
    row(" \t ", "");
    row("\v x\f", "\v x\f");
    // Commas have no special meaning.
    row("501:A, 502:B,", "501:A, 502:B,");
    row("501:A , 502:B , ", "501:A , 502:B ,");
    row(R"("501:A, 502:B")", "501:A, 502:B");
    row(R"("501:A", "502:B")", "501:A, 502:B");
    row(R"("501:A" , "502:B" ,)", "501:A, 502:B,");
    // Quotes are removed. The text in them stays, and so do blanks at the end of a value with quotes.
    row(R"("")", "");
    row(R"(" x ")", " x ");
    row(R"(" x " )", " x ");
    row(R"("a" "b")", "ab");
    row(R"("a" b )", "ab ");
    row(R"(""x"")", "x");
    row(R"(19" panel )", "19 panel ");
    row(R"(")", "");
    row("\"a\nb\r\n\"", "a\nb\r\n");
    row(R"(a;b)", "a;b");
    // Escapes.
    row(R"(\a\b\f\n\r\t\v\"\?\'\\.)", "\a\b\f\n\r\t\v\"?'\\.");
    row(R"(caf\xe9)", "caf\xE9");
    row(R"(\xE9\xe)", "\xE9\x0E");
    row(R"(\x41g)", "Ag");
    row(R"(\x000041\x10041\xFFFFFFFFFFFFFFFFF0041)", "AAA");
    row(R"(\x\xg\xx)", "gx");
    row(R"(\101\1018\7)", "AA8\a");
    row(R"(\200101\7777777777777777000101)", "AA");
    row(R"(\8\9\z\ .\=\;\,\%)", ".");
    row("a\\\nb\\\rc\\\r\nd\\\n\re\\\n\nf", "abcde\nf");
    row("\"a\\\n  b\"", "a  b");
    row("a\\", "a");
    row("a\\\\", "a\\");
    row("a\\\\\\", "a\\");
    row(R"(\"a\")", "\"a\"");
    row(R"("\"a\"")", "\"a\"");
    row(R"(%41)", "%41");
    // An escaped blank stays.
    row(R"(\x20x\x20)", " x ");
    row(R"(\x20 )", " ");
    row(R"(x\t )", "x\t");
    row(R"(x\t y )", "x\t y");
    // The marks of QSettings for values that are no text or look like one of those.
    row("@", "@");
    row("@x", "@x");
    row("@@", "@");
    row("@@x", "@x");
    row("@@@x", "@@x");
    row("@@Invalid()", "@Invalid()");
    row("@Invalid()", "");
    row("@ByteArray()", "");
    row("@ByteArray(501:caf\xE9)", "501:caf\xE9");
    row("\"@ByteArray(501:A,502:B)\"", "501:A,502:B");
    row("@ByteArray(x", "@ByteArray(x");
    row("@ByteArray", "@ByteArray");
    row("@String(x)", "x");
    row(R"(@Variant(\0\0\0\x2\0\0\0\x5))", "");
    row("@Rect(1 2 3 4)", "");
    row("@Size(1 2)", "");
    row("@Point(1 2)", "");
    row("@Unknown(1)", "@Unknown(1)");
    row(R"(\@x)", "x");
    row(R"(\x40@x)", "@x");
    row(" @@x ", "@x");
    QTest::newRow("zero bytes") << QByteArray("a\0\\0b\\\0c", 8) << QString::fromLatin1("a\0\0bc", 5);
    QTest::newRow("character outside Latin-1")
        << QByteArray("\\x4e2d\\x6587") << QStringLiteral("\u4E2D\u6587");
    QTest::newRow("two halves of a character")
        << QByteArray("\\xd83d\\xde00") << QStringLiteral("\U0001F600");
}

void IniValueTest::valueGivesText()
{
    QFETCH(QByteArray, value);
    QTEST(iniValueText(value, IniEncoding::FromBytes), "text");
}

void IniValueTest::bytesAreUtf8OrLatin1_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("text");
    const auto latin1 = [](const char *value) {
        QTest::newRow(value) << QByteArray(value) << QString::fromLatin1(value);
    };
    latin1("caf\xE9");
    latin1("\x80\xFF");
    latin1("\xC3");
    latin1("\xA9");
    latin1("\xC3\xA9 and caf\xE9"); // not all of it is UTF-8
    latin1("\xC0\xAF");             // no character is written with more bytes than it needs
    latin1("\xED\xA0\x80");         // nor is half of one
    latin1("\xF4\x90\x80\x80");     // nor is one that is not there
    QTest::newRow("two bytes") << QByteArray("caf\xC3\xA9") << QStringLiteral("caf\u00E9");
    QTest::newRow("three and four") << QByteArray("\xE4\xB8\xAD \xF0\x9F\x98\x80")
                                    << QStringLiteral("\u4E2D \U0001F600");
    QTest::newRow("beside an escape")
        << QByteArray("\"\xC3\xA9\\xe9\xC3\xA9\"") << QStringLiteral("\u00E9\u00E9\u00E9");
    QTest::newRow("byte order marks in front and behind an escape")
        << QByteArray("\xEF\xBB\xBF\xEF\xBB\xBF"
                      "caf\xC3\xA9\\x20\xEF\xBB\xBF"
                      "x")
        << QStringLiteral("\uFEFF\uFEFFcaf\u00E9 \uFEFFx");
    QTest::newRow("escapes are characters and no bytes")
        << QByteArray("\\xc3\\xa9") << QString::fromLatin1("\xC3\xA9");
}

void IniValueTest::bytesAreUtf8OrLatin1()
{
    QFETCH(QByteArray, value);
    QTEST(iniValueText(value, IniEncoding::FromBytes), "text");
}

void IniValueTest::byteOrderMarkMeansUtf8()
{
    QCOMPARE(iniValueText("caf\xC3\xA9", IniEncoding::Utf8), QStringLiteral("caf\u00E9"));
    QCOMPARE(iniValueText("caf\xE9", IniEncoding::Utf8), QStringLiteral("caf\uFFFD"));
}

void IniValueTest::manyDigitsAndQuotesAreReadToTheEnd()
{
    const int many = 1 << 19;
    QCOMPARE(iniValueText("\\x" + QByteArray(many, 'F') + "0041", IniEncoding::FromBytes),
             QStringLiteral("A"));
    QCOMPARE(iniValueText('\\' + QByteArray(many, '7') + "000101", IniEncoding::FromBytes),
             QStringLiteral("A"));
    QCOMPARE(iniValueText(QByteArray(many, '"') + 'x', IniEncoding::FromBytes), QStringLiteral("x"));
    QCOMPARE(iniValueText(QByteArray(many, ' ') + 'x' + QByteArray(many, ' '), IniEncoding::FromBytes),
             QStringLiteral("x"));
    QCOMPARE(iniValueText(QByteArray("\\\n").repeated(many) + 'x', IniEncoding::FromBytes),
             QStringLiteral("x"));
}

QTEST_GUILESS_MAIN(IniValueTest)

#include "inivaluetest.moc"
