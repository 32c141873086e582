#pragma once

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

    /// From now on these shell commands are what runs scripts.
    void RunBy(const QByteArray& commands);
    /// Presses "Run" and returns when the run has ended; the status line.
    QString Run();
    void Start() { Control("cmdRun").click(); }
    /// Presses "Stop" and returns when the run has ended; the status line.
    QString Stop();
    QString WaitForEnd();
    /// The number that the program writes to the file "pid" in its folder.
    int Pid();
    /// Whether a process is there; one that waits to be collected is not.
    static bool Lives(int pid);

    QTemporaryDir m_Folder;
    std::unique_ptr<ScriptTool> m_Tool;
    QPointer<QWidget> m_Window;
};
