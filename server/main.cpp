#include "commandline/CommandLine.h"
#include "remote/Bridge.h"
#include "server/log/Log.h"
#include "server/plantfile/PlantFile.h"
#include "server/ServerPlace.h"
#include "server/ServerProcess.h"
#include "server/sources/modbus/Probe.h"
#include "server/sqlitehistory/Backup.h"
#include "server/worker/Worker.h"
#include "velsqllib/WireText.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <unistd.h>

namespace {

int NumberOption(const QCommandLineParser& parser, const QString& name)
{
    bool isNumber = false;
    const int number = parser.value(name).toInt(&isNumber);
    if (!isNumber || number < 0)
        throw UsageError(QStringLiteral("--%1 takes a number, not \"%2\".").arg(name, parser.value(name)));
    return number;
}

void DefineOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        {QStringLiteral("plant"), QStringLiteral("Read the plant from <file> instead of the user's plant.toml."),
         QStringLiteral("file")},
        {QStringLiteral("check"),
         QStringLiteral("Only say whether the plant file is right, and what its devices will see.")},
        {QStringLiteral("probe"),
         QStringLiteral("Only print what a Modbus device has at the addresses that follow, such as holding:0-20."),
         QStringLiteral("modbus-tcp://host:port/unit")},
        {QStringLiteral("backup"),
         QStringLiteral("Only copy the plant's history from SQLite to <file>, also while it is recorded."),
         QStringLiteral("file")},
        {QStringLiteral("socket"), QStringLiteral("Listen at <path> instead of the user's runtime folder."),
         QStringLiteral("path")},
        {QStringLiteral("log-level"), QStringLiteral("Log what is at least an error, a warning, info or debug."),
         QStringLiteral("level")},
        {QStringLiteral("log-file"), QStringLiteral("Log to <file>, and to standard error only until it listens."),
         QStringLiteral("file")},
        {QStringLiteral("connect"),
         QStringLiteral("Pass standard input and output on to the server that runs, else to one that is started; "
                        "for velsqlremote on another machine.")},
        {QStringLiteral("service"), QStringLiteral("Run as a service: never end by itself.")},
        {QStringLiteral("stop-when-idle"),
         QStringLiteral("End <seconds> after the last client has gone, unless an operator has started the engine."),
         QStringLiteral("seconds")},
        {QStringLiteral("ready-fd"), QStringLiteral("Write one byte to descriptor <number> once it listens."),
         QStringLiteral("number")},
    });
}

void ApplyLogLevel(const QString& name)
{
    const std::pair<QString, LogLevel> levels[] = {{QStringLiteral("error"), LogLevel::Error},
                                                   {QStringLiteral("warning"), LogLevel::Warning},
                                                   {QStringLiteral("info"), LogLevel::Info},
                                                   {QStringLiteral("debug"), LogLevel::Debug}};
    for (const auto& [levelName, level] : levels) {
        if (name == levelName) return SetLogLevel(level);
    }
    throw UsageError(QStringLiteral("--log-level takes error, warning, info or debug, not \"%1\".").arg(name));
}

QString PlantPath(const QCommandLineParser& parser)
{
    if (parser.isSet(QStringLiteral("plant"))) return parser.value(QStringLiteral("plant"));
    return QFile::exists(UserPlantFile()) ? UserPlantFile() : QString();
}

ServerOptions ReadOptions(const QCommandLineParser& parser)
{
    ServerOptions options;
    options.PlantPath = PlantPath(parser);
    options.SocketPath =
        parser.isSet(QStringLiteral("socket")) ? parser.value(QStringLiteral("socket")) : ServerSocketPath();
    if (parser.isSet(QStringLiteral("ready-fd")))
        options.ReadyDescriptor = NumberOption(parser, QStringLiteral("ready-fd"));
    if (parser.isSet(QStringLiteral("stop-when-idle")))
        options.StopWhenIdle = NumberOption(parser, QStringLiteral("stop-when-idle"));
    options.HasOwnPlant = parser.isSet(QStringLiteral("plant"));
    options.IsService = parser.isSet(QStringLiteral("service"));
    return options;
}

/// Each client takes one, each result and each database a few.
void AllowManyDescriptors()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// The loop polls all sockets and timers after this many events, however many are left.
constexpr uint EventsBetweenLooks = 64;

