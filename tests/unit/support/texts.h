#ifndef TEXTS_H
#define TEXTS_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <initializer_list>

// Shorthands for the text literals of tests.

inline QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

inline QStringList lines(std::initializer_list<const char *> texts)
{
    QStringList list;
    for (const char *text : texts)
        list.append(latin1(text));
    return list;
}

#endif // TEXTS_H
