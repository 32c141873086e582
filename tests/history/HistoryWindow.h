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
    HistoryWindow();
    ~HistoryWindow() override { delete m_Form; } // before the script that its results look at

    /// Types a statement and presses Execute; the script answers. What it logs.
    QStringList Execute(const QString& statement);

    StatementEdit& Statement() { return Control<StatementEdit>("txtExecute"); }
    StatementList& Statements() { return Control<StatementList>("cmbSQLCommand"); }
    ResultGrid& Grid() { return Control<ResultGrid>("grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    QString RowsText() { return Control<QLabel>("lblRows").text(); }
    static QString Clipboard() { return QGuiApplication::clipboard()->text(); }

    /// The texts of the cells of a row, once they were painted.
    QStringList Row(int row);
    QStringList Header();
    QStringList TakeLog();

    ScriptedResult::Script m_Script;
};
