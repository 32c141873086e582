#include "server/sqlitehistory/RowTable.h"

#include "server/sqlitehistory/RowChanges.h"
#include "server/sqlitehistory/TimeKey.h"
#include "server/sqlitehistory/VirtualTable.h"

#include <QtEndian>

#include <array>

namespace {

struct Table
{
    PartitionReadersRef Partitions;
    bool HasMore; ///< velsql_values
    std::unique_ptr<RowChanges> Changes = nullptr;
};

struct Declared
{
    PartitionFolder Folder;
    bool HasMore;
};

using Cursor = SweepCursor<RowSweep>;

constexpr const char* FourColumns = "CREATE TABLE rows (controller_name TEXT, item_name TEXT, item_value NUMERIC, "
                                    "item_time TEXT, row_place HIDDEN BLOB NOT NULL PRIMARY KEY) WITHOUT ROWID";
constexpr const char* MoreColumns =
    "CREATE TABLE rows (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT, value_number REAL, "
    "item_utc INTEGER, item_state INTEGER, row_place HIDDEN BLOB NOT NULL PRIMARY KEY) WITHOUT ROWID";
enum Column
{
    ControllerName,
    ItemName,
    ItemValue,
    ItemTime,
    ValueNumber, ///< with four columns: the place
    ItemUtc,
    ItemState,
    Place
};

// What xFilter gets: a sign for each argument, and the order.
constexpr char ControllerIs = 'c';
constexpr char ItemIs = 'i';
constexpr char TimeFrom = 't';
constexpr char TimeTo = 'T';
constexpr char UtcFrom = 'u';
constexpr char UtcTo = 'U';
constexpr int ByTime = 1;
constexpr int ByUtc = 2;
constexpr int Descending = 4;

int Connect(sqlite3* connection, void* declared, int, const char* const*, sqlite3_vtab** table, char**)
{
    const auto& as = *static_cast<const Declared*>(declared);
    const int result = sqlite3_declare_vtab(connection, as.HasMore ? MoreColumns : FourColumns);
    if (result == SQLITE_OK)
        *table = new VirtualTable<Table>(Table{std::make_shared<PartitionReaders>(as.Folder), as.HasMore});
    return result;
}

/// The signs of what a constraint helps to find; ends with 0. It is always checked again by SQLite.
const char* SignsOf(int column, unsigned char operation)
{
    const bool isEqual = operation == SQLITE_INDEX_CONSTRAINT_EQ;
    const bool isFrom = operation == SQLITE_INDEX_CONSTRAINT_GE || operation == SQLITE_INDEX_CONSTRAINT_GT;
    const bool isTo = operation == SQLITE_INDEX_CONSTRAINT_LE || operation == SQLITE_INDEX_CONSTRAINT_LT;
    switch (column) {
    case ControllerName: return isEqual ? "c" : "";
    case ItemName: return isEqual ? "i" : "";
    case ItemTime: return isEqual ? "=" : isFrom ? "t" : isTo ? "T" : "";
    case ItemUtc: return isEqual ? "e" : isFrom ? "u" : isTo ? "U" : "";
    default: return "";
    }
}

int OrderOf(const sqlite3_index_info& info, const Table& table, bool hasUtcRange)
{
    if (info.nOrderBy != 1) return 0;
    const int column = info.aOrderBy[0].iColumn;
    const int by = column == ItemTime ? ByTime : column == ItemUtc && table.HasMore ? ByUtc : 0;
    // Rows without a moment come first or last; a range leaves them out.
    if (by == ByUtc && !hasUtcRange) return 0;
    if (by == 0 || !table.Partitions->CanSweepInOrder()) return 0;
    return by | (info.aOrderBy[0].desc ? Descending : 0);
}

int BestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info)
{
    return Answer(vtab, [&] {
        Table& table = ContentOf<Table>(vtab);
        QByteArray signs;
        double rows = 1e8;
        for (int i = 0; i < info->nConstraint; ++i) {
            const auto& constraint = info->aConstraint[i];
            const bool isText = constraint.iColumn <= ItemTime;
            if (!constraint.usable || (constraint.iColumn == ItemUtc && !table.HasMore)) continue;
            const char sign = *SignsOf(constraint.iColumn, constraint.op);
            if (sign == 0 || (isText && !IsBinary(info, i))) continue;
            signs.append(sign);
            info->aConstraintUsage[i].argvIndex = static_cast<int>(signs.size());
            rows /= sign == 'i' || sign == '=' || sign == 'e' ? 1000 : 10;
        }
        info->idxNum = OrderOf(*info, table, signs.contains('u') || signs.contains('U') || signs.contains('e'));
        info->orderByConsumed = info->idxNum != 0;
        info->idxStr = sqlite3_mprintf("%s", signs.constData());
        info->needToFreeIdxStr = 1;
        info->estimatedRows = static_cast<sqlite3_int64>(rows) + 1;
        info->estimatedCost = rows + 1;
    });
}

