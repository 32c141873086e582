#include "server/sqlitehistory/VirtualTable.h"

bool IsBinary(sqlite3_index_info* info, int constraint)
{
    return sqlite3_stricmp(sqlite3_vtab_collation(info, constraint), "BINARY") == 0;
}

void Return(sqlite3_context* context, const SqlCell& cell)
{
    switch (cell.Kind) {
    case SqlCell::Type::Integer: return sqlite3_result_int64(context, cell.Integer);
    case SqlCell::Type::Real: return sqlite3_result_double(context, cell.Real);
    case SqlCell::Type::Text: return Return(context, cell.Bytes);
    case SqlCell::Type::Blob:
        return sqlite3_result_blob64(context, cell.Bytes.data(), static_cast<quint64>(cell.Bytes.size()),
                                     SQLITE_TRANSIENT);
    default: return sqlite3_result_null(context);
    }
}

void Return(sqlite3_context* context, QByteArrayView text)
{
    sqlite3_result_text64(context, text.data(), static_cast<quint64>(text.size()), SQLITE_TRANSIENT, SQLITE_UTF8);
}

QByteArray TextOf(sqlite3_value* value)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {text, sqlite3_value_bytes(value)};
}
