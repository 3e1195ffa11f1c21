#include "ipv4text.h"

#include "numbertext.h"

namespace
{

// Takes one decimal number from 0 to 255 off the text from begin on; -1 when there is none.
int takeOctet(const QChar *&begin, const QChar *end)
{
    const QChar *const first = begin;
    int octet = 0;
    for (; begin != end && *begin >= QLatin1Char('0') && *begin <= QLatin1Char('9'); ++begin) {
        octet = octet * 10 + (begin->unicode() - u'0');
        if (octet > 255)
            return -1;
    }
    return begin == first ? -1 : octet;
}

bool takeDot(const QChar *&begin, const QChar *end)
{
    if (begin == end || *begin != QLatin1Char('.'))
        return false;
    ++begin;
    return true;
}

} // namespace

// Read in place: each datagram costs three addresses, and a list of parts would cost blocks of the heap.
quint32 ipv4FromText(const QString &text)
{
    const QChar *begin = text.constData();
    const QChar *end = begin + text.size();
    while (begin != end && isWhiteSpace(*begin))
        ++begin;
    while (begin != end && isWhiteSpace(end[-1]))
        --end;
    quint32 address = 0;
    for (int i = 0; i < 4; ++i) {
        if (i > 0 && !takeDot(begin, end))
            return 0;
        const int octet = takeOctet(begin, end);
        if (octet < 0)
            return 0;
        address = address << 8 | static_cast<quint32>(octet);
    }
    return begin == end ? address : 0;
}

QString ipv4ToText(quint32 address)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += QString::number(address >> shift & 0xFFu);
        if (shift > 0)
            text += QLatin1Char('.');
    }
    return text;
}
