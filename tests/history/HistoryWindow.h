#pragma once

#include "history/frmHistory.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/WindowTest.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>

inline const QStringList SuccessLog = {u"Calling History:Execute..."_s, u"Succeeded."_s};

/// A console whose history window is open; statements are answered by a script.
class HistoryWindow : public WindowTest<frmHistory>
{
protected:
    HistoryWindow()
    {
        modMain::History = modMain::Engine->get_History();
        m_Main.Widget()->show();
        m_Form = ChildWindow::Open<frmHistory>(modMain::HistoryNode);
        m_Form->ShowForm();
        QGuiApplication::clipboard()->setText(u"before"_s);
    }
    ~HistoryWindow() override { delete m_Form; } // before the script that its results look at

    /// Types a statement and presses Execute; the script answers. What it logs; failed or not, all is ready then.
    QStringList Execute(const QString& statement = u"x"_s)
    {
        TakeLog(), TakeCalls();
        m_Server.m_History.Result = std::make_shared<ScriptedResult>(m_Script);
        Statement().SetText(statement);
        Press("cmdExecute");
        m_Server.m_History.Result.reset();
        EXPECT_TRUE(IsEnabled("cmdExecute") && !QGuiApplication::overrideCursor());
        EXPECT_EQ(m_Main.Status(), u"Ready.");
        return TakeLog();
    }
    QStringList TakeLog()
    {
        QCoreApplication::processEvents(); // what painting has to say comes afterwards
        return WindowTest::TakeLog();
    }

    StatementEdit& Statement() { return Control<StatementEdit>("txtExecute"); }
    StatementList& Statements() { return Control<StatementList>("cmbSQLCommand"); }
    ResultGrid& Grid() { return Control<ResultGrid>("grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    QString RowsText() { return Control<QLabel>("lblRows").text(); }
    /// Ctrl+C, with more keys held down.
    QString CopyByKey(Qt::KeyboardModifiers more = {})
    {
        QTest::keyClick(&Grid(), Qt::Key_C, Qt::ControlModifier | more);
        return Clipboard();
    }
    struct Cells
    {
        int Top, Left, Bottom, Right;
    };
    void Select(const Cells& cells, bool adds = false)
    {
        Grid().selectionModel()->select(
            {Model().index(cells.Top, cells.Left), Model().index(cells.Bottom, cells.Right)},
            adds ? QItemSelectionModel::Select : QItemSelectionModel::ClearAndSelect);
    }
    QString CopyOf(const Cells& cells, Qt::KeyboardModifiers more = {}) { return Select(cells), CopyByKey(more); }
    static QString Clipboard() { return QGuiApplication::clipboard()->text(); }
    /// The cells of a row, once they were painted, between semicolons; of the header for row -1.
    QString Row(int row)
    {
        Grid().viewport()->repaint();
        QStringList texts;
        for (int column = 0; column < Model().columnCount(); ++column)
            texts << (row < 0 ? Model().headerData(column, Qt::Horizontal) : Model().index(row, column).data())
                         .toString();
        return texts.join(u';');
    }
    /// Results and pages.
    long Living() const { return m_Script.Life.use_count() - 1; }

    ResultScript m_Script;
};
