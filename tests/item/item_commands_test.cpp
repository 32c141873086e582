#include "core/automation/SafeArray.h"
#include "core/GridRefresher.h"
#include "tests/item/ItemWindow.h"

#include <QApplication>
#include <QDialog>
#include <QRadioButton>
#include <QTimer>

namespace {

class ItemCommands : public ItemWindow
{
protected:
    /// What the controls of a value hold.
    QStringList Entry() { return {List("cmbType").currentText(), Text("txtValue")}; }
};

/// Works in the next modal dialog, which then is there.
template <std::invocable<QDialog&> Work>
void InTheDialog(Work&& work)
{
    QTimer::singleShot(0, modMain::GetMainWindow()->Widget(), [work] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        work(*dialog);
    });
}

} // namespace

TEST_F(ItemCommands, GetShowsTypeAndText)
{
    const struct
    {
        Variant Value;
        QString Type, Text;
    } rows[] = {{Variant(), u"EMPTY"_s, u""_s},
                {Variant(Null()), u"NULL"_s, u""_s},
                {Variant(u"a, <b>b</b> & \"c\"\r\n"_s), u"BSTR"_s, u"a, <b>b</b> & \"c\"\r\n"_s},
                {Variant(QString(1'000'000, u'x')), u"BSTR"_s, QString(1'000'000, u'x')},
                {Variant(qint8{-1}), u"(Unknown)"_s, u"-1"_s},
                {Variant(SafeArray(QList<double>(9, 1.5))), u"ARRAY | R8"_s, u"..."_s},
                {Variant(ObjectRef()), u"(Unknown)"_s, u"..."_s}};
    Open();
    for (const auto& row : rows) {
        Item().Value = row.Value;
        Press("cmdGet");
        EXPECT_EQ(Entry(), QStringList({row.Type, row.Text}));
        EXPECT_EQ(IsEnabled("cmdPut"), row.Type != u"(Unknown)");
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_Value..."_s, u"Succeeded."_s}));
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
    }
    const QStringList entry = Entry();
    Item().Value = Variant(QString(3'000'000, u'x'));
    Press("cmdGet");
    EXPECT_EQ(Entry(), entry);
    EXPECT_EQ(TakeLog().constLast(), u"The value is too long to be shown: 3000000 characters."_s);
}

TEST_F(ItemCommands, GetAsksForThePropertyChosen)
{
    Item().Tag = Variant(u"tag"_s);
    Item().ID = Variant(u"id"_s);
    Item().Elements = Variant(u"elements"_s);
    Open();
    for (const QString& property : {u"Tag"_s, u"ID"_s, u"Elements"_s}) {
        Choose("cmbProperty", property);
        Press("cmdGet");
        EXPECT_EQ(Entry(), QStringList({u"BSTR"_s, property.toLower()}));
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_%1..."_s.arg(property), u"Succeeded."_s}));
        EXPECT_TRUE(m_Main.m_StatusTexts.contains(u"get_%1..."_s.arg(property)));
        EXPECT_EQ(
            TakeCalls(),
            QStringList({u"Item(D100).get_%1(%2)"_s.arg(property, property == u"Elements" ? u"0, 0, 0"_s : u""_s)}));
    }
}

TEST_F(ItemCommands, GetReadsElementIndexesFromText)
{
    const struct
    {
        QString Typed, Indexes, Failure;
    } rows[] = {{u""_s, u"0, 0, 0"_s, {}},
                {u"1,2,3,4"_s, u"1, 2, 3"_s, {}}, // the fourth is read and dropped: meant
                {u" -1 ,+2, ,"_s, u"-1, 2, 0"_s, {}},
                {u"2.5,3.5,12abc"_s, u"2, 4, 12"_s, {}},
                {u"1,2,3,4,5"_s, {}, u"Subscript out of range"_s},
                {u"2147483648"_s, {}, u"Overflow"_s},
                {u"1,2,3,1e10"_s, {}, u"Overflow"_s}};
    Open();
    Choose("cmbProperty", u"Elements"_s);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Typed.toStdString());
        Type("txtElements", row.Typed);
        Press("cmdGet");
        const bool fails = !row.Failure.isNull();
        EXPECT_EQ(TakeCalls(),
                  fails ? QStringList() : QStringList({u"Item(D100).get_Elements(%1)"_s.arg(row.Indexes)}));
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_Elements..."_s, fails ? row.Failure : u"Succeeded."_s}));
    }
}

