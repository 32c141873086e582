#include "core/automation/SafeArray.h"
#include "tests/item/ItemWindow.h"

namespace {

/// What a refresh of the grid asks, in order: 49 rows, and the attribute before the value.
const QString GridCalls = [] {
    QString calls = u" get_Index() get_Name() get_Description() get_Attribute() get_LinkItem() get_Activation() "
                    u"get_LinkActivation() get_State() get_Attribute() get_Value() get_DateTime() get_Microsecond() "
                    u"get_Tag() get_ID()"_s;
    for (int i = 0; i < 36; ++i) calls += u" get_SettingData(%1)"_s.arg(i);
    return calls;
}();

class ItemTest : public ItemWindow
{
protected:
    /// The names of all controls that the operator can use now, but for those that are always enabled.
    QString Enabled()
    {
        const QString names =
            EnabledOf(u"cmbProperty cmbType txtValue txtElements chkDelay txtDelay cmdGet cmdPut chkActv "
                      u"chkLinkActv cmdSnapshot cmdRemove cmdPerfchk cmdHide fgItem"_s);
        EXPECT_TRUE(names.endsWith(u"cmdPut chkActv cmdSnapshot cmdPerfchk cmdHide fgItem")) << names.toStdString();
        return names.section(u' ', 0, -7);
    }
    /// What the controls of a value hold.
    QString Entry() { return List("cmbType").currentText() + u' ' + Text("txtValue"); }
    /// Each with a blank in front, without the item's name.
    QString TakeCalls()
    {
        const QStringList calls = WindowTest::TakeCalls();
        return calls.isEmpty() ? QString() : QString(u' ' + calls.join(u' ')).remove(u"Item(D100)."_s);
    }
};

} // namespace

TEST_F(ItemTest, AsksInOrderAndActivatesAnActiveItemOnceMoreWhenLoadedAndNeverWhenRefreshed)
{
    Load();
    EXPECT_EQ(TakeCalls(), u" Engine.get_Controller(PLC1) Controller(PLC1).get_Item(D100)"_s + GridCalls +
                               u" get_Activation() put_Activation(True) get_LinkActivation() get_LinkItem()"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Item : VelSQLEngine\\PLC1\\D100"_s);
    EXPECT_EQ(Enabled() + u' ' + Text("txtDelay"), u"cmbProperty cmbType chkDelay cmdGet 0"_s);
    m_Main.Widget()->show();
    m_Form->ShowForm();
    m_Server.FailOperation(u"get_LinkItem"_s, u"Gone"_s); // not logged
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= GridCalls.count(u' '); }));
    EXPECT_EQ(TakeCalls(), GridCalls);
    Press("cmdHide");
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls(), QString());

    m_Server.FailOperation(u"get_LinkItem"_s, {});
    Item().Activation = false;
    Item().LinkActivation = true;
    Item().LinkItem = Variant(SafeArray(QList{u"D200"_s}));
    Load();
    EXPECT_EQ(TakeCalls().section(GridCalls, 1),
              u" get_Activation() get_LinkActivation() put_LinkActivation(True) get_LinkItem()"_s);
    EXPECT_TRUE(!Check("chkActv").isChecked() && Check("chkLinkActv").isChecked() && IsEnabled("chkLinkActv"));
    Tick("chkLinkActv", false);
    EXPECT_EQ(TakeCalls() + TakeLog().join(u' '), u" put_LinkActivation(False)"_s);
}

TEST_F(ItemTest, ShowsEveryPropertyAndNeverReadsTheValueOfAWriteOnlyItem)
{
    Item() = {.Name = u"D100"_s,
              .Value = Variant(qint32{25}),
              .Tag = Variant(u"a,b"_s),
              .ID = Variant(SafeArray(QList<qint16>{1, 2, 3})),
              .LinkItem = Variant(SafeArray(QList{u"D200"_s, u"D300"_s})),
              .Attribute = 1,
              .State = 3,
              .SettingData = Variant(2.5),
              .Microsecond = 250,
              .Description = u"<b>Boiler & co</b>"_s};
    Load();
    const QStringList cells = Column("fgItem", 1);
    EXPECT_EQ(cells.first(13).join(u';'),
              u"0;D100;<b>Boiler & co</b>;Read Only (1);D200,D300;True;False;Unknown (3);25 (I4);"
              u"2023-03-15 12:00:00;250;a,b (BSTR);1,2,3 (ARRAY | I2)"_s);
    EXPECT_EQ(cells.mid(13), QStringList(36, u"2.5"_s));

    Item().Attribute = 2;
    TakeCalls();
    Load();
    EXPECT_FALSE(TakeCalls().contains(u"get_Value()"_s));
    EXPECT_EQ(Column("fgItem", 1).at(8), u"n/a"_s);
}

