#ifndef HEADERS_H
#define HEADERS_H

#include <string>

// Each reads the text with the JSON headers as one source file has them and writes it again.
std::string rewrittenBeforeX11(const std::string &text);
std::string rewrittenBehindX11(const std::string &text);
std::string rewrittenBehindMinMax(const std::string &text);

#endif // HEADERS_H
