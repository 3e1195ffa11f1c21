#ifndef NAMESPACES_H
#define NAMESPACES_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Puts this process into namespaces of its own, so that a test may change the machine: as root directly, else
// inside a user namespace in which it is root. Call at the start of main(), before any thread exists. On
// failure the program ends with a message: a test that silently ran without would prove nothing, or hurt the
// machine.
void enterOwnMountNamespace(); // an empty tmpfs lies over /mnt; nothing mounted is seen outside
void enterOwnNetworkNamespace();

// Runs a program to its end; true when that was exit status 0. What it printed is shown otherwise.
bool runProgram(const QString &program, const QStringList &arguments);

#endif // NAMESPACES_H
