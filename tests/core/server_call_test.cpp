#include "core/modMain.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/PrintQt.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class ServerCall : public ::testing::Test
{
protected:
    FakeMainWindow m_Main;
};

/// What ends a call, and the description that the log then holds.
struct Failure
{
    std::function<void()> Call;
    QString Description;
};

const QList<Failure>& Failures()
{
    static const QList<Failure> all = {
        {[] { throw ServerError(u"PLC1 does not answer"_s); }, u"PLC1 does not answer"_s},
        {[] { throw ServerError(QString()); }, QString()},
        {[] { throw ValueError::TypeMismatch(); }, u"Type mismatch"_s},
        {[] { throw std::runtime_error("bad things"); }, u"bad things"_s},
        {[] { throw std::bad_alloc(); }, u"Out of memory"_s},
        {[] { throw 1; }, u"Unknown error"_s},
    };
    return all;
}

TEST_F(ServerCall, IsAnnouncedCalledAndAnswered)
{
    QStringList seenByTheCall;
    EXPECT_TRUE(modMain::CallServer(u"Controller", u"Start", [&] {
        seenByTheCall = m_Main.LogMessages() << m_Main.Status() << m_Main.m_PaintedStatus;
    }));
    EXPECT_EQ(seenByTheCall, QStringList({u"Calling Controller:Start..."_s, u"Start..."_s, u"Start..."_s}));
    EXPECT_EQ(m_Main.Log().Text(), u"0 : Calling Controller:Start...\r\n1 : Succeeded.\r\n"_s);
    EXPECT_EQ(m_Main.m_StatusTexts, QStringList({u"Ready."_s, u"Start..."_s, u"Ready."_s}));
}

TEST_F(ServerCall, AFailureIsOneLogLineInPlaceOfSucceeded)
{
    for (const Failure& failure : Failures()) {
        FakeMainWindow main;
        EXPECT_FALSE(modMain::CallServer(u"Item", u"put_Value", failure.Call));
        EXPECT_EQ(main.Log().Text(), u"0 : Calling Item:put_Value...\r\n1 : "_s + failure.Description + u"\r\n"_s);
        EXPECT_EQ(main.m_StatusTexts, QStringList({u"Ready."_s, u"put_Value..."_s, u"Ready."_s}));
    }
}

TEST_F(ServerCall, OfACommandOnlyTheFailureIsLogged)
{
    EXPECT_TRUE(modMain::ReportErrors([] {}));
    for (const Failure& failure : Failures()) EXPECT_FALSE(modMain::ReportErrors(failure.Call));
    QStringList descriptions;
    for (const Failure& failure : Failures()) descriptions << failure.Description;
    EXPECT_EQ(m_Main.LogMessages(), descriptions);
}

TEST_F(ServerCall, IsMadeAlsoWhenTheLogIsFull)
{
    m_Main.Log().SetCapacity(0);
    bool called = false;
    EXPECT_TRUE(modMain::CallServer(u"Engine", u"Stop", [&] { called = true; }));
    EXPECT_TRUE(called);
    const QString overflow = u"Log buffer overflow."_s;
    EXPECT_EQ(m_Main.m_StatusTexts, QStringList({overflow, u"Stop..."_s, overflow}));
}

TEST_F(ServerCall, ProgressIsPaintedAtMostOnceAFrame)
{
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < 300; ++i) modMain::Announce(u"Item", u"put_Value");
    EXPECT_GE(m_Main.m_Paints, 1);
    EXPECT_LE(m_Main.m_Paints, elapsed.elapsed() / 16 + 1);
}

} // namespace
