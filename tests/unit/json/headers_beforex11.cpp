// A file that includes the JSON headers first keeps Xlib's macros unchanged.

// This order is what is tested.
// clang-format off
#include <json/writer.h>

#include <X11/Xlib.h>

#include "json/headers.h"
// clang-format on

std::string rewrittenBeforeX11(const std::string &text)
{
    std::istringstream input(text);
    json::UnknownElement element;
    const Bool isRead = input >> element ? False : True; // the whole stream is one document
    std::ostringstream output;
    if (isRead)
        json::Writer::Write(element, output);
    return output.str();
}
