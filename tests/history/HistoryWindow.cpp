#include "tests/history/HistoryWindow.h"

HistoryWindow::HistoryWindow()
{
    modMain::History = modMain::Engine->get_History();
}

frmHistory& HistoryWindow::Open()
{
    m_Main.Widget()->show();
    m_Form = ChildWindow::Open<frmHistory>(modMain::HistoryNode);
    m_Form->ShowForm();
    TakeCalls();
    return *m_Form;
}

void HistoryWindow::Execute(const QString& statement)
{
    m_Server.m_History.Result = std::make_shared<ScriptedResult>(m_Script);
    Statement().SetText(statement);
    Press("cmdExecute");
    m_Server.m_History.Result.reset();
}

QStringList HistoryWindow::Row(int row)
{
    Grid().viewport()->repaint();
    QStringList texts;
    for (int column = 0; column < std::min(Model().columnCount(), 8); ++column)
        texts << Model().index(row, column).data().toString();
    return texts;
}

QStringList HistoryWindow::Header()
{
    QStringList names;
    for (int column = 0; column < Model().columnCount(); ++column)
        names << Model().headerData(column, Qt::Horizontal).toString();
    return names;
}

QStringList HistoryWindow::ListTexts()
{
    QStringList texts;
    for (int i = 0; i < Statements().ListCount(); ++i) texts << Statements().List(i);
    return texts;
}

QStringList HistoryWindow::TakeLog()
{
    QCoreApplication::processEvents(); // what painting has to say comes afterwards
    return WindowTest::TakeLog();
}