TEST_F(ItemTest, AnnouncesItsCommandsAndAFailedOneChangesNothing)
{
    const std::tuple<const char*, QString, QString, QString, QString> rows[] = {
        {"cmdGet", u"Value"_s, u"get_Value()"_s, u"Item:get_Value"_s, u"I4 25"_s},
        {"cmdGet", u"Tag"_s, u"get_Tag()"_s, u"Item:get_Tag"_s, u"BSTR tag"_s},
        {"cmdGet", u"ID"_s, u"get_ID()"_s, u"Item:get_ID"_s, u"BSTR id"_s},
        {"cmdGet", u"Elements"_s, u"get_Elements(0, 0, 0)"_s, u"Item:get_Elements"_s, u"BSTR elements"_s},
        {"cmdPut", u"Value"_s, u"put_Value(2,7)"_s, u"Item:put_Value"_s, u"I2 7"_s},
        {"cmdPut", u"Tag"_s, u"put_Tag(2,7)"_s, u"Item:put_Tag"_s, u"I2 7"_s},
        {"cmdPut", u"ID"_s, u"put_ID(2,7)"_s, u"Item:put_ID"_s, u"I2 7"_s},
        // Intended: the call behind Elements and the name of the snapshot's object.
        {"cmdPut", u"Elements"_s, u"put_ID(2,7)"_s, u"Item:put_Elements"_s, u"I2 7"_s},
        {"cmdSnapshot", u"Value"_s, u"Snapshot()"_s, u"Controller:Snapshot"_s, u"I2 7"_s}};
    Item().Tag = Variant(u"tag"_s), Item().ID = Variant(u"id"_s), Item().Elements = Variant(u"elements"_s);
    Open();
    for (const auto& [button, property, call, announced, entryThen] : rows) {
        Choose("cmbType", u"I2"_s);
        Type("txtValue", u"7"_s);
        Choose("cmbProperty", property);
        ExpectAnnounced(button, u"Item(D100)."_s + call, announced);
        EXPECT_EQ(Entry(), entryThen);
    }
    Tick("chkDelay");
    Type("txtDelay", u"1500"_s);
    ExpectAnnounced("cmdPut", u"Item(D100).put_ValueEx(1500, 2,7)"_s, u"Item:put_ValueEx"_s);
}

TEST_F(ItemTest, GetReadsElementIndexesFromTextAndShowsNothingTooLong)
{
    const QString succeeded = u"Succeeded."_s;
    const std::array<QString, 3> rows[] = {{u"1,2,3,4"_s, u"1, 2, 3"_s, succeeded}, // intended: the fourth is dropped
                                           {u" -1 ,+2, ,"_s, u"-1, 2, 0"_s, succeeded},
                                           {u"2.5,3.5,12abc"_s, u"2, 4, 12"_s, succeeded},
                                           {u"1,2,3,4,5"_s, {}, u"Subscript out of range"_s},
                                           {u"1,2,3,1e10"_s, {}, u"Overflow"_s}};
    Open();
    Choose("cmbProperty", u"Elements"_s);
    for (const auto& [typed, indexes, answer] : rows) {
        Type("txtElements", typed);
        Press("cmdGet");
        EXPECT_EQ(TakeCalls(), indexes.isNull() ? QString() : u" get_Elements(%1)"_s.arg(indexes));
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_Elements..."_s, answer}));
    }
    const QString longText(1'000'000, u'x');
    const std::tuple<Variant, QString, QString> values[] = {
        {Variant(longText), u"BSTR "_s + longText, succeeded},
        {Variant(qint8{-1}), u"(Unknown) -1"_s, succeeded},
        {Variant(longText.repeated(3)), u"(Unknown) -1"_s,
         u"The value is too long to be shown: 3000000 characters."_s}};
    Choose("cmbProperty", u"Value"_s);
    for (const auto& [value, shown, answer] : values) {
        Item().Value = value;
        Press("cmdGet");
        EXPECT_TRUE(Entry() == shown);
        EXPECT_EQ(TakeLog().constLast(), answer);
    }
}

