#pragma once

#include "commandline/CommandLine.h"
#include "trend/app/Report.h"

/// The options with which velsqltrend writes files and opens no window.
void AddReportOptions(CommandLine& line);

/// Nothing when none of them is given. Throws UsageError.
std::optional<ReportOrder> ReadReportOptions(const CommandLine& line);