int Serve(const ServerOptions& options)
{
    kj::UnixEventPort::captureSignal(SIGTERM);
    kj::UnixEventPort::captureSignal(SIGINT);
    kj::UnixEventPort::captureSignal(ServerPlace::RequestSignal);
    if (options.IsService) ServerPlace::Take(options.SocketPath);
    signal(SIGPIPE, SIG_IGN);
    // A full disk is an error like any other.
    signal(SIGXFSZ, SIG_IGN);
    AllowManyDescriptors();
    const auto loop = KjLoop::OfThisThread();
    loop->WaitScope().setBusyPollInterval(EventsBetweenLooks);
    ServerProcess server(*loop, options);
    server.Run();
    return 0;
}

/// A shell that ssh starts may lack the variable of a user's sessions; the server of these is meant.
int Connect(const QCommandLineParser& parser)
{
    const QString usual = QStringLiteral("/run/user/%1").arg(geteuid());
    const QFileInfo folder(usual);
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR") && folder.isDir() && folder.ownerId() == geteuid())
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(usual));
    return RunBridge(ReadOptions(parser).SocketPath);
}

int Check(const QString& path)
{
    if (path.isEmpty()) throw DescribedError(QStringLiteral("There is no plant file to check."));
    std::printf("%s\n", qPrintable(DescribePlantFile(path)));
    return 0;
}

int Probe(const QCommandLineParser& parser)
{
    const QStringList what = parser.positionalArguments();
    if (what.isEmpty()) throw UsageError(QStringLiteral("--probe takes addresses as well, such as holding:0-20."));
    std::printf("%s", qPrintable(ProbeModbus(parser.value(QStringLiteral("probe")), what)));
    return 0;
}

int BackUp(const QString& plant, const QString& file)
{
    const HistoryDestination from = HistoryOf(plant).Destinations[0];
    if (from.ConnectionString.isEmpty() || DatabaseAddress(from.ConnectionString).IsPostgreSql())
        throw DescribedError(QStringLiteral("Only a history in SQLite is backed up here; PostgreSQL has pg_dump."));
    std::printf("%lld records\n", static_cast<long long>(BackUpHistory(from, QFileInfo(file).absoluteFilePath())));
    return 0;
}

int Run(const QCommandLineParser& parser)
{
    if (parser.isSet(QStringLiteral("probe"))) return Probe(parser);
    if (!parser.positionalArguments().isEmpty())
        throw UsageError(
            QStringLiteral("\"%1\" is not an option; --help lists them.").arg(parser.positionalArguments().first()));
    if (parser.isSet(QStringLiteral("log-level"))) ApplyLogLevel(parser.value(QStringLiteral("log-level")));
    if (parser.isSet(QStringLiteral("log-file"))) LogToFile(parser.value(QStringLiteral("log-file")));
    if (parser.isSet(QStringLiteral("check"))) return Check(PlantPath(parser));
    if (parser.isSet(QStringLiteral("backup")))
        return BackUp(PlantPath(parser), parser.value(QStringLiteral("backup")));
    if (parser.isSet(QStringLiteral("connect"))) return Connect(parser);
    return Serve(ReadOptions(parser));
}

int Run()
{
    CommandLine parser(QStringLiteral("velsqlserver"), QStringLiteral("The bundled VelSQL data-logging server."));
    DefineOptions(parser);
    try {
        const QString answer = parser.Read(QCoreApplication::arguments(), CommandLine::Files::Named);
        if (!answer.isEmpty()) return std::puts(qPrintable(answer)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
        return Run(parser);
    } catch (const UsageError& error) {
        return parser.Refuse(error);
    }
}

/// A thread that hangs in a database's library would crash if the process were cleaned up around it.
int Leave(int code)
{
    if (Worker::AnyLeftBehind()) std::_Exit(code);
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velsqlserver"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    try {
        return Leave(Run());
    } catch (const PlantFileError& error) {
        // The format of compilers, for editors that jump to the line.
        LogMistakes(error.Description());
    } catch (const kj::Exception& exception) {
        Log(LogLevel::Error, DescriptionOf(exception));
    } catch (...) {
        Log(LogLevel::Error, CurrentErrorDescription());
    }
    return Leave(1);
}
