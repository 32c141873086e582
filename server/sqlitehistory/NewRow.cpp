#include "server/sqlitehistory/NewRow.h"

#include "server/sqlitehistory/RowPartition.h"
#include "server/sqlitehistory/TimeKey.h"

HistoryRow NewRow(qint64 item, const SqlCell& value, const SqlCell& time)
{
    HistoryRow row;
    row.Item = item;
    row.Value = value;
    row.HasTimeText = true;
    row.Time = time;
    row.Offset = HistoryRow::NoOffset;
    if (time.Kind == SqlCell::Type::Null) row.Local = Chunk::Lowest;
    else if (time.Kind == SqlCell::Type::Blob) row.Local = Chunk::Highest;
    else {
        const TimeKey key = TimeKeyOf(time.Bytes);
        row.Local = key.Local;
        row.HasTimeText = !key.IsCanonical;
        if (key.IsTime) row.Offset = OffsetOfLocal(key.Local);
    }
    return row;
}
