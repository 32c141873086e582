#pragma once

#include "core/automation/ServerObjects.h"
#include "trend/core/Span.h"

/// What is added to the server's local time to make it UTC. Items tell local times only; the history knows both. Without
/// one it is the zone of this machine.
Micros ZoneOf(VelSQLEngine& engine);
