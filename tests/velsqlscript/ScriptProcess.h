#pragma once

#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

inline QString ScriptProgram()
{
    return QCoreApplication::applicationDirPath() + u"/velsqlscript"_s;
}

/// velsqlscript running; killed with this object.
class ScriptProcess : public QProcess
{
public:
    /// `script` is its standard input.
    explicit ScriptProcess(const QByteArray& script, const QStringList& arguments = QStringList(u"-"_s))
    {
        start(ScriptProgram(), arguments);
        write(script);
        closeWriteChannel();
    }
    ~ScriptProcess() override
    {
        kill();
        waitForFinished();
    }

    /// The next line of its output, without its end; empty when none comes within 30 seconds.
    QString ReadLine()
    {
        while (!canReadLine() && waitForReadyRead(30'000)) continue;
        return QString::fromUtf8(readLine()).trimmed();
    }
    /// What it leaves behind when it has ended: its output, "!" and its errors, the exit code or "signal 9" in
    /// brackets.
    QString Finish()
    {
        waitForFinished();
        const QByteArray output = readAllStandardOutput();
        const QByteArray errors = readAllStandardError();
        const QString code = exitStatus() == CrashExit ? u"(signal %1)"_s : u"(%1)"_s;
        return QString::fromUtf8(output + (errors.isEmpty() ? "" : "!" + errors)) +
               (exitCode() == 0 ? QString() : code.arg(exitCode()));
    }
};

/// From standard input, as "t"; what it leaves behind.
inline QString RunScript(const QByteArray& script, const QStringList& options = {})
{
    return ScriptProcess(script, options + QStringList{u"--title"_s, u"t"_s, u"-"_s}).Finish();
}

inline QString Manual()
{
    QFile file(QStringLiteral(VELSQL_DOCS "/scripting.md"));
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    return QString::fromUtf8(file.readAll());
}
