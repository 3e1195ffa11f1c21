// Headers written for C define these macros. The standard library removes them when its first header comes
// after them. Here it does not, because a part of what the JSON headers need is included before them.

#include <string>

#define min(a, b) ((a) < (b) ? (a) : (b))
#define max(a, b) ((a) < (b) ? (b) : (a))

// This order is what is tested.
// clang-format off
#include <json/writer.h>

#include "json/headers.h"
// clang-format on

std::string rewrittenBehindMinMax(const std::string &text)
{
    std::istringstream input(text);
    json::UnknownElement element;
    json::Reader::Read(element, input);
    std::ostringstream output;
    json::Writer::Write(element, output);
    return output.str();
}

// They are still the file's own.
static_assert(min(1, 2) == 1 && max(1, 2) == 2, "");
