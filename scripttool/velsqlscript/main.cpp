#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/Options.h"
#include "scripttool/velsqlscript/Output.h"
#include "scripttool/velsqlscript/ProcessLimits.h"
#include "scripttool/velsqlscript/Query.h"
#include "scripttool/velsqlscript/QueryOutput.h"
#include "scripttool/velsqlscript/ScriptFile.h"
#include "scripttool/velsqlscript/ScriptRun.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>

#include <optional>

#include <cstdlib>

namespace {

enum ExitCode
{
    Done = 0,
    ScriptFailed = 1,
    Unusable = 2,
    NoServer = 3
};

int Fail(ExitCode code, const QString& message)
{
    WriteLine(Stream::Error, message);
    return code;
}

/// Qt's own messages do not belong to the script; only a message that ends the process is printed.
void HandleQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg) WriteLine(Stream::Error, QStringLiteral("velsqlscript: ") + message);
}

int FailByName(ExitCode code, const DescribedError& error)
{
    return Fail(code, QStringLiteral("velsqlscript: ") + error.Description());
}

/// Calls `run` with a library and the engine that it reaches; answers its exit code.
template <typename Run>
int WithServer(const ScriptOptions& options, Run run)
{
    std::optional<RemoteLibrary> library;
    EngineRef engine;
    try {
        library.emplace().OnServerBusy(
            [](const QString& what) { WriteLine(Stream::Error, QStringLiteral("velsqlscript: ") + what); });
        engine = options.AttachOnly ? library->AttachEngine() : library->CreateEngine();
    } catch (...) { // without sockets, too
        return FailByName(NoServer, DescribedError(CurrentErrorDescription()));
    }
    return run(*library, engine);
}

int RunScript(const ScriptOptions& options)
{
    if (options.MarksErrors) MarkErrors();
    QString script;
    try {
        script = ReadScript(options.File, options.Title);
    } catch (const DescribedError& error) {
        return Fail(Unusable, error.Description());
    }
    return WithServer(options, [&](RemoteLibrary& library, const EngineRef& engine) {
        // Not earlier: a server started by the library would inherit it.
        LimitProcess(options.MemoryMegabytes, options.Title);
        ScriptRun run(engine, options.Names, [&] { library.Ping(); });
        const auto failure = run.Run(script, options.Title);
        return failure ? Fail(ScriptFailed, *failure) : Done;
    });
}

/// A file that cannot be written is noticed before the statement is run.
int RunStatement(const ScriptOptions& options)
{
    QueryOutput output(options.Query->File);
    return WithServer(options, [&](RemoteLibrary&, const EngineRef& engine) {
        try {
            RunQuery(*engine, *options.Query, output);
            return int{Done};
        } catch (...) {
            return FailByName(ScriptFailed, DescribedError(CurrentErrorDescription()));
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(HandleQtMessage);
    Q_INIT_RESOURCE(velsqlscript);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velsqlscript"));
    try {
        const ScriptOptions options = ReadOptions(QCoreApplication::arguments());
        if (options.Answer.isEmpty()) return options.Query ? RunStatement(options) : RunScript(options);
        WriteLine(Stream::Output, options.Answer);
        return Done;
    } catch (const DescribedError& error) {
        return FailByName(Unusable, error);
    }
}
