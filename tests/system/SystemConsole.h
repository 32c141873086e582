#pragma once

#include "core/ListBox.h"
#include "core/PropertyGrid.h"
#include "item/frmItem.h"
#include "mainwindow/frmMDI.h"
#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

/// The real console on the real server, both on the demo plant; message boxes are answered with OK and kept.
class SystemConsole : public ::testing::Test
{
protected:
    SystemConsole();
    ~SystemConsole() override;

    /// Runs the start routine; `serverProgram` is what the console may start when no server runs.
    void StartConsoleWith(const QString& serverProgram);
    /// A running server and a console on it.
    void StartBoth();

    template <typename T>
    T& Control(QObject& window, const char* name)
    {
        return *window.findChild<T*>(QString::fromLatin1(name));
    }
    TreeNodeRef Node(QStringView key) { return m_Main->Tree().FindByKey(key); }
    /// Double-clicks the node; the window that belongs to it.
    ChildWindow& Show(QStringView key);
    frmItem& ShowItem(QStringView key) { return dynamic_cast<frmItem&>(Show(key)); }

    static void Choose(ListBox& list, const QString& entry) { list.SetListIndex(list.findText(entry)); }
    void Press(QObject& window, const char* button) { Control<QPushButton>(window, button).click(); }
    QString Cell(QObject& window, const QString& caption);
    QString Panel(int number);
    /// The script tool's window, opened by its menu entry.
    QWidget& OpenScriptTool();
    /// The script processes that this program has started and that are still there.
    static int ScriptProcesses();
    /// The log since the last call, without line numbers.
    QStringList TakeLog();

    RealServer m_Server;
    std::unique_ptr<RemoteLibrary> m_Library;
    std::unique_ptr<frmMDI> m_Main;
    QStringList m_Boxes;
};
