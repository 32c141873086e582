#pragma once

#include "history/frmHistory.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/WindowTest.h"

#include <QLabel>

/// A console whose history window is open; statements are answered by a script.
class HistoryWindow : public WindowTest<frmHistory>
{
protected:
    HistoryWindow();
    ~HistoryWindow() override { delete m_Form; } // before the script that its results look at

    /// Loads and shows the window and forgets the calls that it took.
    frmHistory& Open();
    /// Types a statement and presses Execute; the script answers.
    void Execute(const QString& statement);

    StatementEdit& Statement() { return Control<StatementEdit>("txtExecute"); }
    StatementList& Statements() { return Control<StatementList>("cmbSQLCommand"); }
    ResultGrid& Grid() { return Control<ResultGrid>("grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    QString RowsText() { return Control<QLabel>("lblRows").text(); }

    /// The texts of the first cells of a row, once they were painted.
    QStringList Row(int row);
    QStringList Header();
    QStringList ListTexts();
    QStringList TakeLog();

    ScriptedResult::Script m_Script;
};
