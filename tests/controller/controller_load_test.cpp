#include "controller/frmController.h"
#include "core/automation/SafeArray.h"
#include "tests/controller/ControllerConsole.h"

#include <QGroupBox>

namespace {

/// What a refresh asks, in order.
QStringList GridCalls()
{
    QStringList calls = u"get_Index() get_Name() get_Description() get_State() get_Count() get_ScanTimes(0) "
                        u"get_ScanTimes(1) get_ScanTimes(2) get_Tag()"_s.split(u' ');
    for (int i = 0; i < 21; ++i) calls << u"get_SettingData(2,%1)"_s.arg(i); // an I2
    for (QString& call : calls) call = u"Controller(PLC1)."_s + call;
    return calls;
}

class ControllerLoad : public ControllerConsole
{
protected:
    /// The values of rows 0 to 8 between semicolons; the other 21 hold `settingData`.
    QString Cells(const QString& settingData)
    {
        const QStringList cells = Column("fgCtrl", 1);
        EXPECT_EQ(cells.mid(9), QStringList(21, settingData));
        return cells.first(9).join(u';');
    }
};

} // namespace

TEST_F(ControllerLoad, AsksInOrderAndShowsEveryProperty)
{
    Controller().Description = u"<b>Mixing</b> & more"_s;
    Controller().Tag = Variant(SafeArray(QList<qint16>{1, 2}));
    Controller().SettingData = Variant(2.5);
    Controller().State = -1;
    m_Form = ChildWindow::Open<frmController>(m_Controller);
    EXPECT_EQ(TakeCalls(), QStringList{u"Engine.get_Controller(PLC1)"_s} + GridCalls());
    EXPECT_EQ(Cells(u"2.5"_s), u"0;PLC1;<b>Mixing</b> & more;-1 (Unknown);2;100;200;300;1,2 (ARRAY | I2)"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Controller"_s);
    EXPECT_EQ(Control<QGroupBox>("frmCtrl").title(), u"VelSQLController "_s); // the blank is meant
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerLoad, RefreshesOnlyWhileShownAndNeverLogs)
{
    Open<frmController>();
    m_Main.Widget()->show();
    m_Form->ShowForm();
    Controller().SettingData = Variant(Null()); // no plain text
    for (const char* operation : {"get_Description", "get_State", "get_ScanTimes", "get_Tag"})
        m_Server.FailOperation(QString::fromLatin1(operation), u"Gone"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= 30; }));
    EXPECT_EQ(TakeCalls(), GridCalls());
    EXPECT_EQ(Cells(QString()), u"0;PLC1;;;2;;;;"_s);
    Press("cmdHide");
    EXPECT_FALSE(m_Form->isVisible());
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    m_Form->ShowForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Server.m_Calls.isEmpty(); }));
}

TEST_F(ControllerLoad, UnloadedWhileTheGridIsLaidLeavesNothing)
{
    QTest::qWait(20); // the next layout lets events run at once
    QTimer::singleShot(0, [] { ChildWindow::UnloadAll(); });
    EXPECT_EQ(ChildWindow::Open<frmController>(m_Controller), nullptr);
    EXPECT_EQ(TakeCalls(), QStringList{u"Engine.get_Controller(PLC1)"_s});
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    EXPECT_EQ(TakeLog(), QStringList());
}
