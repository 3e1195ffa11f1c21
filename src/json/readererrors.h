#ifndef JSON_READERERRORS_H
#define JSON_READERERRORS_H

#include "exception.h"

#include <string>

namespace json
{

// What Reader reports; named through it, as Reader::ScanException.
class ReaderErrors
{
public:
    // A place in the document, counted from zero in bytes; only LF ends a line.
    struct Location {
        Location()
            : m_nLine(0)
            , m_nLineOffset(0)
            , m_nDocOffset(0)
        {
        }

        unsigned int m_nLine;
        unsigned int m_nLineOffset;
        unsigned int m_nDocOffset;
    };

    // The text contains something that is no token. Related to ParseException only by the base class.
    class ScanException : public Exception
    {
    public:
        ScanException(const std::string &message, const Location &location)
            : Exception(message)
            , m_locError(location)
        {
        }

        Location m_locError;
    };

    // The tokens form no document; the offending one lies between the locations.
    class ParseException : public Exception
    {
    public:
        ParseException(const std::string &message, const Location &begin, const Location &end)
            : Exception(message)
            , m_locTokenBegin(begin)
            , m_locTokenEnd(end)
        {
        }

        Location m_locTokenBegin;
        Location m_locTokenEnd;
    };
};

} // namespace json

#endif // JSON_READERERRORS_H
