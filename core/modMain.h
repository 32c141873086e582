#pragma once

#include "core/automation/Errors.h"
#include "core/automation/ServerObjects.h"
#include "core/MainWindow.h"

#include <QPointer>

#include <concepts>
#include <functional>

class Platform;

/// The application-wide state and the routines that every window uses around its server calls.
namespace modMain {

/// The one engine that every window talks to; empty until the tree is built and again after shut-down.
extern EngineRef Engine;
extern HistoryRef History;
extern TreeNodeRef EngineNode;
extern TreeNodeRef HistoryNode;
extern ScriptHostRef ScriptTool;
/// Number of the next log line; only ever increases.
extern qint32 LogLineCount;
/// Target of cut, copy and paste: a QLineEdit or QPlainTextEdit, or null.
extern QPointer<QWidget> ActiveEditBox;

/// Set by the main window while it exists.
void SetMainWindow(MainWindow* mainWindow);
MainWindow* GetMainWindow();
/// The main window's platform; the real system while there is no main window.
Platform& GetPlatform();
/// Restores the state before start-up: line 0, no edit box, no server objects. The main window stays.
void Reset();

/// Appends one numbered line to the log and sets the status line to "Ready.". Never fails: when the pane cannot take
/// the line, pane and counter stay unchanged and the status line shows "Log buffer overflow.".
void AddLog(const QString& message);
/// Like AddLog; the line stands out as an error.
void LogError(const QString& description);
/// Panel 1 of the status bar.
void SetStatus(const QString& text);
/// Logs the description of the exception being handled, unchanged; only inside a catch block.
void LogErrorDescription();

/// Logs "Calling <object>:<operation>..." and shows "<operation>..." in the status line. Both are painted before the
/// call blocks, unless the last painting was less than 16 ms ago; a call that lasts about 30 ms then paints them.
void Announce(QStringView object, QStringView operation);
/// Paints recent changes of log and status line without running the event loop. For long calls.
void PaintProgress();

/// Runs an operator's command, a member function with its object; any exception becomes one log line. Returns true when
/// nothing was thrown.
template <typename Command, typename... Arguments>
    requires std::invocable<Command, Arguments...>
bool ReportErrors(Command&& command, Arguments&&... arguments)
{
    try {
        std::invoke(std::forward<Command>(command), std::forward<Arguments>(arguments)...);
        return true;
    } catch (...) {
        LogErrorDescription();
        return false;
    }
}

/// A whole plain command of the operator: announces it, calls, and logs "Succeeded."; any exception becomes one log
/// line. The call may be an object's operation: CallServer(u"Engine", u"Start", &VelSQLEngine::Start, Engine). Returns
/// true when nothing was thrown.
template <typename Call, typename... Arguments>
    requires std::invocable<Call, Arguments...>
bool CallServer(QStringView object, QStringView operation, Call&& call, Arguments&&... arguments)
{
    try {
        Announce(object, operation);
        std::invoke(std::forward<Call>(call), std::forward<Arguments>(arguments)...);
        AddLog(QStringLiteral("Succeeded."));
        return true;
    } catch (...) {
        LogErrorDescription();
        return false;
    }
}

} // namespace modMain
