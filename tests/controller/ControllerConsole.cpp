#include "tests/controller/ControllerConsole.h"

#include "core/modFields.h"
#include "core/modMain.h"

ControllerConsole::ControllerConsole()
    : m_Node(m_Main.BuildTree({u"D100"_s, u"D200"_s})->Child(0))
{
    modMain::Engine = m_Server.CreateEngine();
    TakeCalls();
}

void ControllerConsole::Choose(const char* name, const QString& entry)
{
    auto& list = Control<ListBox>(name);
    list.SetListIndex(list.findText(entry));
}

QStringList ControllerConsole::TakeLog()
{
    const QStringList messages = m_Main.LogMessages();
    modMain::ClearTextBox(&m_Main.Log());
    return messages;
}

void ControllerConsole::ExpectAnnounced(const char* button, const QString& call, const QString& object,
                                        const QString& operation)
{
    SCOPED_TRACE(button);
    const QString announced = u"Calling %1:%2..."_s.arg(object, operation);
    TakeStatus();
    Press(button);
    EXPECT_EQ(TakeCalls(), QStringList{call});
    EXPECT_EQ(TakeLog(), QStringList({announced, u"Succeeded."_s}));
    EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, operation + u"..."_s, u"Ready."_s}));
    m_Server.FailCall(1, u"No, not <b>now</b>"_s);
    Press(button);
    EXPECT_EQ(TakeCalls(), QStringList{call});
    EXPECT_EQ(TakeLog(), QStringList({announced, u"No, not <b>now</b>"_s}));
    EXPECT_EQ(m_Main.Status(), u"Ready."_s);
}
