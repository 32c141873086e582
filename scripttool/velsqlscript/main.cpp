#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/Options.h"
#include "scripttool/velsqlscript/Output.h"
#include "scripttool/velsqlscript/ProcessLimits.h"
#include "scripttool/velsqlscript/ScriptFile.h"
#include "scripttool/velsqlscript/ScriptRun.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>

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

int RunScript(const ScriptOptions& options)
{
    if (options.MarksErrors) MarkErrors();
    QString script;
    try {
        script = ReadScript(options.File, options.Title);
    } catch (const DescribedError& error) {
        return Fail(Unusable, error.Description());
    }
    RemoteLibrary library;
    EngineRef engine;
    try {
        engine = options.AttachOnly ? library.AttachEngine() : library.CreateEngine();
    } catch (const ServerError& error) {
        return Fail(NoServer, QStringLiteral("velsqlscript: ") + error.Description());
    }
    LimitProcess(options.MemoryMegabytes,
                 options.Title); // not earlier, because a server started by the library would inherit it
    ScriptRun run(engine, options.Names, [&] { library.Ping(); });
    const auto failure = run.Run(script, options.Title);
    return failure ? Fail(ScriptFailed, *failure) : Done;
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
        if (options.Answer.isEmpty()) return RunScript(options);
        WriteLine(Stream::Output, options.Answer);
        return Done;
    } catch (const DescribedError& error) {
        return Fail(Unusable, QStringLiteral("velsqlscript: ") + error.Description());
    }
}
