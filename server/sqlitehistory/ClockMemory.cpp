#include "server/sqlitehistory/ClockMemory.h"

#include "server/sqlitehistory/PartitionFolder.h"

void ClockMemory::SetTrustedFrom(qint64 second)
{
    SqliteTransaction transaction(m_Newest.File());
    m_Newest.Note({Place, static_cast<quint64>(second)});
    transaction.Commit();
}

std::optional<std::chrono::system_clock::time_point> ClockMemory::LastRecord()
{
    const Chunk all = ContentsOf(m_Newest.Chunks()).Range;
    if (all.FirstUtc > all.LastUtc) return std::nullopt;
    return std::chrono::system_clock::time_point(std::chrono::microseconds(all.LastUtc));
}
