#pragma once

#include "tests/simulation/DrivenTime.h"

#include <poll.h>

#include <span>

/// The threads of this process under driven time: one runs at a time. When it waits, and now and then when it has given
/// a lock back, chance decides which of those that can go on does so; when none can, time goes on. Threads, locks,
/// conditions, futexes and sleep of all libraries are replaced for this.
namespace DrivenThreads {

/// The calling thread is the only one there is.
void Begin();
/// The same once more.
void End();
/// The calling thread waits for one of the sockets, until that time since DrivenTime::Begin at the latest.
void Wait(std::span<const pollfd> sockets, DrivenTime::Duration until);

} // namespace DrivenThreads
