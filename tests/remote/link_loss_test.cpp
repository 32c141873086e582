#include "tests/remote/PrivateSshd.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/RemoteLink.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr int PatienceMs = 30'000;

QString Program(const QString& name)
{
    return QCoreApplication::applicationDirPath() + u'/' + name;
}

/// velsqlremote with a program that only waits, and this process below it.
class LinkLoss : public ::testing::Test
{
protected:
    LinkLoss()
    {
        m_Launcher.start(Program(u"velsqlremote"_s),
                         {u"plant"_s, u"sh"_s, u"-c"_s, u"echo $VELSQL_REMOTE_SOCKET; exec sleep 600"_s});
        while (!m_Launcher.canReadLine() && m_Launcher.waitForReadyRead()) {
        }
        qputenv(RemoteLink::Variable, m_Launcher.readLine().trimmed());
    }
    ~LinkLoss() override
    {
        m_Launcher.terminate();
        m_Launcher.waitForFinished();
        qunsetenv(RemoteLink::Variable);
    }

    QList<pid_t> Ssh() const { return m_Machine.Processes("/usr/bin/ssh -F"); }
    QList<pid_t> Bridges() const { return m_Machine.Processes("velsqlserver --connect"); }
    QList<pid_t> Servers() const
    {
        return m_Machine.Processes(Program(u"velsqlserver"_s).toUtf8() + " --stop-when-idle");
    }
    static void SignalAll(const QList<pid_t>& processes, int signal)
    {
        for (const pid_t process : processes) kill(process, signal);
    }
    bool HasStartedNothingHere() const { return !QDir(m_Machine.RuntimeHere() + u"/velsql"_s).exists(); }

    PrivateSshd m_Machine;
    QProcess m_Launcher;
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
    const std::pair<const char*, std::function<void()>> losses[] = {
        {"ssh killed", [&] { SignalAll(Ssh(), SIGKILL); }},
        {"ssh frozen", [&] { SignalAll(Ssh(), SIGSTOP); }},
        {"bridge killed", [&] { SignalAll(Bridges(), SIGKILL); }},
    };
    RemoteLibrary library;
    const ControllerRef kiln = library.CreateEngine()->get_Controller(Variant(u"Kiln"_s));
    Events events;
    const auto subscription = kiln->Subscribe(events);
    const auto call = [&] { kiln->get_State(); };
    for (const auto& [name, breakLink] : losses) {
        breakLink();
        QString said;
        EXPECT_TRUE(QTest::qWaitFor([&] { return !(said = Failure(call)).isEmpty(); }, PatienceMs)) << name;
        EXPECT_TRUE(said.contains(u"server on "_s) && said.contains(u"@plant"_s)) << name << said.toStdString();
        EXPECT_TRUE(QTest::qWaitFor([&] { return Failure(call).isEmpty(); }, PatienceMs)) << name;
        events.Count = 0;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                Failure([&] { kiln->Stop(); });
                Failure([&] { kiln->Start(); });
                return events.Count > 0;
            },
            PatienceMs))
            << name << ": the subscription is renewed";
        EXPECT_TRUE(QTest::qWaitFor([&] { return Ssh().size() == 1 && Bridges().size() == 1; }, PatienceMs)) << name;
        EXPECT_TRUE(HasStartedNothingHere());
    }
}

TEST_F(LinkLoss, AServerThatWasThereAlreadyIsWaitedFor)
{
    RemoteLibrary library;
    const EngineRef engine = library.CreateEngine();
    SignalAll(Servers(), SIGKILL);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return Failure([&] { engine->Start(); }).endsWith(u"No VelSQL server is running there."_s); },
        PatienceMs));
    EXPECT_TRUE(Failure([&] { library.CreateEngine(); }).endsWith(u"No VelSQL server is running there."_s));
    EXPECT_EQ(Servers().size(), 0);

    QProcess other;
    const QString plant = m_Machine.Path(u"other.toml"_s);
    m_Machine.Write(u"other.toml"_s, "[[controller]]\nname = \"Mill\"\n");
    other.start(Program(u"velsqlserver"_s),
                {u"--socket"_s, m_Machine.Path(u"there/run/velsql/server.sock"_s), u"--plant"_s, plant});
    EXPECT_TRUE(QTest::qWaitFor([&] { return Failure([&] { engine->get_Controller(Variant(u"Mill"_s)); }).isEmpty(); },
                                PatienceMs));
    other.terminate();
    other.waitForFinished();
}

TEST_F(LinkLoss, WithoutItsLauncherNothingIsStartedNorLeft)
{
    RemoteLibrary library;
    const EngineRef engine = library.CreateEngine();
    m_Launcher.kill();
    m_Launcher.waitForFinished();
    EXPECT_TRUE(Failure([&] { engine->Start(); }).contains(u"@plant"_s));
    EXPECT_TRUE(Failure([&] { RemoteLibrary().CreateEngine(); }).endsWith(u"velsqlremote has ended."_s));
    EXPECT_TRUE(HasStartedNothingHere());
    EXPECT_TRUE(QTest::qWaitFor([&] { return Ssh().isEmpty() && Bridges().isEmpty(); }, PatienceMs));
}
