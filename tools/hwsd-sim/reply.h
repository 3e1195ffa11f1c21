#ifndef REPLY_H
#define REPLY_H

#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>

// A method's result: values in the plain form of wirevalue.h, or an error when errorName is not empty.
struct Reply {
    QVariantList values;
    QString errorName;
    QString errorText;
};

// Return values of the service.
const int Success = 0;
const int Failure = -1;

inline Reply values(const QVariantList &list)
{
    return Reply{list, QString(), QString()};
}

inline Reply one(const QVariant &value)
{
    return values(QVariantList{value});
}

inline Reply structure(const QVariantList &fields)
{
    return one(QVariant(fields));
}

inline Reply refusal(const char *name, const QString &text)
{
    return Reply{QVariantList(), QLatin1String(name), text};
}

#endif // REPLY_H
