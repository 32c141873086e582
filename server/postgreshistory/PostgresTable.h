#pragma once

#include "server/database/HistoryTable.h"

/// The history's table in a PostgreSQL database. item_value is text, so an average of texts is defined in the database.
class PostgresTable final : public HistoryTable
{
public:
    /// Creates the table when it is missing. Throws DescribedError.
    explicit PostgresTable(const HistoryDestination& destination);

private:
    void Insert(std::span<const RecordedValue> values) override;
    void Trim() override;
    void RolledBack() override { m_Count = -1; }

    bool Exists() const;
    void TeachAverage() const;
    QString RowText(const RecordedValue& value);
    QString Literal(const QVariant& value) const;

    /// Rows in the table; -1 while not counted.
    qint64 m_Count = -1;
};
