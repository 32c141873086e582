#pragma once

#include "batchwrite/frmBatchWrite.h"
#include "tests/support/WindowTest.h"

#include <QTemporaryDir>

/// The batch-write window for controller PLC1, and files for it.
class BatchWindow : public WindowTest<frmBatchWrite>
{
protected:
    BatchWindow()
    {
        m_Form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
        m_Form->SetTargetController(u"PLC1"_s);
    }

    /// Writes the file and enters its name.
    void EnterFile(const QByteArray& content)
    {
        QFile file(m_Folder.filePath(u"list.txt"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        Type("txtFilename", file.fileName());
    }
    /// Five lines for D100.
    void EnterFiveLines() { EnterFile(QByteArray("D100,3,1\n").repeated(5)); }
    /// Presses "Start" and returns when the run is over.
    void Run() { Press("cmdStart"); }
    /// Runs once, when events are let run next.
    template <typename Action>
    void BetweenLines(Action action)
    {
        QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
    }
    /// What lines of the file for this item cost when all is well.
    static QStringList LineLog(const QString& item, int lines = 1)
    {
        QStringList log;
        for (int line = 0; line < lines; ++line) log << u"Calling Item(%1):put_Value..."_s.arg(item) << u"Succeeded."_s;
        return log;
    }

    QTemporaryDir m_Folder;
};
