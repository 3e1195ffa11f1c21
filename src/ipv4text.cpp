#include "ipv4text.h"

#include <QtCore/QStringList>
#include <QtNetwork/QHostAddress>

namespace
{

// -1 for a text that is no decimal number from 0 to 255.
int octetFromText(const QString &text)
{
    if (text.isEmpty())
        return -1;
    int octet = 0;
    for (int i = 0; i < text.size(); ++i) {
        const int digit = text.at(i).unicode() - u'0';
        if (digit < 0 || digit > 9)
            return -1;
        octet = octet * 10 + digit;
        if (octet > 255)
            return -1;
    }
    return octet;
}

} // namespace

quint32 ipv4FromText(const QString &text)
{
    const QStringList parts = text.trimmed().split(QLatin1Char('.'));
    if (parts.size() != 4)
        return 0;
    quint32 address = 0;
    for (int i = 0; i < 4; ++i) {
        const int octet = octetFromText(parts.at(i));
        if (octet < 0)
            return 0;
        address = address << 8 | static_cast<quint32>(octet);
    }
    return address;
}

QString ipv4ToText(quint32 address)
{
    return QHostAddress(address).toString();
}
