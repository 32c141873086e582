#include "core/automation/SafeArray.h"
#include "tests/item/ItemWindow.h"

#include <QRegularExpression>

namespace {

constexpr int LookUps = 2;   // of the controller and of the item
constexpr int RowCalls = 50; // 49 rows; the value's asks for the attribute first

/// Calls of the item, by their operations.
QStringList ItemCalls(const QString& operations)
{
    return operations.split(u' ').replaceInStrings(QRegularExpression(u"^"_s), u"Item(D100)."_s);
}

/// What a refresh asks, in order.
QStringList GridCalls(const QString& getValue = u"get_Value() "_s)
{
    QString operations = u"get_Index() get_Name() get_Description() get_Attribute() get_LinkItem() get_Activation() "
                         u"get_LinkActivation() get_State() get_Attribute() %1get_DateTime() get_Microsecond() "
                         u"get_Tag() get_ID()"_s.arg(getValue);
    for (int i = 0; i < 36; ++i) operations += u" get_SettingData(%1)"_s.arg(i);
    return ItemCalls(operations);
}

class ItemLoad : public ItemWindow
{
protected:
    void Load() { m_Form = ChildWindow::Open<frmItem>(Node()); }
    /// The values of rows 0 to 12 between semicolons; the other 36 hold `settingData`.
    QString Cells(const QString& settingData)
    {
        const QStringList cells = Column("fgItem", 1);
        EXPECT_EQ(cells.mid(13), QStringList(36, settingData));
        return cells.first(13).join(u';');
    }
};

} // namespace

TEST_F(ItemLoad, AsksInOrderAndActivatesAnActiveItemOnceMore)
{
    Load();
    EXPECT_EQ(TakeCalls(),
              QStringList({u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).get_Item(D100)"_s}) + GridCalls() +
                  ItemCalls(u"get_Activation() put_Activation(True) get_LinkActivation() get_LinkItem()"_s));
    EXPECT_EQ(m_Form->windowTitle(), u"Item : VelSQLEngine\\PLC1\\D100"_s);
    EXPECT_EQ(Enabled(), u"cmbProperty cmbType chkDelay cmdGet cmdPut chkActv cmdSnapshot cmdPerfchk cmdHide fgItem"_s);
    EXPECT_EQ(Text("txtDelay"), u"0"_s);
    m_Form->Unload();

    Item().Activation = false;
    Item().LinkActivation = true;
    Item().LinkItem = Variant(SafeArray(QList{u"D200"_s}));
    Load();
    EXPECT_EQ(TakeCalls().mid(LookUps + RowCalls),
              ItemCalls(u"get_Activation() get_LinkActivation() put_LinkActivation(True) get_LinkItem()"_s));
    EXPECT_TRUE(!Check("chkActv").isChecked() && Check("chkLinkActv").isChecked() && IsEnabled("chkLinkActv"));
    Tick("chkLinkActv", false);
    EXPECT_EQ(TakeCalls(), ItemCalls(u"put_LinkActivation(False)"_s));
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ItemLoad, AFailingLookUpEndsItAndAFailingReadDoesNot)
{
    constexpr int Activation = LookUps + RowCalls; // asked, put, the link's asked, the linked item asked
    Item().LinkItem = Variant(SafeArray(QList{u"D200"_s}));
    for (int n = 1; n <= Activation + 4; ++n) {
        SCOPED_TRACE(n);
        m_Server.FailCall(n, u"Call failed"_s);
        if (n <= LookUps) EXPECT_THROW(Load(), ServerError);
        else Load();
        EXPECT_EQ(TakeLog(), n == Activation + 2 ? QStringList({u"Call failed"_s}) : QStringList());
        if (m_Form) {
            EXPECT_EQ(Check("chkActv").isChecked(), n != Activation + 1);
            EXPECT_EQ(IsEnabled("chkLinkActv"), n <= Activation || n == Activation + 2);
            m_Form->Unload();
        }
        EXPECT_EQ(ChildWindow::Forms().size(), 0);
        EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(ItemLoad, ShowsEveryPropertyAndNeverReadsTheValueOfAWriteOnlyItem)
{
    Item().Description = u"<b>Boiler & co</b>"_s;
    Item().Attribute = 1;
    Item().State = 3;
    Item().LinkItem = Variant(SafeArray(QList{u"D200"_s, u"D300"_s}));
    Item().Tag = Variant(u"a,b"_s);
    Item().ID = Variant(SafeArray(QList<qint16>{1, 2, 3}));
    Item().SettingData = Variant(2.5);
    Item().Microsecond = 250;
    Load();
    EXPECT_EQ(Cells(u"2.5"_s), u"0;D100;<b>Boiler & co</b>;Read Only (1);D200,D300;True;False;Unknown (3);25 (I4);"
                               u"2023-03-15 12:00:00;250;a,b (BSTR);1,2,3 (ARRAY | I2)"_s);
    m_Form->Unload();
    TakeCalls();

    Item().Attribute = 2;
    Load();
    EXPECT_EQ(TakeCalls().mid(LookUps, RowCalls - 1), GridCalls(QString()));
    EXPECT_EQ(Column("fgItem", 1).at(8), u"n/a"_s);
}

TEST_F(ItemLoad, RefreshesWhileShownAndNeverLogsNorActivates)
{
    m_Main.Widget()->show();
    Open().ShowForm();
    m_Server.FailOperation(u"get_LinkItem"_s, u"Gone"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= RowCalls; }));
    EXPECT_EQ(TakeCalls(), GridCalls());
    Press("cmdHide");
    QTest::qWait(700);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
}
