#include "tests/history/HistoryWindow.h"

HistoryWindow::HistoryWindow()
{
    modMain::History = modMain::Engine->get_History();
    m_Main.Widget()->show();
    m_Form = ChildWindow::Open<frmHistory>(modMain::HistoryNode);
    m_Form->ShowForm();
    QGuiApplication::clipboard()->setText(u"before"_s);
}

QStringList HistoryWindow::Execute(const QString& statement)
{
    TakeLog();
    TakeCalls();
    m_Server.m_History.Result = std::make_shared<ScriptedResult>(m_Script);
    Statement().SetText(statement);
    Press("cmdExecute");
    m_Server.m_History.Result.reset();
    return TakeLog();
}

QStringList HistoryWindow::Row(int row)
{
    Grid().viewport()->repaint();
    QStringList texts;
    for (int column = 0; column < Model().columnCount(); ++column)
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

QStringList HistoryWindow::TakeLog()
{
    QCoreApplication::processEvents(); // what painting has to say comes afterwards
    return WindowTest::TakeLog();
}
