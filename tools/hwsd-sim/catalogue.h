#ifndef CATALOGUE_H
#define CATALOGUE_H

#include "panel.h"
#include "reply.h"

#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVector>

#include <functional>

// The twelve interfaces: their object paths, and each method's signature and function.

using Handler = std::function<Reply(Panel &, const QVariantList &)>;

struct Method {
    const char *interface;
    const char *name;
    const char *in;      // D-Bus signature of the arguments
    const char *inNames; // their names, with commas between
    const char *out;     // D-Bus signature of the reply
    Handler handler;
};

struct Object {
    const char *path;
    const char *interface;
};

const QVector<Method> &allMethods();
const QVector<Object> &allObjects();

// Null when there is none. An empty interface finds the object's own, as D-Bus callers may omit it.
const Object *findObject(const QString &path);
const Method *findMethod(const Object &object, const QString &interface, const QString &name);

// True when a key matches the method: "*", a bare method name, or "interface.method", where the leading
// "com.zelt.HWSD." of the interface may be missing.
bool keyMeans(const QString &key, const QString &interface, const QString &name);

// Introspection data of an object or of the root's children; empty for any other path.
QString introspectionOf(const QString &path);

#endif // CATALOGUE_H
