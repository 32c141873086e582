#include "server/database/HistoryTable.h"

QString QuotedName(const QString& name)
{
    QStringList parts = name.split(u'.');
    for (QString& part : parts) part = u'"' + part.replace(u'"', QStringLiteral("\"\"")) + u'"';
    return parts.join(u'.');
}

HistoryTable::HistoryTable(const HistoryDestination& destination)
    : m_Destination(destination)
    , m_Session(DatabaseAddress(destination.ConnectionString))
    , m_Name(QuotedName(destination.TableName))
    , m_Positions(m_Session, m_Name)
{
}

void HistoryTable::Write(std::span<const RecordedValue> values, SpoolPosition position)
{
    Prepare(values);
    QSqlDatabase database = m_Session.Database();
    if (!database.transaction()) throw DatabaseError(database.lastError());
    try {
        Insert(values);
        Trim();
        m_Positions.Note(position);
        if (!database.commit()) throw DatabaseError(database.lastError());
    } catch (...) {
        RolledBack();
        // Qt would report a lost connection past the log.
        if (database.isOpen()) database.rollback();
        throw;
    }
}
