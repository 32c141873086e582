#pragma once

#include "scripttool/ScriptProcess.h"
#include "ui_frmScriptTool.h"

#include <QElapsedTimer>
#include <QTimer>

/// The window of the script tool: an editor, and the output of the script. It is a top-level window beside the main
/// window; "C&lose All" closes only the console's own windows, not this one. Closing its frame only hides it: its text
/// stays, and a running script continues, like a batch in a hidden window.
class frmScriptTool : public QWidget, private Ui::frmScriptTool
{
    Q_OBJECT

public:
    explicit frmScriptTool(const QString& program);

    /// Brings the window up: visible, in front, active.
    void ShowForm();
    /// The names under which scripts know the engine, from the next run on.
    void SetNames(const QStringList& names) { m_Names = names; }
    QString Script() const { return txtScript->Script(); }
    void SetScript(const QString& script) { txtScript->SetScript(script); }

private:
    void LayPanes();
    void ConnectCommands();
    void ConnectKeys();

    void cmdRun_Click();
    void cmdStop_Click();
    void txtOutput_LineChosen(const QString& line);

    void ShowMissingProgram();
    QString Program() const;
    QStringList Arguments() const;
    void Process_Printed(ScriptProcess::Channel channel, const QString& text);
    void Process_Ended(const QString& how);
    void ShowRunning(bool running);
    void ShowSeconds();
    void MarkFirstError();

    QString m_Program;
    QStringList m_Names;
    ScriptProcess* m_Process = nullptr;
    QElapsedTimer m_Running;
    QTimer m_Seconds;
    /// The end of the error output so far, until an error with a line number has been marked.
    QString m_Errors;
    bool m_ErrorMarked = false;
};
