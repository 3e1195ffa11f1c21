#include "wirevalue.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QMetaType>
#include <QtCore/QStringList>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

namespace
{

// libdbus refuses values deeper than 64 levels. This bound does not rely on that.
const int DeepestLevel = 70;

bool isStructure(const QVariant &value)
{
    return value.userType() == QMetaType::QVariantList;
}

QString signatureOfOne(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UChar:
        return QLatin1String("y");
    case QMetaType::Bool:
        return QLatin1String("b");
    case QMetaType::Int:
        return QLatin1String("i");
    case QMetaType::UInt:
        return QLatin1String("u");
    case QMetaType::ULongLong:
        return QLatin1String("t");
    case QMetaType::QString:
        return QLatin1String("s");
    case QMetaType::QByteArray:
        return QLatin1String("ay");
    case QMetaType::QVariantList:
        return QLatin1Char('(') + signatureOf(value.toList()) + QLatin1Char(')');
    default:
        return QLatin1String(value.userType() == qMetaTypeId<QDBusObjectPath>() ? "o" : "?");
    }
}

void appendTo(QDBusArgument &argument, const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UChar:
        argument << value.value<uchar>();
        break;
    case QMetaType::Bool:
        argument << value.toBool();
        break;
    case QMetaType::Int:
        argument << value.toInt();
        break;
    case QMetaType::UInt:
        argument << value.toUInt();
        break;
    case QMetaType::ULongLong:
        argument << value.toULongLong();
        break;
    case QMetaType::QString:
        argument << value.toString();
        break;
    case QMetaType::QByteArray:
        argument << value.toByteArray();
        break;
    case QMetaType::QVariantList:
        argument.beginStructure();
        for (const QVariant &field : value.toList())
            appendTo(argument, field);
        argument.endStructure();
        break;
    default:
        argument << value.value<QDBusObjectPath>();
    }
}

QVariant plain(const QVariant &received, int level);

QVariantList elementsOf(const QDBusArgument &argument, int level)
{
    QVariantList elements;
    switch (argument.currentType()) {
    case QDBusArgument::StructureType:
        argument.beginStructure();
        while (!argument.atEnd())
            elements << plain(argument.asVariant(), level);
        argument.endStructure();
        break;
    case QDBusArgument::ArrayType:
        argument.beginArray();
        while (!argument.atEnd())
            elements << plain(argument.asVariant(), level);
        argument.endArray();
        break;
    case QDBusArgument::MapType:
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QVariant key = plain(argument.asVariant(), level);
            const QVariant content = plain(argument.asVariant(), level);
            argument.endMapEntry();
            elements << QVariant(QVariantList{key, content});
        }
        argument.endMap();
        break;
    default:
        break;
    }
    return elements;
}

QVariant plain(const QVariant &received, int level)
{
    if (level > DeepestLevel)
        return QVariant();
    if (received.userType() == qMetaTypeId<QDBusArgument>())
        return elementsOf(received.value<QDBusArgument>(), level + 1);
    if (received.userType() == qMetaTypeId<QDBusVariant>())
        return plain(received.value<QDBusVariant>().variant(), level + 1);
    return received;
}

QVariant sampleOfBasic(QChar type)
{
    switch (type.toLatin1()) {
    case 'y':
        return QVariant::fromValue(static_cast<uchar>(42));
    case 'b':
        return true;
    case 'i':
        return 42;
    case 'u':
        return 42U;
    case 't':
        return 42ULL;
    case 's':
        return QString(QLatin1String("unexpected"));
    case 'o':
        return QVariant::fromValue(QDBusObjectPath(QLatin1String("/unexpected")));
    default:
        return QVariant();
    }
}

// Takes complete types from `position` up to the end, or up to the bracket that closes a structure.
bool sampleFrom(const QString &signature, int &position, int level, QVariantList &values)
{
    while (position < signature.size()) {
        const QChar type = signature.at(position++);
        if (type == QLatin1Char(')'))
            return level > 0 && !values.isEmpty();
        if (type == QLatin1Char('(')) {
            QVariantList fields;
            if (level > 30 || !sampleFrom(signature, position, level + 1, fields))
                return false;
            values << QVariant(fields);
        } else if (type == QLatin1Char('a')) {
            if (position >= signature.size() || signature.at(position++) != QLatin1Char('y'))
                return false;
            values << QByteArray("unexpected");
        } else {
            const QVariant basic = sampleOfBasic(type);
            if (!basic.isValid())
                return false;
            values << basic;
        }
    }
    return level == 0;
}

} // namespace

QString signatureOf(const QVariantList &values)
{
    QString signature;
    for (const QVariant &value : values)
        signature += signatureOfOne(value);
    return signature;
}

QVariantList toWire(const QVariantList &values)
{
    QVariantList wire;
    for (const QVariant &value : values) {
        if (isStructure(value)) {
            QDBusArgument argument;
            appendTo(argument, value);
            wire << QVariant::fromValue(argument);
        } else {
            wire << value;
        }
    }
    return wire;
}

QVariantList fromWire(const QVariantList &arguments)
{
    QVariantList values;
    for (const QVariant &argument : arguments)
        values << plain(argument, 0);
    return values;
}

QJsonValue toJson(const QVariant &value)
{
    const int type = value.userType();
    if (type == QMetaType::QByteArray)
        return QString::fromLatin1(value.toByteArray().toHex());
    if (type == QMetaType::QStringList || isStructure(value)) {
        QJsonArray array;
        for (const QVariant &element : value.toList())
            array.append(toJson(element));
        return array;
    }
    if (type == QMetaType::UChar)
        return static_cast<int>(value.value<uchar>());
    if (type == qMetaTypeId<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    if (type == qMetaTypeId<QDBusSignature>())
        return value.value<QDBusSignature>().signature();
    return QJsonValue::fromVariant(value);
}

QVariantList withShortArrays(const QVariantList &values, int bytes)
{
    QVariantList cut;
    for (const QVariant &value : values) {
        if (value.userType() == QMetaType::QByteArray)
            cut << value.toByteArray().left(bytes);
        else if (isStructure(value))
            cut << QVariant(withShortArrays(value.toList(), bytes));
        else
            cut << value;
    }
    return cut;
}

bool sampleOf(const QString &signature, QVariantList &values)
{
    int position = 0;
    values.clear();
    return sampleFrom(signature, position, 0, values);
}