/// NULL is never equal, smaller or larger. What is no text is left to SQLite.
void NarrowTime(RowQuery& query, char sign, sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_BLOB) return;
    const qint64 key = TimeKeyOf(TextOf(value)).Local;
    if (sign != TimeTo) query.FromLocal = std::max(query.FromLocal, key);
    if (sign != TimeFrom) query.ToLocal = std::min(query.ToLocal, key);
}

void NarrowUtc(RowQuery& query, char sign, sqlite3_value* value)
{
    const int type = sqlite3_value_numeric_type(value);
    if (type != SQLITE_INTEGER) return;
    const qint64 utc = sqlite3_value_int64(value);
    if (sign != UtcTo) query.FromUtc = std::max(query.FromUtc, utc);
    if (sign != UtcFrom) query.ToUtc = std::min(query.ToUtc, utc);
}

int Filter(sqlite3_vtab_cursor* cursor, int order, const char* signs, int count, sqlite3_value** values)
{
    auto& at = *static_cast<Cursor*>(cursor);
    return Answer(cursor->pVtab, [&] {
        RowQuery query;
        at.IsAtEnd = true;
        for (int i = 0; i < count; ++i) {
            if (sqlite3_value_type(values[i]) == SQLITE_NULL) return;
            switch (signs[i]) {
            case ControllerIs: query.Controller = TextOf(values[i]); break;
            case ItemIs: query.Item = TextOf(values[i]); break;
            case TimeFrom:
            case TimeTo:
            case '=': NarrowTime(query, signs[i], values[i]); break;
            default: NarrowUtc(query, signs[i], values[i]);
            }
        }
        if (order & ByTime) query.By = RowQuery::Order::Time;
        if (order & ByUtc) query.By = RowQuery::Order::Utc;
        query.IsDescending = (order & Descending) != 0;
        at.Begin(std::make_unique<RowSweep>(ContentOf<Table>(cursor->pVtab).Partitions, std::move(query)));
    });
}

