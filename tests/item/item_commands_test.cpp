#include "core/automation/SafeArray.h"
#include "core/GridRefresher.h"
#include "core/ListBox.h"
#include "core/MessageBoxes.h"
#include "tests/item/ItemWindow.h"

#include <QApplication>
#include <QDialog>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

class ItemCommands : public ItemWindow
{
protected:
    /// What the controls of a value hold.
    QStringList Entry() { return {Control<ListBox>("cmbType").currentText(), Text("txtValue")}; }
};

} // namespace

TEST_F(ItemCommands, GetShowsTypeAndText)
{
    const struct
    {
        Variant Value;
        QString Type, Text;
    } rows[] = {{Variant(), u"EMPTY"_s, u""_s},
                {Variant(Null()), u"NULL"_s, u""_s},
                {Variant(true), u"BOOL"_s, u"True"_s},
                {Variant(qint32{-7}), u"I4"_s, u"-7"_s},
                {Variant(u"a, <b>b</b> & \"c\"\r\n"_s), u"BSTR"_s, u"a, <b>b</b> & \"c\"\r\n"_s},
                {Variant(QString(1'000'000, u'x')), u"BSTR"_s, QString(1'000'000, u'x')},
                {Variant(qint8{-1}), u"(Unknown)"_s, u"-1"_s},
                {Variant(SafeArray(QList<double>(8, 1.5))), u"ARRAY | R8"_s, u"1.5,1.5,1.5,1.5,1.5,1.5,1.5,1.5"_s},
                {Variant(SafeArray(QList<double>(9, 1.5))), u"ARRAY | R8"_s, u"..."_s},
                {Variant(ObjectRef()), u"(Unknown)"_s, u"..."_s}};
    Open();
    for (const auto& row : rows) {
        Item().Value = row.Value;
        Press("cmdGet");
        EXPECT_EQ(Entry(), QStringList({row.Type, row.Text}));
        EXPECT_EQ(Control<QPushButton>("cmdPut").isEnabled(), row.Type != u"(Unknown)");
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Item:get_Value..."_s, u"Succeeded."_s}));
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
    }
}

TEST_F(ItemCommands, GetKeepsTheEntryWhenTheTextIsTooLongForALine)
{
    Open();
    Item().Value = Variant(QString(3'000'000, u'x'));
    Press("cmdGet");
    EXPECT_EQ(Entry(), QStringList({u"EMPTY"_s, QString()}));
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
                {u"7"_s, u"7, 0, 0"_s, {}},
                {u"1,2"_s, u"1, 2, 0"_s, {}},
                {u"1,2,3,4"_s, u"1, 2, 3"_s, {}}, // the fourth is read and dropped: meant
                {u" -1 ,+2, ,"_s, u"-1, 2, 0"_s, {}},
                {u"2.5,3.5,12abc"_s, u"2, 4, 12"_s, {}},
                {u"abc"_s, u"0, 0, 0"_s, {}},
                {u"1,2,3,4,5"_s, {}, u"Subscript out of range"_s},
                {u",,,,"_s, {}, u"Subscript out of range"_s},
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
}

TEST_F(ItemCommands, PutAnnouncesNothingForATextThatDoesNotFitItsType)
{
    Open();
    Choose("cmbType", u"I4"_s);
    Type("txtValue", u"12abc"_s);
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList({u"Type mismatch"_s}));
    EXPECT_EQ(TakeCalls(), QStringList());
}

TEST_F(ItemCommands, AFailingCallIsLoggedAndChangesNothing)
{
    const struct
    {
        const char* Button;
        QString Property, Announced;
    } rows[] = {{"cmdGet", u"Value"_s, u"Calling Item:get_Value..."_s},
                {"cmdGet", u"Tag"_s, u"Calling Item:get_Tag..."_s},
                {"cmdGet", u"ID"_s, u"Calling Item:get_ID..."_s},
                {"cmdGet", u"Elements"_s, u"Calling Item:get_Elements..."_s},
                {"cmdPut", u"Value"_s, u"Calling Item:put_Value..."_s},
                {"cmdPut", u"Tag"_s, u"Calling Item:put_Tag..."_s},
                {"cmdPut", u"ID"_s, u"Calling Item:put_ID..."_s},
                {"cmdPut", u"Elements"_s, u"Calling Item:put_Elements..."_s},
                {"cmdSnapshot", u"Value"_s, u"Calling Controller:Snapshot..."_s}};
    Open();
    Choose("cmbType", u"I2"_s);
    Type("txtValue", u"3"_s);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Announced.toStdString());
        Choose("cmbProperty", row.Property);
        const QStringList enabled = Enabled();
        m_Server.FailCall(1, u"The item is gone."_s);
        Press(row.Button);
        EXPECT_EQ(TakeLog(), QStringList({row.Announced, u"The item is gone."_s}));
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
        EXPECT_EQ(Entry(), QStringList({u"I2"_s, u"3"_s}));
        EXPECT_EQ(Enabled(), enabled);
        Press(row.Button);
        EXPECT_EQ(TakeLog(), QStringList({row.Announced, u"Succeeded."_s}));
        Choose("cmbType", u"I2"_s);
        Type("txtValue", u"3"_s);
    }
    EXPECT_EQ(TakeCalls().constLast(), u"Item(D100).Snapshot()"_s); // although the log names the controller: meant
}

