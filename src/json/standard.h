#ifndef JSON_STANDARD_H
#define JSON_STANDARD_H

// What the library needs of the standard library. Some of these headers do not compile behind macros `min`
// and `max`, and one takes such macros away; who defined them has them again behind this. All other headers
// here include this one first, if by way of another, and protect the two names by parentheses.

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
#include <iostream>
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
