#include "additem/frmAddItem.h"
#include "controller/frmController.h"
#include "tests/controller/ControllerConsole.h"

namespace {

class ControllerCommands : public ControllerConsole
{
protected:
    ControllerCommands() { Open<frmController>(); }
};

} // namespace

TEST_F(ControllerCommands, AreAnnouncedAndAnswered)
{
    ExpectAnnounced("cmdStart", u"Controller(PLC1).Start()"_s, u"Controller:Start"_s);
    ExpectAnnounced("cmdStop", u"Controller(PLC1).Stop()"_s, u"Controller:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Controller(PLC1).Snapshot()"_s, u"Controller:Snapshot"_s);
    Choose("cmbType", u"ARRAY | BSTR"_s);
    Type("txtValue", u"a,b"_s);
    ExpectAnnounced("cmdPut", u"Controller(PLC1).put_Tag(8200,a,b)"_s, u"Controller:put_Tag"_s);
    Choose("cmbType", u"NULL"_s); // the text stays and is not sent
    ExpectAnnounced("cmdPut", u"Controller(PLC1).put_Tag(1)"_s, u"Controller:put_Tag"_s);

    Type("txtExecCmd", u"run <now>"_s);
    Choose("cmbExecType", u"BSTR"_s);
    Type("txtExecPara", u" a, b "_s);
    const QString result = u"c, <b>\r\n"_s + QString(1'000'000, u'x');
    Controller().ExecuteResult = Variant(result);
    ExpectAnnounced("cmdExecute", u"Controller(PLC1).Execute(run <now>, 8, a, b )"_s, u"Controller:Execute"_s);
    EXPECT_TRUE(Text("txtExecResult") == result) << "the failed one keeps it";
    Controller().ExecuteResult = Variant();
    Press("cmdExecute");
    EXPECT_EQ(List("cmbExecType").currentText(), u"EMPTY"_s) << "the result's type";
    EXPECT_EQ(Text("txtExecResult"), QString());
}

TEST_F(ControllerCommands, RefusedEntriesAreNotAnnounced)
{
    Choose("cmbExecType", u"I4"_s);
    Type("txtExecPara", u"12abc"_s);
    Press("cmdExecute");
    Choose("cmbType", u"I2"_s);
    Type("txtValue", u"70000"_s);
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList({u"VT_I4: \"12abc\" is not a number"_s,
                                      u"VT_I2: overflow, \"70000\" is outside -32768 to 32767"_s}));
    EXPECT_EQ(TakeCalls(), QStringList());
}

TEST_F(ControllerCommands, EnablesWhatATypeNeeds)
{
    EXPECT_EQ(List("cmbType").count(), 21) << "without (Unknown)";
    for (int index = 0; index < 22; ++index) {
        SCOPED_TRACE(index);
        List("cmbExecType").SetListIndex(index);
        EXPECT_EQ(IsEnabled("txtExecPara"), index > 1); // neither EMPTY nor NULL
        EXPECT_EQ(IsEnabled("cmdExecute"), index < 21); // not (Unknown)
        if (index == 21) break;
        List("cmbType").SetListIndex(index);
        EXPECT_EQ(IsEnabled("txtValue"), index > 1);
    }
}

TEST_F(ControllerCommands, AddItemOpensADialogForThisController)
{
    bool opened = false;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<frmAddItem*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        opened = dialog->m_TreeNode == m_Controller;
        dialog->m_csCtrl->Snapshot();
        EXPECT_EQ(TakeCalls().constLast(), u"Controller(PLC1).Snapshot()"_s);
        ChildWindow::UnloadAll(); // the window may go first
        dialog->reject();
    });
    Press("cmdAddItem");
    EXPECT_TRUE(opened);
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}
