#ifndef OPTIONS_H
#define OPTIONS_H

#include "busname.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QCommandLineParser;

// The command line.
struct Options {
    enum class Outcome { Run, PrintText, UsageError };

    // PrintText and UsageError leave the message for the user in `text`. To be called once.
    Outcome parse(const QStringList &arguments);

    Bus bus;
    QString stateFile;
    QJsonObject state; // merged into the state file's
    bool applyToKernel = false;
    bool printState = false;
    QString text;

private:
    // Each returns an empty text, or the error in the options.
    QString takeBus(const QCommandLineParser &parser);
    QString takeState(const QCommandLineParser &parser);
    QString takeInterfaces(const QCommandLineParser &parser);
};

#endif // OPTIONS_H
