#ifndef PORTOWNER_H
#define PORTOWNER_H

#include <QtCore/QByteArray>
#include <QtCore/QtGlobal>

// Who holds a UDP port, as far as /proc tells: "process 512 (name) of user 1000"; "user 1000" when the
// process cannot be seen, mostly because it is another user's; empty when no socket has the port. Printable
// ASCII. Any thread. Where there are very many descriptors not all are looked at, and the process may be
// missing.
//   procFolder  another folder than the kernel's, for tests
QByteArray portOwner(quint16 port, const QByteArray &procFolder = "/proc");

#endif // PORTOWNER_H
