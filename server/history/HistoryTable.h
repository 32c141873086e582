#pragma once

#include "server/history/SqliteInsert.h"
#include "server/plant/Moment.h"

#include <optional>
#include <span>

/// A change of an item as it is recorded.
struct RecordedValue
{
    QString Controller;
    QString Item;
    Variant Value;
    TimeStamp Time;
};

/// The history's table on an open database: controller_name, item_name, item_value, item_time. In SQLite item_value has numeric
/// affinity, so that numbers are kept as numbers; in PostgreSQL it is text, and the average of texts is taught to the database.
class HistoryTable
{
public:
    /// `name` may be "<schema>.<table>".
    HistoryTable(const DatabaseSession& session, bool isPostgreSql, const QString& name);

    /// Makes the table when it is missing. Throws DatabaseError.
    void Create();
    /// Adds the values in one transaction and deletes the oldest beyond `maxRecord` (0: no limit). Throws DatabaseError, and
    /// then nothing is changed.
    void Write(std::span<const RecordedValue> values, qint32 maxRecord);

private:
    bool Exists() const;
    void TeachAverage();
    void Insert(std::span<const RecordedValue> values);
    void InsertOneByOne(std::span<const RecordedValue> values);
    void InsertTogether(std::span<const RecordedValue> values);
    void Trim(qint32 maxRecord);
    QString Literal(const QVariant& value) const;

    const DatabaseSession& m_Session;
    const bool m_IsPostgreSql;
    const QString m_Name;                 ///< quoted
    std::optional<SqliteInsert> m_Insert; ///< SQLite only
    qint64 m_Count = -1;                  ///< rows in the table, PostgreSQL only; -1: not counted yet
};
