#pragma once

#include "core/ConsoleServices.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <functional>

/// A console without menus on a bundled server of its own: what a benchmark of a single window needs around it.
class BenchConsole
{
public:
    /// The tree has the controller "PLC1" with these items. `beforeStart` finds the server's folders and no server yet.
    /// The server is `oneWayMs` away, each way.
    explicit BenchConsole(const QStringList& itemNames = {}, const std::function<void()>& beforeStart = {},
                          int oneWayMs = 0);
    ~BenchConsole();

    /// Without a delay.
    QString ServerSocketPath() const { return m_Server.SocketPath(); }
    qint64 ServerProcess() const { return m_Server.ProcessId(); }

    qint64 ServerProcessId() const { return m_Server.ProcessId(); }
    QWidget* Widget() { return m_MainWindow.Widget(); }
    LogPane& Log() { return m_MainWindow.Log(); }
    static TreeNodeRef ControllerNode();
    static ControllerRef Controller();
    /// Of PLC1.
    static ItemRef Item(const QString& name);

private:
    /// Paints what the real one paints; keeps no history of the status line.
    class Window : public FakeMainWindow
    {
    public:
        using FakeMainWindow::FakeMainWindow;
        void SetStatusText(const QString& text) override { m_Status = text; }
        void PaintProgress() override
        {
            Log().ShowAppended();
            Log().viewport()->repaint();
        }

    private:
        QString m_Status;
    };

    void StartRelay(int oneWayMs);

    RealServer m_Server;
    QProcess m_Relay;
    RemoteLibrary m_Library;
    Platform m_Platform;
    ConsoleServices m_Services{m_Library, m_Platform};
    Window m_MainWindow{m_Services};
};
