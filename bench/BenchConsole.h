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
    explicit BenchConsole(const QStringList& itemNames = {}, const std::function<void()>& beforeStart = {});

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

    RealServer m_Server;
    RemoteLibrary m_Library{m_Server.SocketPath(), QString()};
    Platform m_Platform;
    ConsoleServices m_Services{m_Library, m_Platform};
    Window m_MainWindow{m_Services};
};
