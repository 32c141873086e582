#include "tests/item/ItemWindow.h"

namespace {

class ItemCommands : public ItemWindow
{
protected:
    /// What the controls of a value hold.
    QString Entry() { return List("cmbType").currentText() + u' ' + Text("txtValue"); }
};

const QStringList GetLog = {u"Calling Item:get_Value..."_s, u"Succeeded."_s};

} // namespace

TEST_F(ItemCommands, AreAnnouncedAndAFailedOneChangesNothing)
{
    const struct
    {
        const char* Button;
        QString Property, Call, Announced, EntryThen;
    } rows[] = {{"cmdGet", u"Value"_s, u"get_Value()"_s, u"Item:get_Value"_s, u"I4 25"_s},
                {"cmdGet", u"Tag"_s, u"get_Tag()"_s, u"Item:get_Tag"_s, u"BSTR tag"_s},
                {"cmdGet", u"ID"_s, u"get_ID()"_s, u"Item:get_ID"_s, u"BSTR id"_s},
                {"cmdGet", u"Elements"_s, u"get_Elements(0, 0, 0)"_s, u"Item:get_Elements"_s, u"BSTR elements"_s},
                {"cmdPut", u"Value"_s, u"put_Value(2,7)"_s, u"Item:put_Value"_s, u"I2 7"_s},
                {"cmdPut", u"Tag"_s, u"put_Tag(2,7)"_s, u"Item:put_Tag"_s, u"I2 7"_s},
                {"cmdPut", u"ID"_s, u"put_ID(2,7)"_s, u"Item:put_ID"_s, u"I2 7"_s},
                // The call behind Elements and the name of the snapshot's object are meant.
                {"cmdPut", u"Elements"_s, u"put_ID(2,7)"_s, u"Item:put_Elements"_s, u"I2 7"_s},
                {"cmdSnapshot", u"Value"_s, u"Snapshot()"_s, u"Controller:Snapshot"_s, u"I2 7"_s}};
    Item().Tag = Variant(u"tag"_s);
    Item().ID = Variant(u"id"_s);
    Item().Elements = Variant(u"elements"_s);
    Open();
    for (const auto& row : rows) {
        Choose("cmbType", u"I2"_s);
        Type("txtValue", u"7"_s);
        Choose("cmbProperty", row.Property);
        ExpectAnnounced(row.Button, u"Item(D100)."_s + row.Call, row.Announced);
        EXPECT_EQ(Entry(), row.EntryThen);
    }
    Tick("chkDelay");
    Type("txtDelay", u"1500"_s);
    ExpectAnnounced("cmdPut", u"Item(D100).put_ValueEx(1500, 2,7)"_s, u"Item:put_ValueEx"_s);
    Type("txtValue", u"12abc"_s);
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList{u"VT_I2: \"12abc\" is not a number"_s}) << "refused before anything is announced";
    EXPECT_EQ(TakeCalls(), QStringList());
}

TEST_F(ItemCommands, GetShowsLongTextsAndUnknownTypesButNothingTooLong)
{
    Open();
    Item().Value = Variant(QString(1'000'000, u'x'));
    Press("cmdGet");
    EXPECT_EQ(Text("txtValue").size(), 1'000'000);
    Item().Value = Variant(qint8{-1});
    Press("cmdGet");
    EXPECT_EQ(Entry(), u"(Unknown) -1"_s);
    Item().Value = Variant(QString(3'000'000, u'x'));
    Press("cmdGet");
    EXPECT_EQ(Entry(), u"(Unknown) -1"_s) << "stays";
    EXPECT_EQ(TakeLog(),
              GetLog + GetLog + GetLog + QStringList{u"The value is too long to be shown: 3000000 characters."_s});
}

TEST_F(ItemCommands, GetReadsElementIndexesFromText)
{
    const QString succeeded = GetLog[1];
    const std::array<QString, 3> rows[] = {{u"1,2,3,4"_s, u"1, 2, 3"_s, succeeded}, // the fourth is dropped: meant
                                           {u" -1 ,+2, ,"_s, u"-1, 2, 0"_s, succeeded},
                                           {u"2.5,3.5,12abc"_s, u"2, 4, 12"_s, succeeded},
                                           {u"1,2,3,4,5"_s, {}, u"Subscript out of range"_s},
                                           {u"1,2,3,1e10"_s, {}, u"Overflow"_s}};
    Open();
    Choose("cmbProperty", u"Elements"_s);
    for (const auto& [typed, indexes, answer] : rows) {
        Type("txtElements", typed);
        Press("cmdGet");
        EXPECT_EQ(TakeCalls().join(u' '), indexes.isNull() ? QString() : u"Item(D100).get_Elements(%1)"_s.arg(indexes));
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_Elements..."_s, answer}));
    }
}

TEST_F(ItemCommands, RemoveTakesItemNodeAndWindowAwayUnlessSomebodyRefuses)
{
    const QStringList calls = {u"Item(D100).get_Name()"_s, u"Controller(PLC1).RemoveItem(D100)"_s};
    const QString announced = u"Calling Controller:RemoveItem..."_s;
    m_Main.Tree().Remove(Node());
    m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
    Open();
    m_Answer = QMessageBox::No;
    Press("cmdRemove");
    m_Answer = QMessageBox::Yes;
    m_WhileAsking = [this] { m_Form->Unload(); }; // the window may go while the question stands
    Press("cmdRemove");
    EXPECT_EQ(TakeBoxes(), QStringList(2, u"1 Are you sure ?"_s));
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    m_WhileAsking = [] {};
    Open();
    for (const int n : {1, 2}) {
        m_Server.FailCall(n, u"In use"_s);
        Press("cmdRemove");
        EXPECT_EQ(TakeCalls(), calls.first(n));
        EXPECT_EQ(TakeLog(), QStringList({announced, u"In use"_s}));
        EXPECT_EQ(m_Controller->ChildCount(), 2);
    }
    Press("cmdRemove");
    EXPECT_EQ(TakeCalls(), calls);
    EXPECT_EQ(TakeLog(), QStringList({announced, u"Succeeded."_s}));
    EXPECT_EQ(m_Controller->ChildCount(), 1);
    EXPECT_EQ(ChildWindow::Forms().size(), 0);
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}
