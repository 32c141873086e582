#include "tests/soak/SoakFaults.h"

#include "velsqllib/RemoteLink.h"

#include <QDir>
#include <QTest>

#include <csignal>

SoakFaults::SoakFaults(PrivateSshd& machine, std::mt19937& random)
    : m_Machine(machine)
    , m_Random(random)
{
}

std::vector<SoakFault> SoakFaults::All()
{
    PrivateSshd& there = m_Machine;
    const auto killed = [](const QList<pid_t>& processes) { PrivateSshd::Signal(processes, SIGKILL); };
    const std::function<void()> goOn = [this] { PrivateSshd::Signal(m_Frozen, SIGCONT); };
    const std::pair none{0, 0}, brief{200, 2500}, lasting{4000, 12'000};
    return {
        {"ssh killed", 8, none, [=, &there, this] { killed(OneOf(there.Ssh())); }},
        {"ssh ends", 4, none, [&there, this] { PrivateSshd::Signal(OneOf(there.Ssh()), SIGTERM); }},
        {"ssh frozen shortly", 4, brief, [&there, this] { Freeze(OneOf(there.Ssh())); }, goOn},
        {"ssh frozen", 2, lasting, [&there, this] { Freeze(OneOf(there.Ssh())); }, goOn},
        {"bridge killed", 6, none, [=, &there] { killed(there.Bridges()); }},
        {"bridge frozen", 1, lasting, [&there, this] { Freeze(there.Bridges()); }, goOn},
        {"network frozen shortly", 4, brief, [&there, this] { Freeze(there.Sshd()); }, goOn},
        {"network frozen", 2, lasting, [&there, this] { Freeze(there.Sshd()); }, goOn},
        {"session frozen", 1, lasting, [&there, this] { Freeze(there.Sshd().mid(1)); }, goOn},
        {"session frozen while the link is made", 2, lasting,
         [=, &there, this] {
             killed(there.Ssh());
             QTest::qWait(static_cast<int>(m_Random() % 1500));
             Freeze(there.Sshd().mid(1));
         },
         goOn},
        {"session killed", 4, none, [=, &there, this] { killed(OneOf(there.Sshd().mid(1))); }},
        {"sshd restarted", 6, brief, [=, &there] { killed(there.Sshd()); }},
        {"laptop asleep shortly", 3, brief, [&there, this] { Freeze(there.Ssh() + Launcher()); }, goOn},
        {"laptop asleep", 2, lasting, [&there, this] { Freeze(there.Ssh() + Launcher()); }, goOn},
        {"server killed", 4, brief, [=, this] { killed(Servers()); }, [this] { StartServerThere(); }},
        {"server frozen", 1, lasting, [this] { Freeze(Servers()); }, goOn},
        {"machine restarted", 4, brief,
         [=, &there, this] {
             killed(there.Sshd() + there.Bridges() + Servers());
             QDir(there.Path(QStringLiteral("there/run/velsql"))).removeRecursively();
         },
         [this] {
             if (m_IsService) StartServerThere(); // no bridge starts one in its place
         }},
        {"socket here removed", 2, none, [this] { SweepAwayAndKill(); }},
        {"socket there removed", 2, none,
         [=, &there, this] {
             QDir(there.Path(QStringLiteral("there/run/velsql"))).removeRecursively();
             killed(OneOf(there.Ssh()));
         }},
    };
}

QList<pid_t> SoakFaults::Servers() const
{
    return m_Machine.Servers() +
           m_Machine.Processes(PrivateSshd::Program(QStringLiteral("velsqlserver")).toUtf8() + " --socket");
}

QList<pid_t> SoakFaults::OneOf(const QList<pid_t>& all)
{
    return all.isEmpty() ? all : QList<pid_t>{all[static_cast<qsizetype>(m_Random() % all.size())]};
}

QList<pid_t> SoakFaults::Launcher() const
{
    return {static_cast<pid_t>(m_Machine.m_Launcher.processId())};
}

void SoakFaults::Freeze(const QList<pid_t>& processes)
{
    m_Frozen = processes;
    PrivateSshd::Signal(processes, SIGSTOP);
}

void SoakFaults::EndServers()
{
    PrivateSshd::Signal(Servers(), SIGKILL);
    m_IsService = false;
}

void SoakFaults::StartServerThere()
{
    m_IsService = true;
    QProcess::startDetached(PrivateSshd::Program(QStringLiteral("velsqlserver")),
                            {QStringLiteral("--socket"), m_Machine.Path(QStringLiteral("there/run/velsql/server.sock")),
                             QStringLiteral("--plant"),
                             m_Machine.Path(QStringLiteral("there/config/velsql/plant.toml"))});
}

void SoakFaults::SweepAwayAndKill() const
{
    QFileInfo(qEnvironmentVariable(RemoteLink::Variable)).dir().removeRecursively();
    PrivateSshd::Signal(m_Machine.Ssh(), SIGKILL);
}
