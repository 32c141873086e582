#pragma once

#include "tests/simulation/World.h"

/// Does one thing that clients, the device, the database or whoever sets the clock may do; chance decides what.
void DoSomething(World& world);
