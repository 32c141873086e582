#pragma once

#include "server/sqlitehistory/RowBlock.h"

/// A row of which the texts of its columns are known: where it stands in time, and how far local time is ahead of UTC
/// then. The bytes must live as long as the row.
HistoryRow NewRow(qint64 item, const SqlCell& value, const SqlCell& time);
