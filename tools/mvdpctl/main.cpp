#include "command.h"
#include "failure.h"
#include "platform.h"
#include "terminal.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <clocale>
#include <cstdio>

namespace
{

const char HelpAdvice[] = "See 'mvdpctl --help'.";

QString programVersion()
{
    return QStringLiteral("mvdpctl " MVDPCTL_VERSION);
}

ExitCode printed(const QString &text, Terminal &terminal)
{
    terminal.print(text);
    return ExitCode::Done;
}

ExitCode runOrHelp(const Command &command, const QStringList &words, Terminal &terminal)
{
    const Arguments arguments(words, command.grammar);
    if (arguments.isSet("help"))
        return printed(commandHelp(command), terminal);
    if (arguments.isSet("version"))
        return printed(programVersion(), terminal);
    terminal.setQuiet(arguments.isSet("quiet"));
    terminal.setVerbose(arguments.isSet("verbose"));
    terminal.setColor(arguments.color());
    try {
        return command.run(arguments, terminal);
    } catch (const ToolError &error) {
        throw failureOf(error);
    }
}

ExitCode runCommand(const Command &command, const QStringList &words, Terminal &terminal)
{
    try {
        return runOrHelp(command, words, terminal);
    } catch (Failure &failure) {
        if (failure.code == ExitCode::Usage && failure.advice.isEmpty())
            failure.advice = QStringLiteral("See 'mvdpctl %1 --help'.").arg(QLatin1String(command.name));
        throw;
    }
}

// Arguments outside of a command.
Arguments readOptions(const QStringList &words, const Grammar &grammar)
{
    try {
        return Arguments(words, grammar);
    } catch (Failure &failure) {
        if (failure.advice.isEmpty())
            failure.advice = QString::fromLatin1(HelpAdvice);
        throw;
    }
}

ExitCode runWithoutCommand(const QStringList &words, Terminal &terminal)
{
    const Arguments arguments = readOptions(words, Grammar());
    if (arguments.isSet("help"))
        return printed(generalHelp(), terminal);
    if (arguments.isSet("version"))
        return printed(programVersion(), terminal);
    throw Failure{ExitCode::Usage, QStringLiteral("no command"), QString::fromLatin1(HelpAdvice)};
}

ExitCode run(QStringList words, Terminal &terminal)
{
    const int position = commandPosition(words, allOptions());
    if (position < 0)
        return runWithoutCommand(words, terminal);
    // What stands before may be a mistyped option, whose value would be taken for the command.
    readOptions(words.mid(0, position), {allOptions(), 0, 0});
    const QString name = words.takeAt(position);
    if (name != QLatin1String("help"))
        return runCommand(commandNamed(name), words, terminal);
    return printed(words.isEmpty() ? generalHelp() : commandHelp(commandNamed(words.first())), terminal);
}

// Qt's own messages, on the locale or on an unsupported socket option, do not concern the user. Relevant
// errors are reported as a Failure.
void dropRemark(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

int main(int argc, char *argv[])
{
    Terminal terminal(prepareStreams());
    const QStringList words = commandLineWords(argc, argv); // before Qt removes its own options
    qInstallMessageHandler(dropRemark);
    const QCoreApplication application(argc, argv);
    // Qt has set the user's locale; the system's error texts are parts of English sentences.
    std::setlocale(LC_ALL, "C");
    try {
        const ExitCode code = run(words, terminal);
        // The stream's error flag covers every failed write of the run.
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw Failure{ExitCode::NetworkTrouble, QStringLiteral("the result could not be written"),
                          QStringLiteral("See whether the disk is full; what was sent to panels was sent.")};
        }
        return static_cast<int>(code);
    } catch (const Failure &failure) {
        terminal.error(failure.message);
        for (const QString &line : failure.details)
            terminal.error(line);
        if (!failure.advice.isEmpty())
            terminal.error(failure.advice);
        return static_cast<int>(failure.code);
    }
}
