#pragma once

#include "tests/support/ConsoleTest.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"

#include <QPointer>

/// A console on a fake server, with the controller "PLC1" of the items "D100" and "D200" in its tree, and one window.
template <typename Form>
class WindowTest : public ConsoleTest
{
protected:
    WindowTest()
    {
        modMain::Engine = m_Server.CreateEngine();
        TakeCalls();
    }

    QObject* Window() override { return m_Form; }
    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeStatus() { return std::exchange(m_Main.m_StatusTexts, {}); }

    /// Presses the button of a call that succeeds and then fails: `call` as the server records it, `announced` as
    /// "Object:Operation".
    void ExpectAnnounced(const char* button, const QString& call, const QString& announced)
    {
        SCOPED_TRACE(call.toStdString());
        TakeCalls(), TakeLog();
        for (const QString& failure : {QString(), u"No, not <b>now</b>"_s}) {
            if (!failure.isNull()) m_Server.FailCall(1, failure);
            TakeStatus();
            Press(button);
            EXPECT_EQ(TakeCalls(), QStringList{call});
            EXPECT_EQ(TakeLog(),
                      QStringList({u"Calling %1..."_s.arg(announced), failure.isNull() ? u"Succeeded."_s : failure}));
            EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, announced.section(u':', 1) + u"..."_s, u"Ready."_s}));
        }
    }

    FakeServer m_Server;
    ConsoleServices m_Services{m_Server, *this};
    FakeMainWindow m_Main{m_Services};
    TreeNodeRef m_Controller = m_Main.BuildTree({u"D100"_s, u"D200"_s})->Child(0);
    QPointer<Form> m_Form;
};
