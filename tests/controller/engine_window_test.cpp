#include "controller/frmEngine.h"
#include "core/automation/SafeArray.h"
#include "core/LabelPane.h"
#include "tests/controller/ControllerConsole.h"

namespace {

const QStringList ExecuteLog = {u"Calling Engine:Execute..."_s, u"Succeeded."_s};

class EngineWindow : public ControllerConsole
{
protected:
    EngineWindow() { Open<frmEngine>(); }

    LabelPane& Result() { return Control<LabelPane>("lblResult"); }
    /// Executes; what is logged.
    QStringList Execute(const Variant& result)
    {
        m_Server.m_EngineExecuteResult = result;
        Press("cmdExecute");
        return TakeLog();
    }
};

} // namespace

TEST_F(EngineWindow, CommandsAreAnnouncedAndAnswered)
{
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLEngine"_s);
    EXPECT_EQ(m_Form->m_TreeNode, modMain::EngineNode);
    ExpectAnnounced("cmdStart", u"Engine.Start()"_s, u"Engine:Start"_s);
    ExpectAnnounced("cmdStop", u"Engine.Stop()"_s, u"Engine:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Engine.Snapshot()"_s, u"Engine:Snapshot"_s);
    ExpectAnnounced("cmdExecute", u"Engine.Execute()"_s, u"Engine:Execute"_s);
    Type("txtCommand", u"run <now>"_s);
    ExpectAnnounced("cmdExecute", u"Engine.Execute(run <now>)"_s, u"Engine:Execute"_s);
}

TEST_F(EngineWindow, ShowsResultsAsPlainTextUnlessTheyHaveNone)
{
    const QSize size = m_Form->sizeHint();
    for (const QString& text : {u"<b>a</b>\r\nb\nc"_s, QString(1'000'000, u'w'), QString(), u"before"_s}) {
        EXPECT_EQ(Execute(Variant(text)), ExecuteLog);
        EXPECT_EQ(Result().Text(), text);
        EXPECT_EQ(Result().textCursor().position(), 0) << "its beginning is in sight";
        EXPECT_EQ(m_Form->sizeHint(), size);
    }
    for (const Variant& result : {Variant(Null()), Variant(ObjectRef()), Variant(SafeArray(QList<qint32>{1}))})
        EXPECT_EQ(Execute(result), ExecuteLog + QStringList{u"Type mismatch"_s}) << "it has succeeded all the same";
    m_Server.FailCall(1, u"Broken"_s);
    EXPECT_EQ(Execute(Variant(u"after"_s)), QStringList({ExecuteLog[0], u"Broken"_s}));
    EXPECT_EQ(Result().Text(), u"before"_s);
    EXPECT_TRUE(Result().isReadOnly());
}
