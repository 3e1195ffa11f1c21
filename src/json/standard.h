#ifndef JSON_STANDARD_H
#define JSON_STANDARD_H

// All headers of the standard library that this library uses. Some of them do not compile when `min` and
// `max` are macros, and one undefines such macros; they are therefore saved and restored here. All other
// headers of this library include this one first, directly or through another, and put the two names in
// parentheses.
//
// JSON_WITHOUT_IOSTREAM leaves out the one that makes the standard streams, with their locale, at the start
// of each program: up to half a megabyte of memory that a program may have no other use for.

#pragma push_macro("min")
#pragma push_macro("max")
#undef min
#undef max

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <deque>
#include <fstream>
#include <iomanip>
#include <ios>
#ifndef JSON_WITHOUT_IOSTREAM
#include <iostream>
#endif
#include <istream>
#include <limits>
#include <list>
#include <locale>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#pragma pop_macro("max")
#pragma pop_macro("min")

#endif // JSON_STANDARD_H
