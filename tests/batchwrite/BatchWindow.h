#pragma once

#include "batchwrite/frmBatchWrite.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// The batch-write window for controller PLC1, and files for it.
class BatchWindow : public ::testing::Test
{
protected:
    BatchWindow();

    template <typename T = QPushButton>
    T& Control(const char* name)
    {
        return *m_Form->findChild<T*>(QString::fromLatin1(name));
    }
    QLineEdit& Filename() { return Control<QLineEdit>("txtFilename"); }
    /// Writes the file and enters its name.
    void EnterFile(const QByteArray& content);
    /// Presses "Start" and returns when the run is over.
    void Run() { Control("cmdStart").click(); }
    /// Runs once, when events are let run next.
    template <typename Action>
    void BetweenLines(Action action)
    {
        QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
    }

    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeLog();
    /// What one line of the file costs when all is well.
    static QStringList LineLog(const QString& name);

    QTemporaryDir m_Folder;
    FakeServer m_Server;
    std::unique_ptr<FakeMainWindow> m_Main = std::make_unique<FakeMainWindow>();
    QPointer<frmBatchWrite> m_Form;
};
