#ifndef COMPLAINT_H
#define COMPLAINT_H

#include <json/elements.h>

#include <QtCore/QByteArray>

/** What a json::Exception from the use says; "no exception" without one. */
template <typename Use>
QByteArray complaint(Use use)
{
    try {
        use();
    } catch (const json::Exception &error) {
        return error.what();
    }
    return "no exception";
}

// For checked access; a non-const element would convert instead.
inline const json::UnknownElement &asConst(const json::UnknownElement &element)
{
    return element;
}

#endif // COMPLAINT_H
