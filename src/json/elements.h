#ifndef JSON_ELEMENTS_H
#define JSON_ELEMENTS_H

#include "array.h"
#include "exception.h"
#include "object.h"
#include "scalars.h"
#include "unknownelement.h"
#include "unknownelementimpl.h"
#include "visitor.h"

// Users of this header may rely on getting all of these with it.
#include <algorithm>
#include <cassert>
#include <deque>
#ifndef JSON_WITHOUT_IOSTREAM
#include <iostream>
#endif
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// A JSON document as a tree of values.
//
// Object, Array, String, Number, Boolean and Null are the values, UnknownElement holds one of them.
// All of them are plain values: copies are deep and share nothing, so distinct trees may be used by
// distinct threads. Text is bytes; nothing here knows or checks an encoding. Trees may be deeper than
// any stack: copying, comparing, writing and destroying them does not recurse.
//
// The library throws json::Exception, and std::bad_alloc when memory runs out.
namespace json
{

// The revision of the interface that these headers offer.
struct Version {
    enum { MAJOR = 2, MINOR = 0, ENGINEERING = 2 };
};

} // namespace json

// Users of this header may rely on the Reader as well. It needs what stands above.
#include "reader.h"

#endif // JSON_ELEMENTS_H
