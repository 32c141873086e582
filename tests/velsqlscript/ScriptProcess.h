#pragma once

#include "tests/support/PrintQt.h"

#include <QProcess>

/// What a script process left behind.
struct Outcome
{
    QString Output;
    QString Errors;
    int Code = 0; ///< the signal's number, negative, when it was ended by one
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

QString ScriptProgram();

/// velsqlscript running; killed with this object.
class ScriptProcess
{
public:
    /// `script` is its standard input.
    ScriptProcess(const QStringList& arguments, const QByteArray& script);
    ~ScriptProcess();

    /// The next line of its output, without its end; empty when none comes within 20 seconds.
    QString ReadLine();
    void Terminate() { m_Process.terminate(); }
    /// Waits for its end.
    Outcome Finish();

private:
    QProcess m_Process;
};

/// From standard input, as "t".
Outcome RunScript(const QByteArray& script, const QStringList& options = {});
Outcome RunFile(const QString& path, const QStringList& options = {});
