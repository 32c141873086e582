#include "tests/batchwrite/BatchWindow.h"

#include "core/modFields.h"
#include "core/modMain.h"

BatchWindow::BatchWindow()
{
    modMain::Engine = m_Server.CreateEngine();
    m_Form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
    m_Form->SetTargetController(u"PLC1"_s);
    m_Server.m_Calls.clear();
}

void BatchWindow::EnterFile(const QByteArray& content)
{
    QFile file(m_Folder.filePath(u"list.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    Filename().setText(file.fileName());
}

QStringList BatchWindow::TakeLog()
{
    const QStringList messages = m_Main->LogMessages();
    modMain::ClearTextBox(&m_Main->Log());
    return messages;
}

QStringList BatchWindow::LineLog(const QString& name)
{
    return {u"Calling Item(%1):put_Value..."_s.arg(name), u"Succeeded."_s};
}
