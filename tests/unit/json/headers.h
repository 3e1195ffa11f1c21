#ifndef HEADERS_H
#define HEADERS_H

#include <string>

// Each reads the text and writes it again, in a source file with its own includes and macros.
std::string rewrittenBeforeX11(const std::string &text);
std::string rewrittenBehindX11(const std::string &text);
std::string rewrittenBehindMinMax(const std::string &text);

#endif // HEADERS_H
