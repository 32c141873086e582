#pragma once

#include "server/postgreshistory/LocalTime.h"
#include "server/postgreshistory/RowFeed.h"

/// Rows as a single INSERT, of arrays or of lists of values, for databases that have no COPY.
class StatementFeed final : public RowFeed
{
public:
    /// `way`: Arrays or Values.
    StatementFeed(Way way, const DatabaseSession& session, bool isOwn);

    Way How() const override { return m_Way; }
    void Begin(const QString& table) override;
    void Add(const PostgresRow& row) override;
    void End() override;
    void Abandon() override;

private:
    QString ArrayStatement() const;
    QString ValuesStatement() const;

    const Way m_Way;
    const DatabaseSession& m_Session;
    const bool m_IsOwn;
    LocalTime m_Clock;
    QString m_Table;
    QList<QStringList> m_Columns; ///< the literals of each
};
