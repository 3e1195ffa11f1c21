// Xlib's macros True, False, None, Bool, Status and others are its interface: a file that uses Xlib has them.

// This order is what is tested.
// clang-format off
#include <X11/Xlib.h>

#include <json/writer.h>

#include "json/headers.h"
// clang-format on

std::string rewrittenBehindX11(const std::string &text)
{
    std::istringstream input(text);
    json::UnknownElement element;
    const Bool isRead = input >> element ? False : True; // the whole stream is one document
    std::ostringstream output;
    if (isRead)
        json::Writer::Write(element, output);
    return output.str();
}
