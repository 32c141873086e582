#pragma once

/// So many days of a server that scans each minute and records in SQLite, from shortly before clocks are set forward;
/// then somebody sets the clock. Prints what it finds and returns whether all is as it should be.
bool RunDays(int days);
