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

bool isHelp(const QString &word)
{
    return word == QLatin1String("--help") || word == QLatin1String("-h") || word == QLatin1String("help");
}

const Command &commandNamed(const QString &name)
{
    const Command *command = findCommand(name);
    if (command == nullptr) {
        throw Failure{
            ExitCode::Usage, QStringLiteral("there is no command '%1'").arg(name),
            QStringLiteral("'mvdpctl --help' lists the commands; the command comes before its options.")};
    }
    return *command;
}

ExitCode runOrHelp(const Command &command, const QStringList &words, Terminal &terminal)
{
    const Arguments arguments(words, command.grammar);
    if (arguments.isSet("help")) {
        terminal.print(commandHelp(command));
        return ExitCode::Done;
    }
    terminal.setQuiet(arguments.isSet("quiet"));
    terminal.setVerbose(arguments.isSet("verbose"));
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

ExitCode run(const QStringList &words, Terminal &terminal)
{
    if (words.isEmpty())
        throw Failure{ExitCode::Usage, QStringLiteral("no command"), QStringLiteral("See 'mvdpctl --help'.")};
    if (words.first() == QLatin1String("--version")) {
        terminal.print(QStringLiteral("mvdpctl " MVDPCTL_VERSION));
        return ExitCode::Done;
    }
    if (!isHelp(words.first()))
        return runCommand(commandNamed(words.first()), words.mid(1), terminal);
    terminal.print(words.size() > 1 ? commandHelp(commandNamed(words.at(1))) : generalHelp());
    return ExitCode::Done;
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
        if (!failure.advice.isEmpty())
            terminal.error(failure.advice);
        return static_cast<int>(failure.code);
    }
}
