#pragma once

#include "core/automation/ServerObjects.h"
#include "core/Platform.h"
#include "core/RefreshTurns.h"
#include "core/ServerPresence.h"

/// What a console works with. The program creates it and hands it to the main window; it must outlive that window.
struct ConsoleServices
{
    /// The server's type library.
    VelSQLLib& Library;
    Platform& System;
    /// Shared by all grids of the console.
    RefreshTurns Turns{Library};
    ServerPresence Presence{Library};
};