TEST_F(ItemCommands, PutWritesThePropertyChosen)
{
    const struct
    {
        QString Property;
        std::optional<QString> Delay;
        QString Operation, Call;
    } rows[] = {{u"Value"_s, {}, u"put_Value"_s, u"put_Value(3,25)"_s},
                {u"Value"_s, u"1500"_s, u"put_ValueEx"_s, u"put_ValueEx(1500, 3,25)"_s},
                {u"Tag"_s, {}, u"put_Tag"_s, u"put_Tag(3,25)"_s},
                {u"ID"_s, {}, u"put_ID"_s, u"put_ID(3,25)"_s},
                {u"Elements"_s, {}, u"put_Elements"_s, u"put_ID(3,25)"_s}}; // the call behind Elements is meant
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Operation.toStdString());
        Open();
        Choose("cmbProperty", row.Property);
        Choose("cmbType", u"I4"_s);
        Type("txtValue", u"25"_s);
        if (row.Delay) Tick("chkDelay"), Type("txtDelay", *row.Delay);
        Press("cmdPut");
        EXPECT_EQ(TakeCalls(), QStringList({u"Item(D100)."_s + row.Call}));
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:%1..."_s.arg(row.Operation), u"Succeeded."_s}));
        EXPECT_TRUE(m_Main.m_StatusTexts.contains(row.Operation + u"..."_s));
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
    }
    Type("txtValue", u"12abc"_s); // refused before anything is announced
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList{u"Type mismatch"_s});
    EXPECT_EQ(TakeCalls(), QStringList());
}

TEST_F(ItemCommands, AFailingCallIsLoggedAndChangesNothing)
{
    QList<std::tuple<const char*, QString, QString>> rows;
    for (const QString& property : {u"Value"_s, u"Tag"_s, u"ID"_s, u"Elements"_s}) {
        rows.append({"cmdGet", property, u"Calling Item:get_%1..."_s.arg(property)});
        rows.append({"cmdPut", property, u"Calling Item:put_%1..."_s.arg(property)});
    }
    rows.append({"cmdSnapshot", u"Value"_s, u"Calling Controller:Snapshot..."_s}); // it names the controller: meant
    Open();
    Choose("cmbType", u"I2"_s);
    Type("txtValue", u"3"_s);
    for (const auto& [button, property, announced] : rows) {
        SCOPED_TRACE(announced.toStdString());
        Choose("cmbProperty", property);
        const QString enabled = Enabled();
        m_Server.FailCall(1, u"The item is gone."_s);
        Press(button);
        EXPECT_EQ(TakeLog(), QStringList({announced, u"The item is gone."_s}));
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
        EXPECT_EQ(Entry(), QStringList({u"I2"_s, u"3"_s}));
        EXPECT_EQ(Enabled(), enabled);
        Press(button);
        EXPECT_EQ(TakeLog(), QStringList({announced, u"Succeeded."_s}));
        Choose("cmbType", u"I2"_s);
        Type("txtValue", u"3"_s);
    }
    EXPECT_EQ(TakeCalls().constLast(), u"Item(D100).Snapshot()"_s);
}

