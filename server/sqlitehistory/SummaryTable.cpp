#include "server/sqlitehistory/SummaryTable.h"

#include "server/sqlitehistory/SummarySweep.h"
#include "server/sqlitehistory/TimeKey.h"
#include "server/sqlitehistory/VirtualTable.h"

namespace {

struct Table
{
    PartitionFolder Folder;
    qint64 Span;
};

using Cursor = SweepCursor<SummarySweep>;

constexpr const char* Columns =
    "CREATE TABLE summaries (controller_name TEXT, item_name TEXT, start_utc INTEGER, start_time TEXT, "
    "value_count INTEGER, smallest REAL, largest REAL, first_value REAL, last_value REAL, mean_value REAL, "
    "worst_state INTEGER, number_count INTEGER, grid_origin INTEGER HIDDEN, grid_length INTEGER HIDDEN, "
    "PRIMARY KEY (controller_name, item_name, start_utc)) WITHOUT ROWID";
enum Column
{
    ControllerName,
    ItemName,
    StartUtc,
    StartTime,
    ValueCount,
    Smallest,
    Largest,
    FirstValue,
    LastValue,
    MeanValue,
    WorstState,
    NumberCount,
    GridOrigin, ///< with the length: who reads many spans gets the sums of each interval of this grid
    GridLength
};

/// Local times differ from UTC by no more.
constexpr qint64 MostOffset = 26 * Hour;

int Connect(sqlite3* connection, void* declared, int, const char* const*, sqlite3_vtab** table, char**)
{
    const int result = sqlite3_declare_vtab(connection, Columns);
    if (result == SQLITE_OK) *table = new VirtualTable<Table>(*static_cast<const Table*>(declared));
    return result;
}

/// What an argument of xFilter is: a name, or a bound of the column in the given direction; 0: of no use.
char SignOf(int column, unsigned char operation)
{
    const bool isEqual = operation == SQLITE_INDEX_CONSTRAINT_EQ;
    const bool isFrom = operation == SQLITE_INDEX_CONSTRAINT_GE || operation == SQLITE_INDEX_CONSTRAINT_GT;
    const bool isTo = operation == SQLITE_INDEX_CONSTRAINT_LE || operation == SQLITE_INDEX_CONSTRAINT_LT;
    switch (column) {
    case ControllerName: return isEqual ? 'c' : '\0';
    case ItemName: return isEqual ? 'i' : '\0';
    case StartUtc: return isEqual ? 'e' : isFrom ? 'u' : isTo ? 'U' : '\0';
    case GridOrigin: return isEqual ? 'o' : '\0';
    case GridLength: return isEqual ? 'l' : '\0';
    case StartTime: return isFrom ? 't' : isTo ? 'T' : '\0';
    default: return '\0';
    }
}

int BestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info)
{
    return Answer(vtab, [&] {
        QByteArray signs;
        double rows = 1e7;
        for (int i = 0; i < info->nConstraint; ++i) {
            const auto& constraint = info->aConstraint[i];
            const char sign = constraint.usable ? SignOf(constraint.iColumn, constraint.op) : '\0';
            const bool isText = constraint.iColumn <= ItemName || constraint.iColumn == StartTime;
            if (sign == 0 || (isText && !IsBinary(info, i))) continue;
            signs.append(sign);
            info->aConstraintUsage[i].argvIndex = static_cast<int>(signs.size());
            info->aConstraintUsage[i].omit = sign == 'o' || sign == 'l';
            rows /= 20;
        }
        const bool isOneItem = signs.contains('c') && signs.contains('i');
        const bool isForwards =
            info->nOrderBy == 1 && info->aOrderBy[0].desc == 0 && info->aOrderBy[0].iColumn == StartUtc;
        info->orderByConsumed = isOneItem && isForwards;
        info->idxStr = sqlite3_mprintf("%s", signs.constData());
        info->needToFreeIdxStr = 1;
        info->estimatedRows = static_cast<sqlite3_int64>(rows) + 1;
        info->estimatedCost = rows + 1;
    });
}

