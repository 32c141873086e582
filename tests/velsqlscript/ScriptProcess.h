#pragma once

#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"

#include <QCoreApplication>
#include <QProcess>

using namespace Qt::StringLiterals;

inline QString ScriptProgram()
{
    return QCoreApplication::applicationDirPath() + u"/velsqlscript"_s;
}

/// velsqlscript running; killed with this object.
class ScriptProcess
{
public:
    /// `script` is its standard input.
    explicit ScriptProcess(const QByteArray& script, const QStringList& arguments = QStringList(u"-"_s))
    {
        m_Process.start(ScriptProgram(), arguments);
        m_Process.write(script);
        m_Process.closeWriteChannel();
    }
    ~ScriptProcess()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    void Terminate() { m_Process.terminate(); }
    /// The next line of its output, without its end; empty when none comes within 30 seconds.
    QString ReadLine()
    {
        while (!m_Process.canReadLine()) {
            if (!m_Process.waitForReadyRead(30'000)) return {};
        }
        return QString::fromUtf8(m_Process.readLine()).trimmed();
    }
    /// What it leaves behind when it has ended: its output, "!" and its errors, the exit code or "signal 9" in brackets.
    QString Finish()
    {
        m_Process.waitForFinished();
        const QByteArray errors = m_Process.readAllStandardError();
        QString left = QString::fromUtf8(m_Process.readAllStandardOutput() + (errors.isEmpty() ? "" : "!" + errors));
        const bool crashed = m_Process.exitStatus() == QProcess::CrashExit;
        if (m_Process.exitCode() != 0) left += (crashed ? u"(signal %1)"_s : u"(%1)"_s).arg(m_Process.exitCode());
        return left;
    }

private:
    QProcess m_Process;
};

/// From standard input, as "t"; what it leaves behind.
inline QString RunScript(const QByteArray& script, const QStringList& options = {})
{
    return ScriptProcess(script, options + QStringList{u"--title"_s, u"t"_s, u"-"_s}).Finish();
}
