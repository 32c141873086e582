#include "tests/velsqlscript/ScriptProcess.h"

#include <QCoreApplication>

namespace {

constexpr int PatienceMs = 20'000;

} // namespace

void PrintTo(const Outcome& outcome, std::ostream* out)
{
    *out << "code " << outcome.Code << "\n--- output\n"
         << outcome.Output.toStdString() << "--- errors\n"
         << outcome.Errors.toStdString() << "---";
}

QString ScriptProgram()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/velsqlscript");
}

ScriptProcess::ScriptProcess(const QStringList& arguments, const QByteArray& script)
{
    m_Process.start(ScriptProgram(), arguments);
    m_Process.write(script);
    m_Process.closeWriteChannel();
    m_Process.waitForStarted();
}

ScriptProcess::~ScriptProcess()
{
    m_Process.kill();
    m_Process.waitForFinished();
}

QString ScriptProcess::ReadLine()
{
    while (!m_Process.canReadLine()) {
        if (!m_Process.waitForReadyRead(PatienceMs)) return {};
    }
    return QString::fromUtf8(m_Process.readLine()).trimmed();
}

Outcome ScriptProcess::Finish()
{
    m_Process.waitForFinished(PatienceMs);
    const bool crashed = m_Process.exitStatus() == QProcess::CrashExit;
    return {QString::fromUtf8(m_Process.readAllStandardOutput()), QString::fromUtf8(m_Process.readAllStandardError()),
            crashed ? -m_Process.exitCode() : m_Process.exitCode()};
}

Outcome RunScript(const QByteArray& script, const QStringList& options)
{
    return ScriptProcess(options + QStringList{QStringLiteral("--title"), QStringLiteral("t"), QStringLiteral("-")},
                         script)
        .Finish();
}

Outcome RunFile(const QString& path, const QStringList& options)
{
    return ScriptProcess(options + QStringList(path), {}).Finish();
}