/// Bounds are checked again by SQLite, so they may be too wide.
void Narrow(SummaryQuery& query, char sign, sqlite3_value* value)
{
    const bool isTime = sign == 't' || sign == 'T';
    if (isTime && sqlite3_value_type(value) == SQLITE_BLOB) return;
    if (!isTime && sqlite3_value_numeric_type(value) != SQLITE_INTEGER) return;
    const qint64 bound = isTime ? TimeKeyOf(TextOf(value)).Local : sqlite3_value_int64(value);
    if (sign == 'o') query.GridOrigin = bound;
    if (sign == 'l') query.GridLength = bound;
    const qint64 slack = isTime ? MostOffset : 0;
    if (sign == 'u' || sign == 'e' || sign == 't') query.From = std::max(query.From, bound - slack);
    if (sign == 'U' || sign == 'e' || sign == 'T') query.To = std::min(query.To, bound + slack);
}

int Filter(sqlite3_vtab_cursor* cursor, int, const char* signs, int count, sqlite3_value** values)
{
    auto& at = *static_cast<Cursor*>(cursor);
    return Answer(cursor->pVtab, [&] {
        SummaryQuery query;
        for (int i = 0; i < count; ++i) {
            if (sqlite3_value_type(values[i]) == SQLITE_NULL) query.IsNothing = true;
            else if (signs[i] == 'c') query.Controller = TextOf(values[i]);
            else if (signs[i] == 'i') query.Item = TextOf(values[i]);
            else Narrow(query, signs[i], values[i]);
        }
        const Table& table = ContentOf<Table>(cursor->pVtab);
        at.Begin(std::make_unique<SummarySweep>(table.Folder, std::move(query), table.Span));
    });
}

void ReturnNumber(sqlite3_context* context, const Summary& summary, double number)
{
    if (summary.Numbers > 0) sqlite3_result_double(context, number);
}

void ReturnColumn(sqlite3_context* context, const SummarySweep& summaries, int column)
{
    const Summary& summary = summaries.At();
    const qint64 start = summary.Start;
    switch (column) {
    case ControllerName: return Return(context, summaries.Name().Controller);
    case ItemName: return Return(context, summaries.Name().Item);
    case StartUtc: return sqlite3_result_int64(context, start);
    case StartTime: {
        const TimeText text = SpellTime(start + OffsetOfMoment(start) * MicrosecondsASecond);
        return Return(context, QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
    }
    case ValueCount: return sqlite3_result_int64(context, summary.Rows);
    case Smallest: return ReturnNumber(context, summary, summary.Smallest);
    case Largest: return ReturnNumber(context, summary, summary.Largest);
    case FirstValue: return ReturnNumber(context, summary, summary.First);
    case LastValue: return ReturnNumber(context, summary, summary.Last);
    case MeanValue: return ReturnNumber(context, summary, summary.Mean().value_or(0.0));
    case WorstState: return sqlite3_result_int64(context, summary.WorstState);
    case NumberCount: return sqlite3_result_int64(context, summary.Numbers);
    default: return;
    }
}

int GetColumn(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column)
{
    return Answer(cursor->pVtab, [&] { ReturnColumn(context, *static_cast<Cursor*>(cursor)->Rows, column); });
}

int GetRowId(sqlite3_vtab_cursor*, sqlite3_int64*)
{
    return SQLITE_ERROR; // never asked for: there is none
}

sqlite3_module Module()
{
    sqlite3_module module = SweepModule<Table, SummarySweep>();
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xFilter = Filter;
    module.xColumn = GetColumn;
    module.xRowid = GetRowId;
    return module;
}

} // namespace

void AddSummaryTable(sqlite3* connection, const QString& name, const PartitionFolder& folder, qint64 span)
{
    static const sqlite3_module module = Module();
    AddTable(connection, name, module, Table{folder, span});
}
