#include "core/modMain.h"

#include "core/ConsoleServices.h"
#include "core/LogPane.h"

#include <QElapsedTimer>
#include <QStringBuilder>

#include <limits>

namespace modMain {

EngineRef Engine;
HistoryRef History;
TreeNodeRef EngineNode;
TreeNodeRef HistoryNode;
ScriptHostRef ScriptTool;
qint32 LogLineCount = 0;
QPointer<QWidget> ActiveEditBox;

namespace {

MainWindow* g_MainWindow = nullptr;
QElapsedTimer g_SincePainted;
bool g_IsPainted = true;

void AppendLine(const QString& message, LogPane::Kind kind)
{
    if (LogLineCount == std::numeric_limits<qint32>::max()) throw ValueError::Overflow();
    g_IsPainted = false;
    g_MainWindow->Log().Append(QString::number(LogLineCount) % u" : " % message % u"\r\n", kind);
    ++LogLineCount;
}

void Add(const QString& message, LogPane::Kind kind)
{
    if (!g_MainWindow) return;
    try {
        AppendLine(message, kind);
    } catch (...) {
        SetStatus(QStringLiteral("Log buffer overflow."));
        return;
    }
    SetStatus(QStringLiteral("Ready."));
}

} // namespace

void SetMainWindow(MainWindow* mainWindow)
{
    g_MainWindow = mainWindow;
    g_SincePainted.invalidate();
}

MainWindow* GetMainWindow()
{
    return g_MainWindow;
}

Platform& GetPlatform()
{
    static Platform own;
    return g_MainWindow ? g_MainWindow->Services().System : own;
}

void Reset()
{
    LogLineCount = 0;
    ActiveEditBox = nullptr;
    ScriptTool.reset();
    History.reset();
    Engine.reset();
    HistoryNode.reset();
    EngineNode.reset();
}

void AddLog(const QString& message)
{
    Add(message, LogPane::Kind::Output);
}

void LogError(const QString& description)
{
    Add(description, LogPane::Kind::Error);
}

void SetStatus(const QString& text)
{
    if (!g_MainWindow) return;
    g_IsPainted = false;
    g_MainWindow->SetStatusText(text);
}

void LogErrorDescription()
{
    LogError(CurrentErrorDescription());
}

void Announce(QStringView object, QStringView operation)
{
    AddLog(u"Calling " % object % u':' % operation % u"...");
    SetStatus(operation % u"...");
    // The operator must see what is being called even when the call blocks; painting more often than once a frame is
    // wasted.
    if (!g_SincePainted.isValid() || g_SincePainted.elapsed() >= FrameMs) PaintProgress();
}

void PaintProgress()
{
    if (!g_MainWindow || std::exchange(g_IsPainted, true)) return;
    g_MainWindow->PaintProgress();
    g_SincePainted.start();
}

} // namespace modMain
