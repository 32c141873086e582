#include "tests/controller/ControllerConsole.h"

void ControllerConsole::ExpectAnnounced(const char* button, const QString& call, const QString& announced)
{
    SCOPED_TRACE(button);
    for (const bool fails : {false, true}) {
        if (fails) m_Server.FailCall(1, u"No, not <b>now</b>"_s);
        TakeStatus();
        Press(button);
        EXPECT_EQ(TakeCalls(), QStringList{call});
        EXPECT_EQ(TakeLog(),
                  QStringList({u"Calling %1..."_s.arg(announced), fails ? u"No, not <b>now</b>"_s : u"Succeeded."_s}));
        EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, announced.section(u':', 1) + u"..."_s, u"Ready."_s}));
    }
}
