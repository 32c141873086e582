#include "trend/data/HistoryRows.h"

#include "core/automation/ValueTypes.h"

#include <cmath>

RecordedRow::RecordedRow(const Rows& rows)
    : Item(rows.Cell(0).Get<QString>())
    , Time(std::llround(rows.Number(2)))
    , Value(rows.Cell(3))
    , State(rows.Number(4))
    , Quality(rows.Cell(5).Get<QString>())
{
}

double RecordedRow::Number() const
{
    return IsGood() ? NumberIn(Value).value_or(std::nan("")) : std::nan("");
}
