#include "controller/frmEngine.h"
#include "core/automation/SafeArray.h"
#include "core/LogPane.h"
#include "tests/controller/ControllerConsole.h"

#include <QGroupBox>

namespace {

const QStringList ExecuteLog = {u"Calling Engine:Execute..."_s, u"Succeeded."_s};

class EngineWindow : public ControllerConsole
{
protected:
    EngineWindow() { Open<frmEngine>(); }

    LogPane& Result() { return Control<LogPane>("lblResult"); }
    void Execute(const Variant& result)
    {
        m_Server.m_EngineExecuteResult = result;
        Press("cmdExecute");
    }
};

} // namespace

TEST_F(EngineWindow, CommandsAreAnnouncedAndAnswered)
{
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLEngine"_s);
    EXPECT_EQ(Control<QGroupBox>("Frame1").title(), u"VelSQLEngine"_s);
    EXPECT_EQ(m_Form->m_TreeNode, modMain::EngineNode);
    Type("txtCommand", u"run <now>"_s);
    ExpectAnnounced("cmdStart", u"Engine.Start()"_s, u"Engine:Start"_s);
    ExpectAnnounced("cmdStop", u"Engine.Stop()"_s, u"Engine:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Engine.Snapshot()"_s, u"Engine:Snapshot"_s);
    ExpectAnnounced("cmdExecute", u"Engine.Execute(run <now>)"_s, u"Engine:Execute"_s);
    Type("txtCommand", QString());
    ExpectAnnounced("cmdExecute", u"Engine.Execute()"_s, u"Engine:Execute"_s);
}

TEST_F(EngineWindow, ShowsResultsAsPlainText)
{
    const QList<QPair<Variant, QString>> results = {{Variant(u"<b>a</b>\r\nb\nc"_s), u"<b>a</b>\r\nb\nc"_s},
                                                    {Variant(quint16{65535}), u"65535"_s},
                                                    {Variant(-0.5), u"-0.5"_s},
                                                    {Variant(true), u"True"_s},
                                                    {Variant(QString(1'000'000, u'w')), QString(1'000'000, u'w')},
                                                    {Variant(), QString()}};
    const QSize size = m_Form->sizeHint();
    for (const auto& [result, text] : results) {
        Execute(result);
        EXPECT_EQ(Result().Text(), text);
        EXPECT_EQ(Result().textCursor().position(), 0) << "its beginning is in sight";
        EXPECT_EQ(TakeLog(), ExecuteLog);
        EXPECT_EQ(m_Form->sizeHint(), size);
    }
    EXPECT_TRUE(Result().isReadOnly());
}

TEST_F(EngineWindow, AResultWithoutTextHasSucceededAndFailsBehind)
{
    Execute(Variant(u"before"_s));
    TakeLog();
    for (const Variant& result : {Variant(Null()), Variant(ObjectRef()), Variant(SafeArray(QList<qint32>{1}))}) {
        Execute(result);
        EXPECT_EQ(TakeLog(), ExecuteLog + QStringList{u"Type mismatch"_s});
    }
    m_Server.FailCall(1, u"Broken"_s);
    Execute(Variant(u"after"_s));
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], u"Broken"_s}));
    EXPECT_EQ(Result().Text(), u"before"_s);
}
