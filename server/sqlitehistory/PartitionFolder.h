#pragma once

#include "server/sqlitehistory/RowPartition.h"

#include <QString>

/// What a partition holds, without a look at its rows.
struct PartitionContents
{
    Chunk Range; ///< of all its rows
    /// The most rows of chunks that share a time.
    qint64 RowsAtOnce = 0;
};

PartitionContents ContentsOf(const std::vector<Chunk>& chunks);

struct PartitionFile
{
    /// Space on the disk, without what is still to be checkpointed, some megabytes at most.
    qint64 Bytes() const;

    qint64 Number = 0; ///< rises with the time at which its rows came
    QString Path;
    bool MayGrow = false; ///< the last one of its layout
};

/// The partitions of one table of the history: files in a folder beside the database, "<database>.parts/<table>". The
/// folder is all that says which partitions there are.
class PartitionFolder
{
public:
    /// Recording begins with this number; below it stand rows of an older layout.
    static constexpr qint64 FirstNumber = 1'000'000;

    PartitionFolder(const QString& database, const QString& table);

    /// The tables of which there are partitions beside a database. Throws DescribedError.
    static QStringList Tables(const QString& database);

    const QString& Path() const { return m_Path; }
    /// In the order of their numbers. Throws DescribedError.
    std::vector<PartitionFile> Files() const;
    PartitionFile FileOf(qint64 number) const;
    /// Does something with a partition, unless it has gone; if it proves to be damaged, it is set aside and the work
    /// fails with where it is now. Throws DescribedError.
    static void Guard(const PartitionFile& file, const std::function<void()>& work);
    /// Remembered until the file changes, unless it may grow; empty when it has gone. Throws DescribedError.
    static PartitionContents ContentsOf(const PartitionFile& file);
    /// Deletes a partition; its space is free at once, or when the last reader is done. Throws DescribedError.
    static void Remove(const PartitionFile& file);
    /// Gives a damaged partition another name, which is returned, and says so in the log. Throws DescribedError.
    static QString SetAside(const PartitionFile& file, const QString& reason);

private:
    QString m_Path;
};
