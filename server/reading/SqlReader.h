#pragma once

#include "server/reading/HistoryReader.h"
#include "server/reading/SqlCursor.h"

/// The history as its database keeps it: values from velsql_values and blocks from velsql_minutes, _hours and _days,
/// where these exist, else values from the recorded table.
class SqlReader final : public HistoryReader
{
public:
    /// `table` is the name of the recorded table. The session must outlive this object.
    SqlReader(const DatabaseSession& session, const QString& table);

    void ReadValues(const ItemPath& item, const TimeRange& range, bool newestFirst, qint64 atMost,
                    const Taker<Reading>& take) override;
    bool HasBlocks() const override { return m_HasBlocks; }
    std::vector<Summary> ReadBlocks(const ItemPath& item, Level level, const TimeRange& range,
                                    const Grid& grid) override;

private:
    QString RelationOf(Level level) const;
    bool HasColumn(const QString& relation, const QString& column) const;
    QString FlatValues() const;
    QString Page(qint64 atMost) const;
    QString Halves() const;

    const DatabaseSession& m_Session;
    const bool m_IsSqlite;
    const QString m_Table;
    const QString m_Values;
    const QString m_Halves; ///< of PostgreSQL's velsql_values
    const bool m_HasBlocks;
};
