#ifndef IPV4TEXT_H
#define IPV4TEXT_H

#include <QtCore/QString>
#include <QtCore/QtGlobal>

// The number of a dotted-quad text, most significant byte first octet; 0 for a text that is no IPv4 address.
// An address is four decimal numbers from 0 to 255 with a dot between, blanks around the whole allowed
// ("010.1.1.1" is 10.1.1.1). QHostAddress is not used because the Qt majors differ ("1.2.3", octal and
// hexadecimal parts, a single number), and these addresses are sent in replies.
quint32 ipv4FromText(const QString &text);

// The dotted-quad text of a number in that form.
QString ipv4ToText(quint32 address);

#endif // IPV4TEXT_H
