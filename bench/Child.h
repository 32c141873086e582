#pragma once

#include <QtGlobal>

#include <concepts>
#include <csignal>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// A process that runs a part of this program, and ends with this object.
class Child
{
public:
    explicit Child(std::invocable auto run)
        : m_Id(fork())
    {
        if (m_Id < 0) qFatal("no process");
        if (m_Id > 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run();
        _exit(0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        kill(m_Id, SIGKILL);
        waitpid(m_Id, nullptr, 0);
    }
    pid_t Id() const { return m_Id; }

private:
    pid_t m_Id;
};
