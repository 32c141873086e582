#pragma once

#include "core/automation/Errors.h"
#include "scripttool/CodeEditor.h"
#include "scripttool/OutputPane.h"
#include "scripttool/ScriptTool.h"
#include "tests/support/PrintQt.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// The script tool's window, shown; scripts are run by a shell program that the test writes.
class ScriptWindow : public ::testing::Test
{
protected:
    ScriptWindow();

    template <typename T = QPushButton>
    T& Control(const char* name)
    {
        return *m_Window->findChild<T*>(QString::fromLatin1(name));
    }
    CodeEditor& Editor() { return Control<CodeEditor>("txtScript"); }
    OutputPane& Output() { return Control<OutputPane>("txtOutput"); }
    QString Status() { return Control<QLabel>("lblStatus").text(); }
    /// All that the output pane shows, long lines in one piece.
    QString Printed() { return Output().TextBetween(0, Output().document()->characterCount() - 1); }

    /// Presses "Run", with these shell commands as the program that runs scripts.
    void Start(const QByteArray& commands);
    /// Starts and returns when the run has ended; the status line.
    QString Run(const QByteArray& commands);
    /// Presses "Stop" and returns when the run has ended; the status line.
    QString Stop();
    /// The process that wrote its number to the file "pid" in its folder.
    int Pid();
    /// Whether a process is there; one that waits to be collected is not.
    static bool Lives(int pid);

    QTemporaryDir m_Folder;
    std::unique_ptr<ScriptTool> m_Tool = std::make_unique<ScriptTool>(m_Folder.filePath(u"program"_s));
    QPointer<QWidget> m_Window;
};
