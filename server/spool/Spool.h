#pragma once

#include "server/database/HistoryDestination.h"
#include "server/spool/SharedTail.h"
#include "server/spool/SpoolFolder.h"
#include "server/spool/SpoolSegment.h"

#include <deque>
#include <map>
#include <mutex>
#include <set>

struct SpoolSettings
{
    QString Folder;
    qint64 MostBytes = qint64{10} * 1024 * 1024 * 1024;
};

/// Values that were given up because there was no room for them.
struct DroppedValues
{
    quint64 Count = 0;
    qint64 Begin = 0; ///< time of the oldest, microseconds since 1970
    qint64 End = 0;

    void Add(quint64 count, qint64 begin, qint64 end);
    /// "3 values from 2024-01-31 12:00:00 to 2024-01-31 12:00:05"
    QString Text() const;
};

/// What waits on disk for one destination, in order: what earlier servers left first, then what this one adds. Files
/// come into being with the first value that has to wait. All of it may be called from any thread.
class Spool
{
public:
    /// The share of the disk that stays free.
    static constexpr int PercentKeptFree = 5;

    /// `destination` says whose values they are, also to the next server.
    Spool(SpoolSettings settings, QString destination, Durability surviving);
    ~Spool();

    /// This server's own.
    quint64 Id() const { return m_Id; }
    /// Takes over what earlier servers left. It may take seconds; called before the first Read. Returns whether that is
    /// all: what cannot be read at present is left for another call, and the log says why.
    bool TakeOver();
    /// All spools that have values here, and this server's own.
    std::vector<quint64> Ids() const;
    /// Values on disk that have not been written.
    quint64 Count() const;
    /// Whether there are values of earlier servers, as far as is known.
    bool HasEarlier() const;

    /// Where this server's values can be put before they are added. Throws DescribedError.
    std::unique_ptr<SharedTail> MakeTail() const;
    /// Adds values of this server. Where there is no room the oldest go. Throws DescribedError when there is none at
    /// all.
    void Append(quint64 first, std::span<const RecordedValue> values);
    DroppedValues TakeDropped();

    /// The oldest values that have not been read; empty when there are none. Throws as SpoolSegment::Read.
    SpoolBatch Read(std::size_t most);
    /// The values up to there have been written.
    void Written(SpoolPosition position);
    /// Spools of earlier servers that have been emptied since the last call: nobody will ask any more how far they have
    /// been written.
    std::vector<quint64> TakeEmptied();
    /// Whether this also holds for this server's own, once everything has been written.
    bool IsOwnEmpty() const;

private:
    void TakeOver(SpoolFolderRef folder);
    SpoolSegment& Growing(quint64 first, qint64 bytes);
    bool HasRoom(qint64 bytes) const;
    void MakeRoom(qint64 bytes);
    void Drop(const SpoolSegmentRef& segment);
    void RemoveFront();
    void RemoveEmptyFolders();

    const SpoolSettings m_Settings;
    const QString m_Destination;
    const Durability m_Surviving;
    const quint64 m_Id;
    mutable std::mutex m_Guard;
    SpoolFolderRef m_Folder; ///< null while nothing has had to wait
    std::vector<SpoolFolderRef> m_Earlier;
    bool m_IsTakenOver = false;
    std::deque<SpoolSegmentRef> m_Segments;
    SpoolSegmentRef m_Growing; ///< the last one; null when the next value begins a new one
    qint64 m_Bytes = 0;
    std::map<quint64, quint64> m_Written; ///< by spool: up to this sequence
    std::map<quint64, quint64> m_Read;
    DroppedValues m_Dropped;
    std::vector<quint64> m_Emptied;
    std::set<quint64> m_Stuck; ///< spools of which a file could not be removed
};

/// How a destination is named beside the values that wait for it: what it is reached by, without secrets.
QString NameOf(const HistoryDestination& destination);
