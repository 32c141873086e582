#pragma once

#include "trend/export/RecordedValues.h"

/// Who waits for a table, and is told how far it is: all rows until `until` have been written.
struct ExportWatch
{
    ::IsWanted IsWanted;
    std::function<void(Micros until, qint64 rows)> Tell;
};

/// What was written.
struct WrittenTable
{
    qint64 Rows = 0;
    QStringList Missing = {}; ///< what the table lacks, a line each
};

/// Writes every value as CSV, values of the same time in one row; the first row says what held when the span begins. An
/// empty cell: no value came then. `history` may be null: then only what was heard. Throws DescribedError and
/// ExportCancelled, and the file is then as it was before.
WrittenTable WriteValueTable(const ExportOrder& order, const HistoryRef& history, const ExportWatch& watch);
