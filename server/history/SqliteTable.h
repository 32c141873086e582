#pragma once

#include "server/database/HistoryTable.h"

struct sqlite3;
struct sqlite3_stmt;

/// The history's table in an SQLite file. item_value has numeric affinity, so that numbers stay numbers. Rows are
/// inserted with the database's own library, because Qt's query costs more than the insert itself.
class SqliteTable final : public HistoryTable
{
public:
    /// Creates the table when it is missing. Throws DescribedError.
    explicit SqliteTable(const HistoryDestination& destination);
    ~SqliteTable() override;

    bool IsGone() const override;

private:
    void Insert(std::span<const RecordedValue> values) override;
    void Trim() override;

    void Check(int result) const;
    void Bind(int column, const QString& text);
    void Bind(int column, const QVariant& value);

    const QString m_Path;
    sqlite3* m_Database;
    sqlite3_stmt* m_Insert = nullptr;
};
