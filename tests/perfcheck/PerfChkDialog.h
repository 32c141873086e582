#pragma once

#include "core/modAPI.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/support/WindowTest.h"

/// The dialog on item D100 of PLC1; ticks, time, priority and debug strings are the test's own.
class PerfChkDialog : public WindowTest<frmPerfChk>, private modAPI::Platform
{
protected:
    PerfChkDialog()
    {
        modAPI::Replace(this);
        m_Form = new frmPerfChk(m_Main.Widget());
        m_Form->m_csItem = modMain::Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
        WindowTest::TakeCalls();
    }
    ~PerfChkDialog() override
    {
        delete m_Form.data();
        modAPI::Replace(nullptr);
    }

    FakeServer::Item& Item() { return m_Server.FindItem(u"PLC1"_s, u"D100"_s); }
    void ChoosePattern(int index) { Control<QAbstractButton>(u"optPattern_%1"_s.arg(index)).setChecked(true); }
    void ChooseMode(int index) { Control<QAbstractButton>(u"optReadWrite_%1"_s.arg(index)).setChecked(true); }
    /// Runs once when events are let run next.
    template <typename Action>
    void InTheCycle(Action action)
    {
        QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
    }
    /// Presses "Start" and returns when the run is over.
    void Run() { Press("cmdStart"); }

    /// The names of all controls that the operator can use now.
    QString Enabled()
    {
        QStringList names =
            u"optPattern_0 txtHour lblTimeDelimiter txtMinute optPattern_1 txtPatternCount udPatternCount "
            "optPattern_2 optReadWrite_0 optReadWrite_1 optReadWrite_2 lblValue cmbValueType txtValue "
            "chkDataCheck chkIgnore chkOutput cmdStart cmdStop cmdClear cmdExit"_s.split(u' ');
        names.removeIf([this](const QString& name) { return !Control<QWidget>(name).isEnabled(); });
        return names.join(u' ');
    }
    /// The result list, cells separated by "|"; it is cleared.
    QStringList TakeRows()
    {
        const auto& list = Control<QTreeWidget>("lvResult");
        QStringList rows;
        for (int i = 0; i < list.topLevelItemCount(); ++i) {
            const QTreeWidgetItem& row = *list.topLevelItem(i);
            rows << QStringList({row.text(0), row.text(1), row.text(2), row.text(3)}).join(u'|');
        }
        Press("cmdClear");
        return rows;
    }
    /// Without the item's name: "get_Value()".
    QStringList TakeCalls() { return WindowTest::TakeCalls().replaceInStrings(u"Item(D100)."_s, QString()); }

    /// What the tick counter says, one reading after the other; then it stands still.
    QList<quint32> m_Ticks = {1000};
    QList<quint32> m_Priorities;
    QStringList m_DebugStrings;

private:
    quint32 GetTickCount() override { return m_Ticks.size() > 1 ? m_Ticks.takeFirst() : m_Ticks.constFirst(); }
    QDateTime GetLocalTime() override { return QDateTime({2024, 3, 7}, {14, 5, 9, 42}); }
    void SetPriorityClass(quint32 priorityClass) override { m_Priorities << priorityClass; }
    void OutputDebugString(const QString& text) override { m_DebugStrings << text; }
};
