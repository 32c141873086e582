#pragma once

#include "scripttool/CodeEditor.h"
#include "scripttool/OutputPane.h"
#include "scripttool/ScriptTool.h"
#include "tests/support/WindowTest.h"

#include <QApplication>
#include <QLabel>
#include <QTemporaryDir>

/// The script tool's window, shown; scripts are run by a shell program that the test writes.
class ScriptWindow : public WindowTest<QWidget>
{
protected:
    ScriptWindow() { Show(); }

    /// Returns when the tool's window is active.
    void Show()
    {
        m_Tool->Show();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == u"frmScriptTool") m_Form = window;
        }
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_Form, 20'000));
    }
    CodeEditor& Editor() { return Control<CodeEditor>("txtScript"); }
    OutputPane& Output() { return Control<OutputPane>("txtOutput"); }
    QString Status() { return Control<QLabel>("lblStatus").text(); }
    /// All that the output pane shows, long lines in one piece.
    QString Printed() { return Output().TextBetween(0, Output().document()->characterCount() - 1); }

    /// Runs the script by its key, with these shell commands as the program that runs scripts.
    void Start(const QByteArray& commands)
    {
        QFile::remove(m_Folder.filePath(u"pid"_s));
        QFile file(m_Folder.filePath(u"program"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\ncd " + QFile::encodeName(m_Folder.path()) + "\n" + commands + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        file.close();
        QTest::keyClick(&Editor(), Qt::Key_F5);
    }
    /// Returns when the run has ended; the status line.
    QString End()
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return IsEnabled("cmdRun"); }, 10'000));
        return Status();
    }
    QString Run(const QByteArray& commands) { return Start(commands), End(); }
    QString Stop() { return QTest::keyClick(&Editor(), Qt::Key_F5, Qt::ShiftModifier), End(); }

    QTemporaryDir m_Folder;
    std::unique_ptr<ScriptTool> m_Tool = std::make_unique<ScriptTool>(m_Folder.filePath(u"program"_s));
};
