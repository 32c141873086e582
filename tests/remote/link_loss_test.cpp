#include "tests/support/PrintQt.h"
#include "tests/support/PrivateSshd.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/RemoteLink.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr int PatienceMs = 30'000;

struct LinkLoss : ::testing::Test
{
    LinkLoss() { m_Machine.LinkTo(u"plant"_s); }

    bool HasStartedNothingHere() const { return !QDir(m_Machine.RuntimeHere() + u"/velsql"_s).exists(); }

    PrivateSshd m_Machine;
};

/// Counts a controller's events.
struct Events : ControllerEvents
{
    void OnChangeState(qint32) override { ++Count; }
    void OnChangeItem(const ItemRef&) override {}

    int Count = 0;
};

/// What a call says when it fails; empty when it succeeds.
QString Failure(const std::function<void()>& call)
{
    try {
        call();
        return {};
    } catch (const ServerError& error) {
        return error.Description();
    }
}

} // namespace

TEST_F(LinkLoss, CallsEndWithAReasonAndEverythingRecovers)
{
    QList<pid_t> hit;
    const auto signal = [&](const QList<pid_t>& processes, int number) { m_Machine.Signal(hit = processes, number); };
    const std::pair<const char*, std::function<void()>> losses[] = {
        {"ssh killed", [&] { signal(m_Machine.Ssh(), SIGKILL); }},
        {"ssh frozen", [&] { signal(m_Machine.Ssh(), SIGSTOP); }},
        {"bridge killed", [&] { signal(m_Machine.Bridges(), SIGKILL); }},
        {"network frozen", [&] { signal(m_Machine.Sshd(), SIGSTOP); }},
        {"sshd killed", [&] { signal(m_Machine.Sshd(), SIGKILL); }},
    };
    RemoteLibrary library;
    const ControllerRef kiln = library.CreateEngine()->get_Controller(Variant(u"Kiln"_s));
    Events events;
    const auto subscription = kiln->Subscribe(events);
    const auto call = [&] { kiln->get_State(); };
    for (const auto& [name, breakLink] : losses) {
        breakLink();
        QString said;
        QElapsedTimer time;
        const auto fails = [&] { return time.start(), !(said = Failure(call)).isEmpty(); };
        EXPECT_TRUE(QTest::qWaitFor(fails, PatienceMs)) << name;
        EXPECT_LT(time.elapsed(), 6000) << name;
        EXPECT_TRUE(said.contains(u"server on "_s) && said.contains(u"@plant"_s)) << name << said.toStdString();
        signal(hit, SIGCONT);
        m_Machine.Start();
        events.Count = 0;
        const auto isTold = [&] {
            Failure([&] { kiln->Stop(); });
            Failure([&] { kiln->Start(); });
            return events.Count > 0;
        };
        EXPECT_TRUE(QTest::qWaitFor(isTold, PatienceMs)) << name << ": the subscription is renewed";
        const auto isOne = [&] { return m_Machine.Ssh().size() == 1 && m_Machine.Bridges().size() == 1; };
        EXPECT_TRUE(QTest::qWaitFor(isOne, PatienceMs)) << name;
        EXPECT_TRUE(HasStartedNothingHere());
    }
}

TEST_F(LinkLoss, AServerThatWasThereAlreadyIsWaitedFor)
{
    RemoteLibrary library;
    const EngineRef engine = library.CreateEngine();
    m_Machine.Signal(m_Machine.Servers(), SIGKILL);
    const auto isMissed = [&] {
        return Failure([&] { engine->Start(); }).endsWith(u"No VelSQL server is running there."_s);
    };
    EXPECT_TRUE(QTest::qWaitFor(isMissed, PatienceMs));
    EXPECT_EQ(m_Machine.Servers().size(), 0);

    QProcess other;
    m_Machine.Write(u"other.toml"_s, "[[controller]]\nname = \"Mill\"\n");
    other.start(PrivateSshd::Program(u"velsqlserver"_s),
                {u"--socket"_s, m_Machine.Path(u"there/run/velsql/server.sock"_s), u"--plant"_s,
                 m_Machine.Path(u"other.toml"_s)});
    const auto findsMill = [&] { return Failure([&] { engine->get_Controller(Variant(u"Mill"_s)); }).isEmpty(); };
    EXPECT_TRUE(QTest::qWaitFor(findsMill, PatienceMs));
    other.terminate();
    other.waitForFinished();
}

TEST_F(LinkLoss, WhatIsSweptAwayIsOfferedAgain)
{
    for (const bool alsoLost : {false, true}) {
        QFileInfo(qEnvironmentVariable(RemoteLink::Variable)).dir().removeRecursively();
        if (alsoLost) PrivateSshd::Signal(m_Machine.Ssh(), SIGKILL);
        const auto isOffered = [] { return Failure([] { RemoteLibrary().CreateEngine(); }).isEmpty(); };
        EXPECT_TRUE(QTest::qWaitFor(isOffered, PatienceMs));
    }
}

TEST_F(LinkLoss, WithoutItsLauncherNothingIsStartedNorLeft)
{
    RemoteLibrary library;
    const EngineRef engine = library.CreateEngine();
    m_Machine.m_Launcher.kill();
    m_Machine.m_Launcher.waitForFinished();
    EXPECT_TRUE(Failure([&] { engine->Start(); }).contains(u"@plant"_s));
    EXPECT_TRUE(Failure([&] { RemoteLibrary().CreateEngine(); }).endsWith(u"velsqlremote has ended."_s));
    EXPECT_TRUE(HasStartedNothingHere());
    const auto isNothingLeft = [&] { return m_Machine.Ssh().isEmpty() && m_Machine.Bridges().isEmpty(); };
    EXPECT_TRUE(QTest::qWaitFor(isNothingLeft, PatienceMs));

    m_Machine.LinkTo(u"behind"_s);
    const QList<pid_t> network = m_Machine.Sshd();
    PrivateSshd::Signal(network, SIGSTOP);
    m_Machine.m_Launcher.kill();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Machine.Ssh().isEmpty(); }, PatienceMs)) << "nor the one for the jump";
    PrivateSshd::Signal(network, SIGCONT);
    EXPECT_TRUE(QTest::qWaitFor(isNothingLeft, PatienceMs));
}
