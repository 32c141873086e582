#pragma once

#include "core/automation/Errors.h"
#include "server/sqlitehistory/RowBlock.h"

#include <memory>
#include <sqlite3.h>

/// What a virtual table and its cursors begin with, as SQLite wants them.
template <typename Content>
struct VirtualTable : sqlite3_vtab
{
    explicit VirtualTable(Content content)
        : sqlite3_vtab{}
        , It(std::move(content))
    {
    }
    Content It;
};

template <typename Content>
Content& ContentOf(sqlite3_vtab* table)
{
    return static_cast<VirtualTable<Content>*>(table)->It;
}

/// Runs what SQLite has asked a virtual table for; an exception becomes the table's message.
template <typename Work>
int Answer(sqlite3_vtab* table, Work&& work)
{
    try {
        work();
        return SQLITE_OK;
    } catch (...) {
        sqlite3_free(table->zErrMsg);
        table->zErrMsg = sqlite3_mprintf("%s", CurrentErrorDescription().toUtf8().constData());
        return SQLITE_ERROR;
    }
}

/// A cursor that goes through the rows of a sweep, which has Next.
template <typename Sweep>
struct SweepCursor : sqlite3_vtab_cursor
{
    void Begin(std::unique_ptr<Sweep> rows)
    {
        Rows = std::move(rows);
        IsAtEnd = !Rows->Next();
    }

    std::unique_ptr<Sweep> Rows;
    bool IsAtEnd = true;
};

/// What the modules of all tables have in common. Without xCreate a table is there by itself, and nobody can make
/// another one.
template <typename Content, typename Sweep>
sqlite3_module SweepModule()
{
    using Cursor = SweepCursor<Sweep>;
    sqlite3_module module{};
    module.iVersion = 1;
    module.xDisconnect = [](sqlite3_vtab* table) {
        delete static_cast<VirtualTable<Content>*>(table);
        return SQLITE_OK;
    };
    module.xOpen = [](sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
        *cursor = new Cursor;
        return SQLITE_OK;
    };
    module.xClose = [](sqlite3_vtab_cursor* cursor) {
        delete static_cast<Cursor*>(cursor);
        return SQLITE_OK;
    };
    module.xNext = [](sqlite3_vtab_cursor* cursor) {
        auto& at = *static_cast<Cursor*>(cursor);
        return Answer(cursor->pVtab, [&] { at.IsAtEnd = !at.Rows->Next(); });
    };
    module.xEof = [](sqlite3_vtab_cursor* cursor) { return static_cast<Cursor*>(cursor)->IsAtEnd ? 1 : 0; };
    return module;
}

/// Makes the table `name` of a module known to a connection, with content that all of its uses begin with.
template <typename Content>
void AddTable(sqlite3* connection, const QString& name, const sqlite3_module& module, Content content)
{
    const auto forget = [](void* kept) { delete static_cast<Content*>(kept); };
    sqlite3_create_module_v2(connection, name.toUtf8().constData(), &module, new Content(std::move(content)), forget);
}

/// A constraint that xBestIndex can use on text of a column with SQLite's usual way of comparing.
bool IsBinary(sqlite3_index_info* info, int constraint);

void Return(sqlite3_context* context, const SqlCell& cell);
void Return(sqlite3_context* context, QByteArrayView text);
/// The text of a value; as SQLite compares a number with a text column.
QByteArray TextOf(sqlite3_value* value);
