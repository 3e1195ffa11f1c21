// The Reader and the streams it is given, in whatever state they are.

#include "json/drippingbuffer.h"
#include "json/foreignlocale.h"
#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtTest/QTest>

#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

using json::Array;
using json::Number;
using json::Object;
using json::Reader;
using json::UnknownElement;
using jsontext::outcome;
using jsontext::toStd;
using jsontext::written;

namespace
{

typedef std::ios_base ios;

// Provides the text and then fails as a device does.
class FailingBuffer : public std::streambuf
{
public:
    explicit FailingBuffer(const std::string &text)
        : m_text(text)
    {
        setg(&m_text[0], &m_text[0], &m_text[0] + m_text.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("device lost"); }

private:
    std::string m_text;
};

// Shows its only byte, but fails when the byte is taken.
class ClingingBuffer : public std::streambuf
{
protected:
    int_type underflow() override { return '{'; }
    int_type uflow() override { throw std::runtime_error("device lost"); }
};

// Provides its text and throws at any further request; what it throws is no exception of the library.
class ThrowingBuffer : public std::streambuf
{
public:
    explicit ThrowingBuffer(const std::string &text)
        : m_text(text)
    {
        setg(&m_text[0], &m_text[0], &m_text[0] + m_text.size());
    }

protected:
    int_type underflow() override { throw 1; }
    int_type pbackfail(int_type) override { throw 2; }
    pos_type seekoff(off_type, ios::seekdir, ios::openmode) override { throw 3; }

private:
    std::string m_text;
};

// A class derived from a string's buffer whose position cannot be set.
class UnseekableBuffer : public std::stringbuf
{
public:
    explicit UnseekableBuffer(const std::string &text)
        : std::stringbuf(text, ios::in)
    {
    }

protected:
    pos_type seekoff(off_type, ios::seekdir, ios::openmode) override { return pos_type(off_type(-1)); }
    pos_type seekpos(pos_type, ios::openmode) override { return pos_type(off_type(-1)); }
};

} // namespace

class TestReaderStreams : public QObject
{
    Q_OBJECT

private slots:
    void streamIsAtItsEndAfterwards();
    void usedUpStreamIsAnEmptyDocument();
    void unreadableStreamIsAScanError();
    void failingStreamIsAScanError_data();
    void failingStreamIsAScanError();
    void streamThatFailsToGiveIsAScanError();
    void bufferMayThrowAnything();
    void scanErrorLeavesTheRest_data();
    void scanErrorLeavesTheRest();
    void unseekableStreamIsLeftAtTheErrorToo();
    void streamThatCannotSeekIsGivenBackItsDigits();
    void streamThatCannotGoBackIsLeftBehindItsDigits();
    void writtenStreamIsRead();
    void streamForOutputOnlyIsEmpty();
    void exceptionsOfTheStreamStayOut_data();
    void exceptionsOfTheStreamStayOut();
    void formatFlagsDoNotMatter();
    void localeDoesNotMatter();
    void operatorReads();
};

void TestReaderStreams::streamIsAtItsEndAfterwards()
{
    std::istringstream good("{} ");
    Object object;
    QCOMPARE(outcome(object, good), QByteArray("ok"));
    QCOMPARE(good.rdstate(), ios::eofbit | ios::failbit);

    std::istringstream open("\"x");
    QCOMPARE(outcome(object, open), QByteArray("scan: Expected string: \""));
    QVERIFY(open.eof());
}

void TestReaderStreams::usedUpStreamIsAnEmptyDocument()
{
    std::istringstream stream("{}");
    Object object;
    QCOMPARE(outcome(object, stream), QByteArray("ok"));
    QCOMPARE(outcome(object, stream), QByteArray("parse: Unexpected end of token stream"));
    stream.clear();
    QCOMPARE(outcome(object, stream), QByteArray("parse: Unexpected end of token stream"));
}

void TestReaderStreams::unreadableStreamIsAScanError()
{
    const QByteArray error("scan: Unexpected character in stream: \xff");
    Object object;
    std::ifstream missing("/nonexistent/file");
    QCOMPARE(outcome(object, missing), error);
    std::ifstream unopened;
    QCOMPARE(outcome(object, unopened), error);
    std::ifstream directory("/");
    QCOMPARE(outcome(object, directory), error);
    std::istringstream failed("{}");
    failed.setstate(ios::failbit);
    QCOMPARE(outcome(object, failed), error);
    std::istringstream bad("{}");
    bad.setstate(ios::badbit);
    QCOMPARE(outcome(object, bad), error);
    std::istringstream badAtItsEnd("{}");
    badAtItsEnd.setstate(ios::badbit | ios::eofbit);
    QCOMPARE(outcome(object, badAtItsEnd), error);
    std::istream bufferless(nullptr);
    QCOMPARE(outcome(object, bufferless), error);
}

void TestReaderStreams::failingStreamIsAScanError_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray stray("scan: Unexpected character in stream: \xff");
    QTest::newRow("at once") << QByteArray("") << stray;
    QTest::newRow("in a string") << QByteArray("{\"a") << QByteArray("scan: Expected string: \"");
    QTest::newRow("in an escape") << QByteArray("{\"a\\") << QByteArray("scan: Expected string: \"");
    QTest::newRow("in a literal") << QByteArray("{\"a\":nul") << QByteArray("scan: Expected string: null");
    QTest::newRow("after a number") << QByteArray("{\"a\":1") << stray;
    QTest::newRow("after a complete document") << QByteArray("{\"a\":1}") << stray;
}

