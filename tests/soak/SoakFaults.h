#pragma once

#include "tests/soak/SoakFault.h"
#include "tests/support/PrivateSshd.h"

#include <atomic>
#include <random>
#include <vector>

/// What can happen to the link between a program and the server of another machine.
class SoakFaults
{
public:
    SoakFaults(PrivateSshd& machine, std::mt19937& random);

    std::vector<SoakFault> All();
    QList<pid_t> Servers() const;
    /// All of them; the next one is started by a bridge.
    void EndServers();

private:
    QList<pid_t> OneOf(const QList<pid_t>& all);
    QList<pid_t> Launcher() const;
    void Freeze(const QList<pid_t>& processes);
    void StartServerThere();
    /// As one that tidies up temporary files does it, in a bad moment.
    void SweepAwayAndKill() const;

    PrivateSshd& m_Machine;
    std::mt19937& m_Random;
    QList<pid_t> m_Frozen;
    /// The server there is one that no bridge has started.
    std::atomic<bool> m_IsService = false;
};
