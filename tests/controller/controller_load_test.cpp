#include "controller/frmController.h"
#include "core/automation/SafeArray.h"
#include "tests/controller/ControllerConsole.h"

#include <QGroupBox>

namespace {

constexpr int RowCount = 30;

/// What a refresh asks, in order.
QStringList GridCalls()
{
    QStringList calls = {u"get_Index()"_s,      u"get_Name()"_s,       u"get_Description()"_s,
                         u"get_State()"_s,      u"get_Count()"_s,      u"get_ScanTimes(0)"_s,
                         u"get_ScanTimes(1)"_s, u"get_ScanTimes(2)"_s, u"get_Tag()"_s};
    for (int i = 0; i < 21; ++i) calls << u"get_SettingData(2,%1)"_s.arg(i); // an I2
    for (QString& call : calls) call = u"Controller(PLC1)."_s + call;
    return calls;
}

class ControllerLoad : public ControllerConsole
{
protected:
    QStringList Cells(int column) { return Column("fgCtrl", column); }
    /// Values of rows 0 to 8, behind them 21 times the text of the setting data.
    static QStringList Values(QStringList head, const QString& settingData)
    {
        return head + QStringList(21, settingData);
    }
};

} // namespace

TEST_F(ControllerLoad, AsksInOrderAndShowsEveryProperty)
{
    Controller().Description = u"<b>Mixing</b> & more"_s;
    Controller().Tag = Variant(SafeArray(QList<qint16>{1, 2}));
    Controller().SettingData = Variant(2.5);
    m_Form = ChildWindow::Open<frmController>(m_Controller);

    EXPECT_EQ(TakeCalls(), QStringList{u"Engine.get_Controller(PLC1)"_s} + GridCalls());
    QStringList captions =
        u"Index Name Description State Count ScanTimes(0) ScanTimes(1) ScanTimes(2) Tag"_s.split(u' ');
    for (int i = 0; i < 21; ++i) captions << u"SettingData(%1)"_s.arg(i);
    EXPECT_EQ(Cells(0), captions);
    EXPECT_EQ(Cells(1), Values({u"0"_s, u"PLC1"_s, u"<b>Mixing</b> & more"_s, u"1 (Active)"_s, u"2"_s, u"100"_s,
                                u"200"_s, u"300"_s, u"1,2 (ARRAY | I2)"_s},
                               u"2.5"_s));
    EXPECT_EQ(m_Form->windowTitle(), u"Controller"_s);
    EXPECT_EQ(Control<QGroupBox>("frmCtrl").title(), u"VelSQLController "_s); // the blank is meant
    EXPECT_EQ(List("cmbExecType").count(), 22);
    EXPECT_EQ(List("cmbType").count(), 21);
    EXPECT_EQ(List("cmbType").ListIndex(), 0);
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerLoad, OneThatCannotLoadGoesWithoutAWord)
{
    for (const bool engineFails : {true, false}) {
        if (engineFails) m_Server.FailCall(1, u"Not today"_s);
        else Controller().Name = u"renamed"_s;
        EXPECT_EQ(Open<frmController>(), nullptr);
        EXPECT_EQ(ChildWindow::Forms().size(), 0);
        EXPECT_EQ(m_Server.m_LiveObjects, 1); // the engine
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(m_Main.ChildArea().subWindowList().size(), 0);
        EXPECT_EQ(TakeLog(), QStringList());
        EXPECT_EQ(TakeStatus(), QStringList());
    }
}

TEST_F(ControllerLoad, AFailedReadEmptiesItsCellOnly)
{
    for (int row = 0; row < RowCount; ++row) {
        SCOPED_TRACE(row);
        Controller().SettingData = Variant(u"x"_s);
        Controller().Description = u"x"_s;
        m_Server.FailCall(2 + row, u"Gone"_s);
        ASSERT_TRUE(Open<frmController>());
        EXPECT_EQ(Cells(1).count(QString()), 1);
        EXPECT_EQ(Cells(1).at(row), QString());
        EXPECT_EQ(TakeLog(), QStringList());
        m_Form->Unload();
    }
    Controller().SettingData = Variant(Null()); // no plain text
    ASSERT_TRUE(Open<frmController>());
    EXPECT_EQ(Cells(1).mid(9), QStringList(21, QString()));
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerLoad, StatesOutsideTheTableAreUnknown)
{
    const QList<QPair<qint32, QString>> states = {
        {0, u"0 (Uninitialized)"_s}, {2, u"2 (Deactive)"_s}, {3, u"3 (Error)"_s},
        {4, u"4 (Terminated)"_s},    {7, u"7 (Unknown)"_s},  {-2147483648, u"-2147483648 (Unknown)"_s}};
    for (const auto& [state, text] : states) {
        Controller().State = state;
        Open<frmController>();
        EXPECT_EQ(Cells(1).at(3), text);
    }
}

TEST_F(ControllerLoad, RefreshesOnlyWhileShownAndNeverLogs)
{
    Open<frmController>();
    m_Main.Widget()->show();
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls(), QStringList()) << "loaded, not shown";
    m_Form->ShowForm();
    m_Server.FailOperation(u"get_Tag"_s, u"Gone"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= RowCount; }, 5000));
    EXPECT_EQ(TakeCalls(), GridCalls());
    EXPECT_EQ(Cells(1).at(8), QString());
    Press("cmdHide");
    EXPECT_FALSE(m_Form->isVisible());
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls(), QStringList());
    EXPECT_EQ(TakeLog(), QStringList());
    m_Form->ShowForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Server.m_Calls.isEmpty(); }, 5000));
    m_Form->Unload();
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(ControllerLoad, UnloadedWhileTheGridIsLaidLeavesNothing)
{
    QTimer::singleShot(0, [] { ChildWindow::UnloadAll(); });
    QTest::qWait(20); // the next layout lets events run at once
    QTimer::singleShot(0, [] { ChildWindow::UnloadAll(); });
    EXPECT_EQ(Open<frmController>(), nullptr);
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
    EXPECT_EQ(TakeLog(), QStringList());
}
