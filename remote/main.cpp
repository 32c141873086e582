#include "commandline/CommandLine.h"
#include "core/automation/FindProgram.h"
#include "remote/Launcher.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

const QString s_Description = QStringLiteral(
    "Runs a program, else the console, on the VelSQL server of another machine, which it reaches through ssh.");

int s_Signals[2];

void NoteSignal(int signal)
{
    const char number = static_cast<char>(signal);
    if (write(s_Signals[1], &number, 1) != 1) return; // many have come already
}

/// With handlers and not ignored, so that what it starts does not inherit it.
void StopBySignals(Launcher& launcher)
{
    if (pipe2(s_Signals, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* arrived = new QSocketNotifier(s_Signals[0], QSocketNotifier::Read, &launcher);
    QObject::connect(arrived, &QSocketNotifier::activated, &launcher, [&launcher] {
        char number = 0;
        if (read(s_Signals[0], &number, 1) == 1) launcher.Stop(number);
    });
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, NoteSignal);
}

int Run(CommandLine& line)
{
    line.addPositionalArgument(QStringLiteral("host"), QStringLiteral("As ssh takes it, with or without a user."),
                               QStringLiteral("[USER@]HOST"));
    line.addPositionalArgument(QStringLiteral("program"),
                               QStringLiteral("What is started, with its arguments; default: the console."),
                               QStringLiteral("[PROGRAM [ARGUMENT...]]"));
    line.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QString answer = line.Read(QCoreApplication::arguments(), CommandLine::Files::Named);
    if (!answer.isEmpty()) return std::puts(qPrintable(answer)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;

    const QStringList words = line.positionalArguments();
    if (words.isEmpty() || words[0].isEmpty()) throw UsageError(QStringLiteral("It takes a host; --help says more."));
    if (words[0].startsWith(u'-')) throw UsageError(QStringLiteral("\"%1\" is no host.").arg(words[0]));
    const QString name = words.value(1, QStringLiteral("velsqltester"));
    const QString program = name.contains(u'/') ? name : FindProgram(name);
    if (program.isEmpty()) throw UsageError(QStringLiteral("No program \"%1\" was found.").arg(name));
    Launcher launcher(words[0], program, words.mid(2));
    StopBySignals(launcher);
    return launcher.Run();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velsqlremote"));
    std::signal(SIGPIPE, SIG_IGN);
    CommandLine line(QStringLiteral("velsqlremote"), s_Description);
    try {
        return Run(line);
    } catch (const UsageError& error) {
        return line.Refuse(error);
    } catch (const DescribedError& error) {
        std::fprintf(stderr, "velsqlremote: %s\n", qPrintable(error.Description()));
        return EXIT_FAILURE;
    }
}
