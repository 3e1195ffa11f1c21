#ifndef NAMESPACES_H
#define NAMESPACES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Moves this process into its own namespaces, so that a test may change network and mounts: as root directly,
// else inside a user namespace in which it is root. Call at the start of main(), before any thread exists. On
// failure the program ends with a message, because a test outside of them would be useless or change the
// machine.
void enterOwnMountNamespace(); // an empty tmpfs lies over /mnt; nothing mounted is seen outside
void enterOwnNetworkNamespace();

// Runs a program to its end; true for exit status 0. Otherwise its output is printed.
bool runProgram(const QString &program, const QStringList &arguments);

#endif // NAMESPACES_H
