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
#include <iostream>
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/**
 * A JSON document as a tree of values.
 *
 * Object, Array, String, Number, Boolean and Null are the values, UnknownElement holds one of them.
 * All of them are plain values: copies are deep and share nothing, so distinct trees may be used by
 * distinct threads. Text is bytes; nothing here knows or checks an encoding. Trees may be deeper than
 * any stack: copying, comparing, writing and destroying them does not recurse.
 *
 * Errors of the library are json::Exception; memory that runs out is std::bad_alloc as everywhere.
 */
namespace json
{

/** The revision of the interface that these headers offer. */
struct Version {
    enum { MAJOR = 2, MINOR = 0, ENGINEERING = 2 };
};

} // namespace json

// Who has the elements can read them.
#include "reader.h"

#endif // JSON_ELEMENTS_H