void TestReaderStreams::failingStreamIsAScanError()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    FailingBuffer buffer(toStd(input));
    std::istream stream(&buffer);
    Object object;
    QCOMPARE(outcome(object, stream), expected);
    QCOMPARE(stream.rdstate(), ios::badbit);
    QVERIFY(object.Empty());
}

void TestReaderStreams::streamThatFailsToGiveIsAScanError()
{
    ClingingBuffer buffer;
    std::istream stream(&buffer);
    Object object;
    QCOMPARE(outcome(object, stream), QByteArray("scan: Unexpected character in stream: \xff"));
    QCOMPARE(stream.rdstate(), ios::badbit);
}

// Any exception, at any place.
void TestReaderStreams::bufferMayThrowAnything()
{
    ThrowingBuffer buffer("[\"\\u00g\"]");
    std::istream stream(&buffer);
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("scan: Unrecognized escape sequence found in string: \\u"));
    QCOMPARE(stream.rdstate(), ios::badbit);

    ThrowingBuffer cut("[1,");
    std::istream cutStream(&cut);
    QCOMPARE(outcome(array, cutStream), QByteArray("scan: Unexpected character in stream: \xff"));
    QCOMPARE(cutStream.rdstate(), ios::badbit);
}

void TestReaderStreams::scanErrorLeavesTheRest_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("rest");
    QTest::newRow("at once") << QByteArray("@ 1") << QByteArray("@ 1");
    QTest::newRow("stray byte") << QByteArray("{\"a\":[1,\n?2]}") << QByteArray("?2]}");
    QTest::newRow("literal") << QByteArray("[truly]") << QByteArray("y]");
    QTest::newRow("escape") << QByteArray("[\"\\ab\"]") << QByteArray("b\"]");
    QTest::newRow("code point") << QByteArray("[\"\\u00g1\"]") << QByteArray("00g1\"]");
    QTest::newRow("code point at the end") << QByteArray("[\"\\u00") << QByteArray("00");
}

void TestReaderStreams::scanErrorLeavesTheRest()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, rest);
    // The text before belongs to an earlier reader.
    std::stringstream stream("before " + toStd(input));
    std::string word;
    stream >> word;
    Array array;
    QVERIFY(outcome(array, stream).startsWith("scan: "));
    QVERIFY(stream.good());
    std::ostringstream left;
    left << stream.rdbuf();
    QCOMPARE(jsontext::toBytes(left.str()), rest);
    // Only the read position has moved.
    stream << "after!";
    QVERIFY(stream.str().compare(0, 6, "after!") == 0);
}

void TestReaderStreams::unseekableStreamIsLeftAtTheErrorToo()
{
    UnseekableBuffer buffer("[1,@2]");
    std::istream stream(&buffer);
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("scan: Unexpected character in stream: @"));
    QCOMPARE(stream.get(), static_cast<int>('@'));
}

