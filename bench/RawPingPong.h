#pragma once

#include "bench/Child.h"

#include <sys/socket.h>
#include <unistd.h>

/// 64 bytes there and back over a local socket: what two processes cannot do without.
class RawPingPong
{
public:
    /// Forks: to be made before anything else is open.
    RawPingPong()
    {
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, m_Ends) != 0) qFatal("no sockets");
        m_Child.emplace([this] { Echo(); });
        close(m_Ends[1]);
    }
    ~RawPingPong() { close(m_Ends[0]); }
    qint64 ProcessId() const { return m_Child->Id(); }
    void operator()()
    {
        char bytes[64] = {};
        if (write(m_Ends[0], bytes, sizeof bytes) != sizeof bytes || read(m_Ends[0], bytes, sizeof bytes) <= 0)
            qFatal("raw");
    }

private:
    void Echo() const
    {
        close(m_Ends[0]);
        char bytes[64];
        while (read(m_Ends[1], bytes, sizeof bytes) > 0) {
            if (write(m_Ends[1], bytes, sizeof bytes) < 0) break;
        }
    }

    int m_Ends[2];
    std::optional<Child> m_Child;
};
