#pragma once

#include "core/modAPI.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// The dialog on item D100 of PLC1; ticks, time, priority, debug strings and message boxes are the test's own.
class PerfChkDialog : public ::testing::Test, private modAPI::Platform
{
protected:
    PerfChkDialog();
    ~PerfChkDialog() override;

    FakeServer::Item& Item() { return m_Server.FindItem(u"PLC1"_s, u"D100"_s); }
    template <typename T>
    T& Control(const QString& name)
    {
        return *m_Form->findChild<T*>(name);
    }
    QLineEdit& Field(const char* name) { return Control<QLineEdit>(QString::fromLatin1(name)); }
    QPushButton& Button(const char* name) { return Control<QPushButton>(QString::fromLatin1(name)); }
    void ChoosePattern(int index) { Control<QAbstractButton>(u"optPattern_%1"_s.arg(index)).setChecked(true); }
    void ChooseMode(int index) { Control<QAbstractButton>(u"optReadWrite_%1"_s.arg(index)).setChecked(true); }
    void Tick(const QString& name) { Control<QAbstractButton>(name).setChecked(true); }
    void ChooseType(const QString& caption);
    /// Runs once when events are let run next.
    template <typename Action>
    void InTheCycle(Action action)
    {
        QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
    }
    /// Presses "Start" and returns when the run is over.
    void Run() { Button("cmdStart").click(); }

    /// The names of all controls that the operator can use now.
    QStringList Enabled();
    /// The result list, cells separated by "|".
    QStringList Rows();
    /// The calls since the last time, without the item's name: "get_Value()".
    QStringList TakeCalls();

    FakeServer m_Server;
    std::unique_ptr<FakeMainWindow> m_Main = std::make_unique<FakeMainWindow>();
    /// What the tick counter says, one reading after the other; then it stands still.
    QList<quint32> m_Ticks = {1000};
    QList<quint32> m_Priorities;
    QStringList m_DebugStrings;
    QStringList m_Boxes;
    QPointer<frmPerfChk> m_Form;

private:
    quint32 GetTickCount() override { return m_Ticks.size() > 1 ? m_Ticks.takeFirst() : m_Ticks.constFirst(); }
    QDateTime GetLocalTime() override { return QDateTime({2024, 3, 7}, {14, 5, 9, 42}); }
    void SetPriorityClass(quint32 priorityClass) override { m_Priorities << priorityClass; }
    void OutputDebugString(const QString& text) override { m_DebugStrings << text; }
};