TEST_F(ItemCommands, ActivationIsPutWithoutAnnouncementAndItsFailureLogged)
{
    Item().LinkItem = Variant(SafeArray(QList<QString>{u"D200"_s}));
    for (const auto& [box, operation] :
         {std::pair{"chkActv", u"put_Activation"_s}, std::pair{"chkLinkActv", u"put_LinkActivation"_s}}) {
        Open();
        TakeLog();
        const bool first = !Check(box).isChecked();
        Tick(box, first);
        m_Server.FailCall(1, u"Refused"_s);
        Tick(box, !first);
        const auto call = [&](bool active) {
            return u"Item(D100).%1(%2)"_s.arg(operation, active ? u"True"_s : u"False"_s);
        };
        EXPECT_EQ(TakeCalls(), QStringList({call(first), call(!first)}));
        EXPECT_EQ(TakeLog(), QStringList({u"Refused"_s}));
        EXPECT_EQ(Check(box).isChecked(), !first);
    }
}

class ItemRemoval : public ItemWindow
{
protected:
    ItemRemoval()
    {
        m_Main.Tree().Remove(Node());
        m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
        m_Main.SelectNode(m_Controller);
        Open();
    }

    int m_Children = m_Controller->ChildCount();
};

TEST_F(ItemRemoval, TakesItemNodeAndWindowAway)
{
    m_Answer = QMessageBox::Yes;
    Press("cmdRemove");
    EXPECT_EQ(m_Boxes, QStringList{u"1 Are you sure ?"_s});
    EXPECT_EQ(TakeCalls(), QStringList({u"Item(D100).get_Name()"_s, u"Controller(PLC1).RemoveItem(D100)"_s}));
    EXPECT_EQ(TakeLog(), QStringList({u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s}));
    EXPECT_EQ(m_Controller->ChildCount(), m_Children - 1);
    EXPECT_EQ(m_Controller->Child(0)->Text(), u"D200"_s);
    EXPECT_EQ(m_Main.m_CurrentNode, m_Controller);
    EXPECT_EQ(m_Main.m_StatusBarRefreshes, 1);
    EXPECT_EQ(ChildWindow::Forms().size(), 0);
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(ItemRemoval, LeavesEverythingWhenTheOperatorOrTheServerRefuses)
{
    m_Answer = QMessageBox::No;
    Press("cmdRemove");
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());

    m_Answer = QMessageBox::Yes;
    for (int n = 1; n <= 2; ++n) {
        m_Server.FailCall(n, u"In use"_s);
        Press("cmdRemove");
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Controller:RemoveItem..."_s, u"In use"_s}));
        EXPECT_EQ(m_Controller->ChildCount(), m_Children);
        EXPECT_FALSE(m_Form->IsUnloading());
    }
}

TEST_F(ItemRemoval, TheWindowMayGoWhileTheQuestionIsOpen)
{
    m_Answer = QMessageBox::Yes;
    m_WhileAsking = [this] { m_Form->Unload(); };
    Press("cmdRemove");
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(ItemCommands, ThePerformanceCheckOpensAndTheGridRestsMeanwhile)
{
    m_Main.Widget()->show();
    Open().ShowForm();
    QStringList meanwhile;
    InTheDialog([&](QDialog& dialog) {
        dialog.findChild<QPushButton*>(u"cmdStart"_s)->click();
        QTest::qWait(2 * GridRefresher::IntervalMs);
        meanwhile = TakeCalls();
        dialog.reject();
    });
    Press("cmdPerfchk");
    EXPECT_EQ(meanwhile, QStringList({u"Item(D100).get_Value()"_s}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Server.m_Calls.isEmpty(); }, 3 * GridRefresher::IntervalMs));
}

TEST_F(ItemCommands, AnEndlessPerformanceCheckEndsWhenItsWindowIsUnloaded)
{
    Open();
    InTheDialog([](QDialog& dialog) {
        dialog.findChild<QRadioButton*>(u"optPattern_2"_s)->setChecked(true);
        QMetaObject::invokeMethod(
            qApp, [] { ChildWindow::UnloadAll(); }, Qt::QueuedConnection);
        dialog.findChild<QPushButton*>(u"cmdStart"_s)->click();
    });
    Press("cmdPerfchk");
    EXPECT_EQ(TakeCalls(), QStringList({u"Item(D100).get_Value()"_s}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Form; }));
}
