#ifndef JSON_READER_H
#define JSON_READER_H

#include "elements.h"
#include "parser.h"
#include "readererrors.h"
#include "scanner.h"
#include "source.h"

#include <istream>
#include <string>

namespace json
{

// Reads one JSON document from a stream.
//
// The whole stream is one document. It is read and scanned to its end before anything is parsed, so an
// error in the scan (ScanException) anywhere in it wins over all others and leaves the target as it was.
// Errors of grammar (ParseException) come in the order of the text and leave in the target what came before
// them: of an Object the finished members, of an Array also the element that was begun, if only as Null. A
// comma begins one, and so does anything but the end of the document behind the bracket.
//
// The target is not cleared first: an Object gains members (one that it has already counts as a
// duplicate), an Array elements; an UnknownElement of the document's kind is extended likewise and one of
// another kind replaced.
//
// Extensions to JSON: names and strings may hold any raw byte but a quote, and numbers may have leading
// zeros, a bare point, or an incomplete exponent ("1e" and "-" are 0). A number that is too large becomes the
// largest double. `\u0000` to `\u00ff` give that one byte, `\u0100` and above a question mark. Nesting deeper
// than 512 levels is ParseException "Nesting too deep"; up to that depth, reading needs less than 256 KiB of
// the thread's stack in builds without sanitizers. Locale and flags of the stream do not matter.
//
// Afterwards the stream has eofbit and failbit set, unless a ScanException came before its end: it then
// stands at the place of the error (or, where its buffer cannot go back and a code point has too few digits,
// behind these). A stream that cannot be read to its end is a ScanException, never a
// document cut short. A stream that asked for exceptions gets none from here: the end of a document is no
// failure, and errors are reported as below.
class Reader : public ReaderErrors
{
public:
    // Throws ScanException or ParseException, also when the document is of another kind than the target.
    static void Read(Object &object, std::istream &stream) { readDocument(object, stream); }
    static void Read(Array &array, std::istream &stream) { readDocument(array, stream); }
    static void Read(String &string, std::istream &stream) { readDocument(string, stream); }
    static void Read(Number &number, std::istream &stream) { readDocument(number, stream); }
    static void Read(Boolean &boolean, std::istream &stream) { readDocument(boolean, stream); }
    static void Read(Null &null, std::istream &stream) { readDocument(null, stream); }
    // Takes a document of any kind.
    static void Read(UnknownElement &element, std::istream &stream) { readDocument(element, stream); }

    // The same from text in memory, for any of these targets. Not part of the interface that the library has.
    // A program's first stream takes up to half a megabyte of memory, for the tables of the standard
    // library's locale.
    template <typename T>
    static void ReadText(T &target, const std::string &text)
    {
        detail::Source source(text);
        readSource(target, source);
    }

private:
    template <typename T>
    static void readDocument(T &target, std::istream &stream)
    {
        detail::Source source(stream);
        readSource(target, source);
    }
    template <typename T>
    static void readSource(T &target, detail::Source &source);
};

// Reader::Read as an operator; throws the same.
inline std::istream &operator>>(std::istream &stream, UnknownElement &element)
{
    Reader::Read(element, stream);
    return stream;
}

template <typename T>
void Reader::readSource(T &target, detail::Source &source)
{
    {
        detail::Scanner scanner(source);
        while (scanner.next().type != detail::Token::End)
            ;
    }
    source.rewind();
    detail::Parser(source).parseDocument(target);
}

} // namespace json

#endif // JSON_READER_H
