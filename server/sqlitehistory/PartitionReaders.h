#pragma once

#include "server/sqlitehistory/PartitionFolder.h"

#include <list>

/// The partitions of a folder as one statement reads them: looked for once, and those that it has used last stay open,
/// each of them as it was when it was opened. A join asks for rows many times.
class PartitionReaders
{
public:
    struct Known
    {
        PartitionFile File;
        PartitionContents Contents;
    };
    struct Reader
    {
        /// Throws SqliteError.
        explicit Reader(const PartitionFile& file);

        const PartitionFile File;
        RowPartition Rows;
        const std::vector<Chunk> Chunks;
    };
    using ReaderRef = std::shared_ptr<Reader>;

    explicit PartitionReaders(PartitionFolder folder);

    const PartitionFolder& Folder() const { return m_Folder; }
    /// In the order of their numbers. Throws DescribedError.
    const std::vector<Known>& Files();
    /// Throws SqliteError.
    ReaderRef Open(const PartitionFile& file);
    /// Whether the rows can be gone through in the order of time without too many of them in memory. Throws
    /// DescribedError.
    bool CanSweepInOrder();

private:
    const PartitionFolder m_Folder;
    std::optional<std::vector<Known>> m_Files;
    std::list<ReaderRef> m_Readers; ///< the last used one first
};

using PartitionReadersRef = std::shared_ptr<PartitionReaders>;
