#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "server/ServerProcess.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdlib>

namespace {

int NumberOption(const QCommandLineParser& parser, const QString& name)
{
    bool isNumber = false;
    const int number = parser.value(name).toInt(&isNumber);
    if (!isNumber || number < 0)
        throw DescribedError(QStringLiteral("--%1 takes a number, not \"%2\".").arg(name, parser.value(name)));
    return number;
}

ServerOptions ReadOptions(const QCoreApplication& app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The bundled VelSQL data-logging server."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {QStringLiteral("socket"), QStringLiteral("Listen at <path> instead of the user's runtime folder."),
         QStringLiteral("path")},
        {QStringLiteral("ready-fd"), QStringLiteral("Write one byte to descriptor <number> once it listens."),
         QStringLiteral("number")},
        {QStringLiteral("stop-when-idle"),
         QStringLiteral("End <seconds> after the last client has gone, unless an operator has started the engine."),
         QStringLiteral("seconds")},
        {QStringLiteral("service"), QStringLiteral("Run as a service: never end by itself.")},
    });
    parser.process(app);
    ServerOptions options;
    options.SocketPath =
        parser.isSet(QStringLiteral("socket")) ? parser.value(QStringLiteral("socket")) : ServerSocketPath();
    if (parser.isSet(QStringLiteral("ready-fd")))
        options.ReadyDescriptor = NumberOption(parser, QStringLiteral("ready-fd"));
    if (parser.isSet(QStringLiteral("stop-when-idle")))
        options.StopWhenIdle = NumberOption(parser, QStringLiteral("stop-when-idle"));
    options.IsService = parser.isSet(QStringLiteral("service"));
    return options;
}

int Serve(const ServerOptions& options)
{
    kj::UnixEventPort::captureSignal(SIGTERM);
    kj::UnixEventPort::captureSignal(SIGINT);
    signal(SIGPIPE, SIG_IGN);
    auto io = kj::setupAsyncIo();
    ServerProcess server(io, options);
    server.Run();
    return 0;
}

/// A thread that hangs in a database's library would fail in a process that is tidied up under it.
int Leave(int code)
{
    if (Worker::AnyLeftBehind()) std::_Exit(code);
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velsqlserver"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    try {
        return Leave(Serve(ReadOptions(app)));
    } catch (const kj::Exception& exception) {
        Log(LogLevel::Error, QString::fromUtf8(exception.getDescription().cStr()));
    } catch (...) {
        Log(LogLevel::Error, CurrentErrorDescription());
    }
    return 1;
}
