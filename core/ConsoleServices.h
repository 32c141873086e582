#pragma once

#include "core/automation/ServerObjects.h"
#include "core/Platform.h"
#include "core/RefreshTurns.h"

/// What a console works with; the program makes it and hands it to the main window, which it outlives.
struct ConsoleServices
{
    /// The server's type library.
    VelSQLLib& Library;
    Platform& System;
    /// All grids of the console share it.
    RefreshTurns Turns = {};
};
