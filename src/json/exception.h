#ifndef JSON_EXCEPTION_H
#define JSON_EXCEPTION_H

#include "standard.h"

#include <stdexcept>
#include <string>

namespace json
{

// Base of everything the library throws itself.
class Exception : public std::runtime_error
{
public:
    // Implicit as a std::string thrown by name always was. NOLINTNEXTLINE(google-explicit-constructor)
    Exception(const std::string &message)
        : std::runtime_error(message)
    {
    }
};

} // namespace json

#endif // JSON_EXCEPTION_H
