#include "core/modMain.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/PrintQt.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

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
        {[] { throw ServerError(QStringLiteral("PLC1 does not answer")); }, QStringLiteral("PLC1 does not answer")},
        {[] { throw ServerError(QString()); }, QString()},
        {[] { throw ValueError::TypeMismatch(); }, QStringLiteral("Type mismatch")},
        {[] { throw std::runtime_error("bad things"); }, QStringLiteral("bad things")},
        {[] { throw std::bad_alloc(); }, QStringLiteral("Out of memory")},
        {[] { throw 1; }, QStringLiteral("Unknown error")},
    };
    return all;
}

TEST_F(ServerCall, IsAnnouncedCalledAndAnswered)
{
    QStringList seenByTheCall;
    EXPECT_TRUE(modMain::CallServer(u"Controller", u"Start", [&] {
        seenByTheCall = m_Main.LogMessages() << m_Main.Status() << m_Main.m_PaintedStatus;
    }));
    EXPECT_EQ(seenByTheCall, QStringList({QStringLiteral("Calling Controller:Start..."), QStringLiteral("Start..."),
                                          QStringLiteral("Start...")}));
    EXPECT_EQ(m_Main.Log().Text(), QStringLiteral("0 : Calling Controller:Start...\r\n1 : Succeeded.\r\n"));
    EXPECT_EQ(m_Main.m_StatusTexts,
              QStringList({QStringLiteral("Ready."), QStringLiteral("Start..."), QStringLiteral("Ready.")}));
}

TEST_F(ServerCall, AFailureIsOneLogLineInPlaceOfSucceeded)
{
    for (const Failure& failure : Failures()) {
        FakeMainWindow main;
        EXPECT_FALSE(modMain::CallServer(u"Item", u"put_Value", failure.Call));
        EXPECT_EQ(main.Log().Text(), QStringLiteral("0 : Calling Item:put_Value...\r\n1 : ") + failure.Description +
                                         QStringLiteral("\r\n"));
        EXPECT_EQ(main.m_StatusTexts,
                  QStringList({QStringLiteral("Ready."), QStringLiteral("put_Value..."), QStringLiteral("Ready.")}));
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
    const QString overflow = QStringLiteral("Log buffer overflow.");
    EXPECT_EQ(m_Main.m_StatusTexts, QStringList({overflow, QStringLiteral("Stop..."), overflow}));
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
