#pragma once

#include "core/automation/Errors.h"

#include <kj/io.h>

#include <array>
#include <sys/socket.h>

/// Two ends of a connection inside this process.
inline std::array<kj::AutoCloseFd, 2> SocketPair()
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw DescribedError(qt_error_string());
    return {kj::AutoCloseFd(ends[0]), kj::AutoCloseFd(ends[1])};
}
