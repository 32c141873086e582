#include "core/automation/SafeArray.h"
#include "tests/item/ItemWindow.h"

namespace {

constexpr int RowCalls = 50; // 49 rows; the value's asks for the attribute first

/// What a refresh asks, in order.
QStringList GridCalls(bool writeOnly = false)
{
    QStringList calls = {u"get_Index"_s,     u"get_Name"_s,       u"get_Description"_s,    u"get_Attribute"_s,
                         u"get_LinkItem"_s,  u"get_Activation"_s, u"get_LinkActivation"_s, u"get_State"_s,
                         u"get_Attribute"_s, u"get_Value"_s,      u"get_DateTime"_s,       u"get_Microsecond"_s,
                         u"get_Tag"_s,       u"get_ID"_s};
    if (writeOnly) calls.removeOne(u"get_Value"_s);
    for (QString& call : calls) call = u"Item(D100)."_s + call + u"()"_s;
    for (int i = 0; i < 36; ++i) calls << u"Item(D100).get_SettingData(%1)"_s.arg(i);
    return calls;
}

Variant Names(const QStringList& names)
{
    return Variant(SafeArray(QList<QString>(names)));
}

/// Rows 0 to 12, behind them 36 times the text of the setting data.
QStringList Cells(const QStringList& head, const QString& settingData)
{
    return head + QStringList(36, settingData);
}

class ItemLoad : public ItemWindow
{
};

} // namespace

TEST_F(ItemLoad, AsksInOrderAndActivatesAnActiveItemOnceMore)
{
    m_Form = ChildWindow::Open<frmItem>(Node());

    EXPECT_EQ(TakeCalls(), QStringList({u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).get_Item(D100)"_s}) +
                               GridCalls() +
                               QStringList({u"Item(D100).get_Activation()"_s, u"Item(D100).put_Activation(True)"_s,
                                            u"Item(D100).get_LinkActivation()"_s, u"Item(D100).get_LinkItem()"_s}));
    EXPECT_EQ(m_Form->windowTitle(), u"Item : VelSQLEngine\\PLC1\\D100"_s);
    EXPECT_EQ(Enabled(), u"cmbProperty cmbType chkDelay cmdGet cmdPut chkActv cmdSnapshot cmdPerfchk cmdHide fgItem"_s);
    EXPECT_EQ(Text("txtDelay"), u"0"_s);
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ItemLoad, SetsBothActivationBoxesFromTheItem)
{
    Item().Activation = false;
    Item().LinkActivation = true;
    Item().LinkItem = Names({u"D200"_s});
    m_Form = ChildWindow::Open<frmItem>(Node());

    EXPECT_EQ(TakeCalls().mid(2 + RowCalls),
              QStringList({u"Item(D100).get_Activation()"_s, u"Item(D100).get_LinkActivation()"_s,
                           u"Item(D100).put_LinkActivation(True)"_s, u"Item(D100).get_LinkItem()"_s}));
    EXPECT_FALSE(Check("chkActv").isChecked());
    EXPECT_TRUE(Check("chkLinkActv").isChecked());
    EXPECT_TRUE(Check("chkLinkActv").isEnabled());
}

TEST_F(ItemLoad, AFailingLookUpOrActivationEndsItAndAFailingReadDoesNot)
{
    const QList<int> ending = {1, 2, 2 + RowCalls + 1, 2 + RowCalls + 3, 2 + RowCalls + 4};
    const int put = 2 + RowCalls + 2;
    for (int n = 1; n <= 2 + RowCalls + 4; ++n) {
        SCOPED_TRACE(n);
        m_Server.FailCall(n, u"Call failed"_s);
        QString description;
        try {
            m_Form = ChildWindow::Open<frmItem>(Node());
        } catch (const ServerError& error) {
            description = error.Description();
        }
        EXPECT_EQ(description, ending.contains(n) ? u"Call failed"_s : QString());
        EXPECT_EQ(TakeLog(), n == put ? QStringList({u"Call failed"_s}) : QStringList());
        if (m_Form) m_Form->Unload();
        EXPECT_EQ(ChildWindow::Forms().size(), 0);
        EXPECT_EQ(m_Server.m_LiveObjects, 1); // the engine
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(ItemLoad, ShowsEveryPropertyAsText)
{
    Item().Description = u"<b>Boiler & co</b>"_s;
    Item().Attribute = 1;
    Item().State = 3;
    Item().LinkItem = Names({u"D200"_s, u"D300"_s});
    Item().Tag = Variant(u"a,b"_s);
    Item().ID = Variant(SafeArray(QList<qint16>{1, 2, 3}));
    Item().SettingData = Variant(2.5);
    Item().Microsecond = 250;
    Open();

    EXPECT_EQ(CellTexts(), Cells({u"0"_s, u"D100"_s, u"<b>Boiler & co</b>"_s, u"Read Only (1)"_s, u"D200,D300"_s,
                                  u"True"_s, u"False"_s, u"Unknown (3)"_s, u"25 (I4)"_s, u"2023-03-15 12:00:00"_s,
                                  u"250"_s, u"a,b (BSTR)"_s, u"1,2,3 (ARRAY | I2)"_s},
                                 u"2.5"_s));
    EXPECT_EQ(Control<PropertyGrid>("fgItem").CellText(48, 0), u"SettingData(35)"_s);
}

TEST_F(ItemLoad, NeverReadsTheValueOfAWriteOnlyItem)
{
    Item().Attribute = 2;
    m_Form = ChildWindow::Open<frmItem>(Node());
    EXPECT_EQ(TakeCalls().mid(2, RowCalls - 1), GridCalls(true));
    EXPECT_EQ(CellTexts().at(8), u"n/a"_s);
}

TEST_F(ItemLoad, RefreshesWhileShownAndNeverLogsNorActivates)
{
    frmItem& form = Open();
    m_Main.Widget()->show();
    form.ShowForm();
    for (const char* operation :
         {"get_Index", "get_Attribute", "get_Value", "get_Tag", "get_ID", "get_LinkItem", "get_SettingData"})
        m_Server.FailOperation(QString::fromLatin1(operation), u"Gone"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= 49; }, 5000));

    EXPECT_EQ(CellTexts(),
              Cells({QString(), u"D100"_s, QString(), QString(), QString(), u"True"_s, u"False"_s, u"Succeeded (0)"_s,
                     u"(EMPTY)"_s, u"2023-03-15 12:00:00"_s, u"0"_s, u"(EMPTY)"_s, u"(EMPTY)"_s},
                    QString()));
    EXPECT_EQ(TakeCalls(), GridCalls(true)); // the value cannot be asked for without the attribute
    EXPECT_EQ(TakeLog(), QStringList());
    Press("cmdHide");
    EXPECT_FALSE(form.isVisible());
    QTest::qWait(700);
    EXPECT_EQ(TakeCalls(), QStringList());
    form.ShowForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Server.m_Calls.isEmpty(); }, 5000));
}