void TestReaderStreams::streamThatCannotSeekIsGivenBackItsDigits()
{
    UnseekableBuffer buffer("[\"\\u00e\"]");
    std::istream stream(&buffer);
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("scan: Unrecognized escape sequence found in string: \\u"));
    QVERIFY(stream.good());
    std::ostringstream left;
    left << stream.rdbuf();
    QCOMPARE(jsontext::toBytes(left.str()), QByteArray("00e\"]"));
}

void TestReaderStreams::streamThatCannotGoBackIsLeftBehindItsDigits()
{
    DrippingBuffer buffer("[\"\\u00g\"]");
    std::istream stream(&buffer);
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("scan: Unrecognized escape sequence found in string: \\u"));
    QVERIFY(stream.good());
    QCOMPARE(stream.get(), static_cast<int>('g'));
}

void TestReaderStreams::writtenStreamIsRead()
{
    std::stringstream stream;
    stream << "[1,";
    QCOMPARE(stream.peek(), static_cast<int>('['));
    stream << "2]";
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("ok"));
    QCOMPARE(written(array), QByteArray("[\n\t1,\n\t2\n]"));
}

void TestReaderStreams::streamForOutputOnlyIsEmpty()
{
    std::stringbuf buffer("[1]", ios::out);
    std::istream stream(&buffer);
    Array array;
    QCOMPARE(outcome(array, stream), QByteArray("parse: Unexpected end of token stream"));
}

void TestReaderStreams::exceptionsOfTheStreamStayOut_data()
{
    QTest::addColumn<int>("mask");
    QTest::newRow("failbit") << static_cast<int>(ios::failbit);
    QTest::newRow("eofbit") << static_cast<int>(ios::eofbit);
    QTest::newRow("badbit") << static_cast<int>(ios::badbit);
}

void TestReaderStreams::exceptionsOfTheStreamStayOut()
{
    QFETCH(int, mask);
    const ios::iostate exceptions = static_cast<ios::iostate>(mask);

    std::istringstream good("{\"a\":1}");
    good.exceptions(exceptions);
    Object object;
    QCOMPARE(outcome(object, good), QByteArray("ok"));
    QCOMPARE(object.Size(), std::size_t(1));
    QCOMPARE(good.rdstate(), ios::eofbit | ios::failbit);
    QCOMPARE(good.exceptions(), exceptions);

    std::istringstream wrong("[");
    wrong.exceptions(exceptions);
    QCOMPARE(outcome(object, wrong), QByteArray("parse: Unexpected token: ["));

    FailingBuffer buffer("{");
    std::istream failing(&buffer);
    failing.exceptions(exceptions);
    QCOMPARE(outcome(object, failing), QByteArray("scan: Unexpected character in stream: \xff"));
    QCOMPARE(failing.rdstate(), ios::badbit);
}

void TestReaderStreams::formatFlagsDoNotMatter()
{
    std::istringstream stream("{\"a b\" : [ 10 , \" x \" ]}");
    stream >> std::hex >> std::noskipws >> std::boolalpha;
    stream.width(2);
    Object object;
    QCOMPARE(outcome(object, stream), QByteArray("ok"));
    QCOMPARE(written(object), QByteArray("{\n\t\"a b\" : [\n\t\t10,\n\t\t\" x \"\n\t]\n}"));
}

void TestReaderStreams::localeDoesNotMatter()
{
    const ForeignLocale foreign;
    std::ostringstream proof;
    proof << 1234.5;
    QCOMPARE(proof.str(), std::string("1.234,5"));

    QCOMPARE(jsontext::read<Number>("1.5").Value(), 1.5);
    QCOMPARE(jsontext::read<Number>("-0.25").Value(), -0.25);
    QCOMPARE(jsontext::read<Number>("1234567").Value(), 1234567.0);
    Array array;
    QCOMPARE(outcome(array, "[1,5]"), QByteArray("ok"));
    QCOMPARE(array.Size(), std::size_t(2));
}

void TestReaderStreams::operatorReads()
{
    std::istringstream stream("[1]");
    UnknownElement element;
    QVERIFY(&(stream >> element) == &stream);
    QCOMPARE(written(element), QByteArray("[\n\t1\n]"));
    std::istringstream wrong("[");
    QVERIFY_EXCEPTION_THROWN(wrong >> element, Reader::ParseException);
}

QTEST_APPLESS_MAIN(TestReaderStreams)
#include "tst_readerstreams.moc"