TEST_F(ItemTest, RemoveTakesItemNodeAndWindowAwayUnlessSomebodyRefuses)
{
    m_Main.Tree().Remove(m_Controller->Child(0));
    m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
    Open();
    m_Answer = QMessageBox::No;
    Press("cmdRemove");
    m_Answer = QMessageBox::Yes;
    m_WhileAsking = [this] { m_Form->Unload(); }; // the window may go while the question stands
    Press("cmdRemove");
    EXPECT_EQ(TakeBoxes(), QStringList(2, u"1 Are you sure ?"_s));
    EXPECT_EQ(TakeCalls() + TakeLog().join(u' '), QString());
    m_WhileAsking = [] {};
    Open();
    for (const int failing : {1, 2, 0}) {
        m_Server.FailCall(failing, u"In use"_s);
        Press("cmdRemove");
        EXPECT_EQ(TakeCalls(), failing == 1 ? u" get_Name()"_s : u" get_Name() Controller(PLC1).RemoveItem(D100)"_s);
        EXPECT_EQ(TakeLog(),
                  QStringList({u"Calling Controller:RemoveItem..."_s, failing ? u"In use"_s : u"Succeeded."_s}));
        EXPECT_EQ(m_Controller->ChildCount(), failing > 0 ? 2 : 1);
    }
    EXPECT_EQ(ChildWindow::Forms().size(), 0);
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(ItemTest, EnablesWhatAPropertyAndATypeNeedAndKeepsTheDelayBox)
{
    const std::tuple<bool, QString, QString> rows[] = {
        {false, {}, u"chkDelay cmdGet"_s},
        {true, {}, u"chkDelay txtDelay"_s},
        {true, u"Tag"_s, u"cmdGet"_s},
        {true, u"ID"_s, u"cmdGet"_s},
        {true, u"Elements"_s, u"txtElements cmdGet"_s},
        {true, u"Elements Value"_s, u"chkDelay txtDelay"_s},
        {false, u"Tag Value"_s, u"chkDelay cmdGet"_s},
        // Intended: each choice of another property remembers anew, also of the same one.
        {true, u"Tag ID Value"_s, u"chkDelay cmdGet"_s},
        {true, u"ID ID Value"_s, u"chkDelay cmdGet"_s},
        // What is restored then is what was remembered at load.
        {true, u"Value"_s, u"chkDelay cmdGet"_s}};
    for (const auto& [ticked, chosen, fields] : rows) {
        SCOPED_TRACE(chosen.toStdString());
        Open();
        Tick("chkDelay", ticked);
        for (const QString& property : chosen.split(u' ', Qt::SkipEmptyParts)) Choose("cmbProperty", property);
        EXPECT_EQ(Enabled(), u"cmbProperty cmbType "_s + fields);
        EXPECT_EQ(Check("chkDelay").isChecked(), fields.contains(u"txtDelay"));
    }
    for (int index = 0; index < 22; ++index) {
        List("cmbType").SetListIndex(index);
        EXPECT_EQ(IsEnabled("txtValue"), index > 1) << index; // neither EMPTY nor NULL
        EXPECT_EQ(IsEnabled("cmdPut"), index < 21) << index;  // not (Unknown)
    }
}

TEST_F(ItemTest, ChecksTheDelayWhenItIsLeft)
{
    // What is typed, what is left of it (what is refused stays as it is, selected) and the message box.
    const std::array<QString, 3> rows[] = {{u""_s, u"0"_s, {}},
                                           {u" -2.5 "_s, u"2"_s, {}},
                                           {u"12abc"_s, u"12abc"_s, {}},
                                           {u"-2147483648"_s, u"-2147483648"_s, u"2 Overflow"_s}};
    m_Main.Widget()->show();
    Open();
    m_Form->ShowForm();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.Widget()));
    Tick("chkDelay");
    for (const auto& [typed, left, box] : rows) {
        const bool refused = left == typed;
        Type("txtDelay", typed);
        Box("txtDelay").setFocus();
        QTest::keyClick(&Box("txtDelay"), Qt::Key_Tab);
        EXPECT_EQ(Text("txtDelay"), left);
        EXPECT_EQ(Box("txtDelay").hasFocus(), refused) << typed.toStdString();
        EXPECT_EQ(Box("txtDelay").selectedText() + TakeBoxes().join(u' '), refused ? left + box : QString());
        Type("txtDelay", u"0"_s);
    }
}