TEST_F(ItemCommands, ActivationIsPutWithoutAnnouncementAndItsFailureLogged)
{
    Item().LinkItem = Variant(SafeArray(QList<QString>{u"D200"_s}));
    for (const auto& [box, operation] :
         {std::pair{"chkActv", u"put_Activation"_s}, std::pair{"chkLinkActv", u"put_LinkActivation"_s}}) {
        Open();
        TakeLog();
        const bool first = !Control<QCheckBox>(box).isChecked();
        Tick(box, first);
        m_Server.FailCall(1, u"Refused"_s);
        Tick(box, !first);
        const auto call = [&](bool active) {
            return u"Item(D100).%1(%2)"_s.arg(operation, active ? u"True"_s : u"False"_s);
        };
        EXPECT_EQ(TakeCalls(), QStringList({call(first), call(!first)}));
        EXPECT_EQ(TakeLog(), QStringList({u"Refused"_s}));
        EXPECT_EQ(Control<QCheckBox>(box).isChecked(), !first);
    }
}

class ItemRemoval : public ItemCommands
{
protected:
    ItemRemoval()
    {
        m_Main.Tree().Remove(Node());
        m_Main.Tree().Insert(m_Main.m_Controller, 0, u"D100"_s, NodeTag::AddItem);
        m_Main.SelectNode(m_Main.m_Controller);
        Open();
    }

    int m_Children = m_Main.m_Controller->ChildCount();
};

TEST_F(ItemRemoval, TakesItemNodeAndWindowAway)
{
    m_Answer = QMessageBox::Yes;
    Press("cmdRemove");
    EXPECT_EQ(m_Boxes, QStringList({u"Are you sure ?"_s}));
    EXPECT_EQ(TakeCalls(), QStringList({u"Item(D100).get_Name()"_s, u"Controller(PLC1).RemoveItem(D100)"_s}));
    EXPECT_EQ(TakeLog(), QStringList({u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s}));
    EXPECT_EQ(m_Main.m_Controller->ChildCount(), m_Children - 1);
    EXPECT_EQ(m_Main.m_Controller->Child(0)->Text(), u"D200"_s);
    EXPECT_EQ(m_Main.m_CurrentNode, m_Main.m_Controller);
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
        EXPECT_EQ(m_Main.m_Controller->ChildCount(), m_Children);
        EXPECT_FALSE(m_Form->IsUnloading());
    }
}

TEST_F(ItemRemoval, TheWindowMayGoWhileTheQuestionIsOpen)
{
    modMain::ReplaceMessageBoxes([this](QMessageBox&) {
        m_Form->Unload();
        return QMessageBox::Yes;
    });
    Press("cmdRemove");
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(ItemCommands, ThePerformanceCheckOpensAndTheGridRestsMeanwhile)
{
    m_Main.Widget()->show();
    Open().ShowForm();
    QStringList meanwhile;
    QTimer::singleShot(0, &m_Main.Log(), [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        dialog->findChild<QPushButton*>(u"cmdStart"_s)->click();
        QTest::qWait(2 * GridRefresher::IntervalMs);
        meanwhile = TakeCalls();
        dialog->reject();
    });
    Press("cmdPerfchk");
    EXPECT_EQ(meanwhile, QStringList({u"Item(D100).get_Value()"_s}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Server.m_Calls.isEmpty(); }, 3 * GridRefresher::IntervalMs));
}

TEST_F(ItemCommands, AnEndlessPerformanceCheckEndsWhenItsWindowIsUnloaded)
{
    Open();
    QTimer::singleShot(0, &m_Main.Log(), [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        dialog->findChild<QRadioButton*>(u"optPattern_2"_s)->setChecked(true);
        QMetaObject::invokeMethod(
            qApp, [] { ChildWindow::UnloadAll(); }, Qt::QueuedConnection);
        dialog->findChild<QPushButton*>(u"cmdStart"_s)->click();
    });
    Press("cmdPerfchk");
    EXPECT_EQ(TakeCalls(), QStringList({u"Item(D100).get_Value()"_s}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Form; }));
}
