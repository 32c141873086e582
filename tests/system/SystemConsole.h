#pragma once

#include "core/ChildWindow.h"
#include "core/ListBox.h"
#include "core/PropertyGrid.h"
#include "mainwindow/frmMDI.h"
#include "tests/support/ConsoleTest.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <concepts>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

inline const QString PLC1 = u"VelSQLEngine\\PLC1"_s;
inline const QString D100 = PLC1 + u"\\D100"_s;
/// How a call ends that was under way when the server died, and one that a hanging server does not answer.
inline const QString Lost = u"The connection to the server was lost; the call may still have taken effect."_s;
inline const QString GivenUp = u"The server does not answer; the call was given up and may still take effect."_s;

/// The real console on the real server, both on the demo plant; message boxes are answered with Yes and kept.
class SystemConsole : public ConsoleTest
{
protected:
    SystemConsole() { m_Answer = QMessageBox::Yes; }

    QObject* Window() override { return m_Main.get(); }

    /// Runs the start routine; `serverProgram` is what the console may start when no server runs.
    void StartConsoleWith(const QString& serverProgram);
    /// A running server and a console on it.
    void StartBoth();

    QAction& Entry(const char* name) { return Control<QAction>(*m_Main, name); }
    TreeNodeRef Node(QStringView key) { return m_Main->Tree().FindByKey(key); }
    /// Double-clicks the node; the window that belongs to it.
    ChildWindow& Show(QStringView key);
    /// The windows of the node and of all below it; how many they are.
    qsizetype OpenEveryWindow(const TreeNodeRef& node);
    /// An entry of the pop-up menu of the node.
    void ChooseInPopup(QStringView key, const char* entry);
    /// The batch window of the controller with a file of such content.
    ChildWindow& OpenBatch(const QByteArray& content, QStringView controller = PLC1);
    /// The script tool's window, opened by its menu entry, in which the script now runs.
    QWidget& RunScript(const QString& script);
    /// The guide's window, opened by its key where no browser is.
    QWidget& OpenGuide();
    bool WaitForScript(const QWidget& window);
    /// The history window, in which the statement was executed.
    ChildWindow& Query(const QString& statement);
    /// Hands the modal dialog that `open` brings up to `use`, and closes it when `use` has not.
    template <typename Dialog, std::invocable Open, std::invocable<Dialog&> Use>
    void InDialog(Open&& open, Use&& use)
    {
        bool used = false;
        After(0, [&] {
            const QPointer<Dialog> dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog);
            use(*dialog);
            if (dialog && dialog->isVisible()) dialog->reject();
            used = true;
        });
        open();
        EXPECT_TRUE(used);
    }

    template <std::invocable Action>
    void After(int milliseconds, Action action)
    {
        QTimer::singleShot(milliseconds, m_Main.get(), action);
    }

    QString Cell(QObject& window, const QString& caption);
    bool WaitForCell(QObject& window, const QString& caption, const QString& text);
    /// The panels of the status line.
    QStringList Panels();
    /// What the log tells about a call that succeeds.
    static QStringList Called(const QString& operation) { return {u"Calling %1..."_s.arg(operation), u"Succeeded."_s}; }

    /// What the server answers to a command that this console sends.
    static QString Ask(const QString& command);
    /// Whether the server comes to hold nothing for anybody.
    bool WaitUntilNothingIsHeld();
    /// An item of PLC1 behind the console's back.
    static ItemRef Item(const QString& name);
    /// The script processes that this program has started and that are still there.
    static int ScriptProcesses();

    RealServer m_Server;
    std::unique_ptr<RemoteLibrary> m_Library;
    std::unique_ptr<ConsoleServices> m_Services;
    std::unique_ptr<frmMDI> m_Main;

private:
    static QWidget& TopLevel(const QString& name);
    QString Describe(const QMessageBox& box) const override { return box.text(); }

    std::optional<QTemporaryFile> m_BatchFile;
};
