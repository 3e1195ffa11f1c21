#ifndef NETWORK_H
#define NETWORK_H

#include <QtCore/QByteArray>

// Changes of this process's network; each returns false when it could not be made. They are done when these
// return.

// One command of ip(8), as on its command line.
bool ip(const char *command);

// More changes of the addresses of eth0 than a socket that tells of them can hold, and this command after
// them. 10.1.0.7/16 is added and removed again and again.
bool changeTooMuch(const QByteArray &last = QByteArray());

#endif // NETWORK_H
