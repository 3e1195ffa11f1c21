#ifndef OPTIONS_H
#define OPTIONS_H

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include "busname.h"

// The command line.
struct Options {
    enum Outcome { Run, PrintText, UsageError };

    // PrintText and UsageError leave in `text` what to tell the user.
    Outcome parse(const QStringList &arguments);

    Bus bus;
    QString stateFile;
    QJsonObject state; // laid over the state file's
    bool applyToKernel = false;
    bool printState = false;
    QString text;

private:
    QString takeBus(const class QCommandLineParser &parser);
    QString takeState(const class QCommandLineParser &parser);
    QString takeInterfaces(const class QCommandLineParser &parser);
};

#endif
