#pragma once

#include "history/frmHistory.h"
#include "tests/history/ScriptedResult.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// A console whose history window is open; statements are answered by a script.
class HistoryWindow : public ::testing::Test
{
protected:
    HistoryWindow();

    /// Loads and shows the window and forgets the calls that it took.
    frmHistory& Open();
    /// Types a statement and presses Execute; the script answers.
    void Execute(const QString& statement);

    template <typename T>
    T& Control(const char* name)
    {
        return *m_Form->findChild<T*>(QString::fromLatin1(name));
    }
    StatementEdit& Statement() { return Control<StatementEdit>("txtExecute"); }
    StatementList& List() { return Control<StatementList>("cmbSQLCommand"); }
    ResultGrid& Grid() { return Control<ResultGrid>("grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    QString RowsText() { return Control<QLabel>("lblRows").text(); }
    void Press(const char* name) { Control<QPushButton>(name).click(); }

    /// The texts of the first cells of a row, once they were painted.
    QStringList Row(int row);
    QStringList Header();
    QStringList ListTexts();
    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeLog();

    FakeServer m_Server;
    FakeMainWindow m_Main;
    ScriptedResult::Script m_Script;
    QPointer<frmHistory> m_Form;
};
