#include "server/database/PositionTable.h"

PositionTable::PositionTable(const DatabaseSession& session, const QString& historyName)
    : m_Session(session)
    , m_Name(historyName.left(historyName.lastIndexOf(QStringLiteral(".\"")) + 1) + QStringLiteral("velsql_positions"))
{
}

bool PositionTable::Make()
{
    const QString question = QStringLiteral("SELECT max(sequence) FROM ") + m_Name;
    try {
        m_Session.Ask(question); // a user who may not create tables is refused even with IF NOT EXISTS
        m_IsKept = true;
    } catch (const DatabaseError&) {
        try {
            m_Session.Run(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (spool_id bigint PRIMARY KEY, sequence bigint)")
                              .arg(m_Name));
            m_IsKept = true;
        } catch (const DatabaseError&) {
            m_IsKept = false;
        }
    }
    return m_IsKept;
}

quint64 PositionTable::Written(quint64 spool) const
{
    if (!m_IsKept) return 0;
    return m_Session
        .Ask(QStringLiteral("SELECT sequence FROM %1 WHERE spool_id = %2").arg(m_Name, QString::number(spool)))
        .toULongLong();
}

quint64 PositionTable::WrittenForGood(quint64 spool) const
{
    if (!m_IsKept) return 0;
    // It changes nothing, and so waits for whoever changes the row or is just adding it.
    return m_Session
        .Ask(QStringLiteral("INSERT INTO %1 VALUES (%2, 0) ON CONFLICT (spool_id) DO UPDATE "
                            "SET sequence = velsql_positions.sequence RETURNING sequence")
                 .arg(m_Name, QString::number(spool)))
        .toULongLong();
}

void PositionTable::Note(SpoolPosition position) const
{
    if (!m_IsKept) return;
    m_Session.Run(QStringLiteral("INSERT INTO %1 VALUES (%2, %3) ON CONFLICT (spool_id) DO UPDATE "
                                 "SET sequence = excluded.sequence")
                      .arg(m_Name, QString::number(position.Spool), QString::number(position.Sequence)));
}

void PositionTable::Forget(quint64 spool) const
{
    if (m_IsKept)
        m_Session.Run(QStringLiteral("DELETE FROM %1 WHERE spool_id = %2").arg(m_Name, QString::number(spool)));
}
