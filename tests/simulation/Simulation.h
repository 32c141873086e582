#pragma once

#include "tests/simulation/Trace.h"

/// A server, its clients and all that can happen to them, from the first client until the last has gone: one seed, one
/// run. Notes everything, and whether what is promised holds, in the trace. Throws BrokenPromise.
void Simulate(quint64 seed, Trace& trace);