void ReturnPlace(sqlite3_context* context, const RowPlace& place)
{
    // In the order in which the rows stand, so that each block is changed once.
    std::array<char, sizeof place> bytes;
    const std::array numbers = {place.Partition, place.Chunk, place.Block, place.Index};
    for (std::size_t i = 0; i < numbers.size(); ++i) qToBigEndian(numbers[i], bytes.data() + i * sizeof(qint64));
    sqlite3_result_blob(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

RowPlace PlaceOf(sqlite3_value* value)
{
    std::array<qint64, 4> numbers{};
    if (sqlite3_value_bytes(value) != sizeof numbers) throw DescribedError(QStringLiteral("row_place cannot be set."));
    const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = qFromBigEndian<qint64>(bytes + i * sizeof(qint64));
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

void ReturnTime(sqlite3_context* context, const HistoryRow& row)
{
    if (row.HasTimeText) return Return(context, row.Time);
    const TimeText text = SpellTime(row.Local);
    Return(context, QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
}

void ReturnColumn(sqlite3_context* context, const RowSweep& rows, int column)
{
    const HistoryRow& row = rows.Row();
    switch (column) {
    case ControllerName: return Return(context, rows.Name().Controller);
    case ItemName: return Return(context, rows.Name().Item);
    case ItemValue: return Return(context, row.Value);
    case ItemTime: return ReturnTime(context, row);
    case ValueNumber:
        return row.Value.IsNumber() ? sqlite3_result_double(context, row.Value.Number()) : sqlite3_result_null(context);
    case ItemUtc: return row.HasUtc() ? sqlite3_result_int64(context, row.Utc()) : sqlite3_result_null(context);
    case ItemState: return sqlite3_result_int(context, row.State);
    default: return ReturnPlace(context, rows.Place());
    }
}

int GetColumn(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column)
{
    const Table& table = ContentOf<Table>(cursor->pVtab);
    const bool isPlace = !table.HasMore && column == ValueNumber;
    return Answer(cursor->pVtab,
                  [&] { ReturnColumn(context, *static_cast<Cursor*>(cursor)->Rows, isPlace ? Place : column); });
}

int GetRowId(sqlite3_vtab_cursor*, sqlite3_int64*)
{
    return SQLITE_ERROR; // never asked for: there is none
}

SqlCell CellOf(sqlite3_value* value, bool isNumeric)
{
    using Type = SqlCell::Type;
    const int type = isNumeric ? sqlite3_value_numeric_type(value) : sqlite3_value_type(value);
    if (type == SQLITE_NULL) return {};
    if (isNumeric && type == SQLITE_INTEGER) return {Type::Integer, sqlite3_value_int64(value), 0.0, {}};
    if (isNumeric && type == SQLITE_FLOAT) return NumericCell(sqlite3_value_double(value));
    const bool isBlob = type == SQLITE_BLOB;
    const auto* bytes = isBlob ? static_cast<const char*>(sqlite3_value_blob(value))
                               : reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {isBlob ? Type::Blob : Type::Text, 0, 0.0, {bytes, sqlite3_value_bytes(value)}};
}

int Update(sqlite3_vtab* vtab, int count, sqlite3_value** values, sqlite3_int64*)
{
    return Answer(vtab, [&] {
        Table& table = ContentOf<Table>(vtab);
        if (count == 1) return table.Changes->Remove(PlaceOf(values[0]));
        sqlite3_value** columns = values + 2;
        for (const int name : {ControllerName, ItemName})
            if (sqlite3_value_type(columns[name]) == SQLITE_NULL)
                throw DescribedError(
                    QStringLiteral("A row of the history needs the names of a controller and an item."));
        const RowContent content{TextOf(columns[ControllerName]), TextOf(columns[ItemName]),
                                 CellOf(columns[ItemValue], true), CellOf(columns[ItemTime], false)};
        if (sqlite3_value_type(values[0]) == SQLITE_NULL) table.Changes->Insert(content);
        else table.Changes->Update(PlaceOf(values[0]), content);
    });
}

/// Before the statement looks for rows: nobody else may move them from then on.
int Begin(sqlite3_vtab* vtab)
{
    Table& table = ContentOf<Table>(vtab);
    return Answer(vtab, [&] {
        table.Changes = std::make_unique<RowChanges>(table.Partitions->Folder());
        table.Partitions = std::make_shared<PartitionReaders>(table.Partitions->Folder());
    });
}

int Sync(sqlite3_vtab* vtab)
{
    Table& table = ContentOf<Table>(vtab);
    return Answer(vtab, [&] {
        if (table.Changes) table.Changes->Prepare();
    });
}

int Commit(sqlite3_vtab* vtab)
{
    Table& table = ContentOf<Table>(vtab);
    const std::unique_ptr<RowChanges> changes = std::move(table.Changes);
    return Answer(vtab, [&] {
        if (changes) changes->Commit();
    });
}

int Rollback(sqlite3_vtab* vtab)
{
    ContentOf<Table>(vtab).Changes.reset();
    return SQLITE_OK;
}

sqlite3_module ModuleFor(bool canChange)
{
    sqlite3_module module = SweepModule<Table, RowSweep>();
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xFilter = Filter;
    module.xColumn = GetColumn;
    module.xRowid = GetRowId;
    if (!canChange) return module;
    module.xUpdate = Update;
    module.xBegin = Begin;
    module.xSync = Sync;
    module.xCommit = Commit;
    module.xRollback = Rollback;
    return module;
}

} // namespace

void AddRowTable(sqlite3* connection, const QString& name, const PartitionFolder& folder, bool hasMoreColumns)
{
    static const sqlite3_module changed = ModuleFor(true);
    static const sqlite3_module onlyRead = ModuleFor(false);
    AddTable(connection, name, hasMoreColumns ? onlyRead : changed, Declared{folder, hasMoreColumns});
}
