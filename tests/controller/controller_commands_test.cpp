#include "additem/frmAddItem.h"
#include "controller/frmController.h"
#include "core/automation/SafeArray.h"
#include "tests/controller/ControllerConsole.h"
#include "tests/support/FakeConverter.h"

namespace {

const QStringList ExecuteLog = {u"Calling Controller:Execute..."_s, u"Succeeded."_s};

class ControllerCommands : public ControllerConsole
{
protected:
    ControllerCommands() { Open<frmController>(); }

    /// Type, parameter and result of the Execute frame.
    QStringList Frame() { return {List("cmbExecType").currentText(), Text("txtExecPara"), Text("txtExecResult")}; }
};

/// A converter whose texts may lack the comma.
struct BareTexts : VelSQLLib, FakeConverter
{
    explicit BareTexts(VelSQLLib& library)
        : Engines(library)
    {
    }
    EngineRef CreateEngine() override { return Engines.CreateEngine(); }
    ValueConverterRef CreateValueConverter() override { return {ValueConverterRef(), this}; }
    QString ValueToText(const Variant&, qint32) override { return u"3"_s; }

    VelSQLLib& Engines;
};

} // namespace

TEST_F(ControllerCommands, AreAnnouncedAndAnswered)
{
    ExpectAnnounced("cmdStart", u"Controller(PLC1).Start()"_s, u"Controller:Start"_s);
    ExpectAnnounced("cmdStop", u"Controller(PLC1).Stop()"_s, u"Controller:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Controller(PLC1).Snapshot()"_s, u"Controller:Snapshot"_s);
    ExpectAnnounced("cmdExecute", u"Controller(PLC1).Execute(, 0,)"_s, u"Controller:Execute"_s);
    ExpectAnnounced("cmdPut", u"Controller(PLC1).put_Tag(0,)"_s, u"Controller:put_Tag"_s);
}

TEST_F(ControllerCommands, ExecuteSendsItsTypedParameter)
{
    const std::array<QString, 3> rows[] = {{u"NULL"_s, u"not sent"_s, u"1"_s},
                                           {u"BSTR"_s, u" a, \"b\" "_s, u"8, a, \"b\" "_s},
                                           {u"ARRAY | R8"_s, u"1.25,2"_s, u"8197,1.25,2"_s}};
    Type("txtExecCmd", u"run <now>"_s);
    for (const auto& [type, text, parameter] : rows) {
        Choose("cmbExecType", type);
        Type("txtExecPara", text);
        Press("cmdExecute");
        EXPECT_EQ(TakeCalls(), QStringList{u"Controller(PLC1).Execute(run <now>, %1)"_s.arg(parameter)});
        EXPECT_EQ(TakeLog(), ExecuteLog);
        EXPECT_EQ(Frame(), QStringList({u"EMPTY"_s, text, QString()}));
    }
}

TEST_F(ControllerCommands, ExecuteShowsEveryTypeOfResult)
{
    const struct
    {
        Variant Result;
        QString Type, Text;
    } rows[] = {{Variant(), u"EMPTY"_s, u""_s},
                {Variant(Null()), u"NULL"_s, u""_s},
                {Variant(quint16{7}), u"(Unknown)"_s, u"7"_s},
                {Variant(u"a, <b>b</b>\r\nc"_s), u"BSTR"_s, u"a, <b>b</b>\r\nc"_s},
                {Variant(QString(1'000'000, u'x')), u"BSTR"_s, QString(1'000'000, u'x')},
                {Variant(SafeArray(QList<qint16>(9, 1))), u"ARRAY | I2"_s, u"..."_s},
                {Variant(ObjectRef()), u"(Unknown)"_s, u"..."_s}};
    for (const auto& row : rows) {
        Choose("cmbExecType", u"EMPTY"_s);
        Controller().ExecuteResult = row.Result;
        Press("cmdExecute");
        EXPECT_EQ(Frame(), QStringList({row.Type, QString(), row.Text}));
        EXPECT_EQ(TakeLog(), ExecuteLog);
        EXPECT_EQ(IsEnabled("cmdExecute"), row.Type != u"(Unknown)"); // the type list shows the result's type
        EXPECT_EQ(IsEnabled("txtExecPara"), row.Type != u"EMPTY" && row.Type != u"NULL");
    }
}

TEST_F(ControllerCommands, AFailedExecuteKeepsTheResult)
{
    Type("txtExecResult", u"before"_s);
    Choose("cmbExecType", u"I4"_s);
    Type("txtExecPara", u"12abc"_s);
    Press("cmdExecute");
    EXPECT_EQ(TakeLog(), QStringList{u"Type mismatch"_s}); // refused before anything is announced
    EXPECT_EQ(TakeCalls(), QStringList());

    Type("txtExecPara", u"1"_s);
    m_Server.FailCall(1, u"first\r\n\r\nthird: ü"_s);
    Press("cmdExecute");
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], u"first"_s, QString(), u"third: ü"_s}));
    EXPECT_EQ(Frame(), QStringList({u"I4"_s, u"1"_s, u"before"_s}));
}

TEST_F(ControllerCommands, AResultWithoutValueTextFailsBehindTheChoiceOfItsType)
{
    BareTexts library(m_Server);
    modMain::Library = &library;
    Type("txtExecResult", u"before"_s);
    Controller().ExecuteResult = Variant(qint32{3});
    Press("cmdExecute");
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], u"Subscript out of range"_s}));
    EXPECT_EQ(Frame(), QStringList({u"I4"_s, QString(), u"before"_s}));
    m_Form->Unload();
    modMain::Reset();
    modMain::Library = &m_Server;
}

TEST_F(ControllerCommands, PutWritesTheTypedTag)
{
    Choose("cmbType", u"ARRAY | BSTR"_s);
    Type("txtValue", u"a,b"_s);
    Press("cmdPut");
    Choose("cmbType", u"NULL"_s); // the text stays and is not sent
    Press("cmdPut");
    EXPECT_EQ(TakeCalls(), QStringList({u"Controller(PLC1).put_Tag(8200,a,b)"_s, u"Controller(PLC1).put_Tag(1)"_s}));
    EXPECT_TRUE(Controller().Tag.IsNull());
    TakeLog();
    Choose("cmbType", u"I2"_s);
    Type("txtValue", u"70000"_s);
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList{u"Overflow"_s});
    EXPECT_EQ(TakeCalls(), QStringList());
}

TEST_F(ControllerCommands, EnablesWhatATypeNeeds)
{
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
    int dialogs = 0;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<frmAddItem*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        ++dialogs;
        EXPECT_EQ(dialog->m_TreeNode, m_Controller);
        dialog->m_csCtrl->Snapshot();
        ChildWindow::UnloadAll(); // the window may go first
        dialog->reject();
    });
    Press("cmdAddItem");
    EXPECT_EQ(dialogs, 1);
    EXPECT_TRUE(TakeCalls().contains(u"Controller(PLC1).Snapshot()"_s));
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}
