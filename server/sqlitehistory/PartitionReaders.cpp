#include "server/sqlitehistory/PartitionReaders.h"

#include <algorithm>

namespace {

constexpr std::size_t MostKeptOpen = 16;
constexpr qint64 MostRowsAtOnce = 1'000'000;
constexpr int MostPartitionsAtOnce = 40;

/// What begins or ends at a time.
struct Change
{
    qint64 Rows = 0;
    int Partitions = 0;
};

} // namespace

PartitionReaders::Reader::Reader(const PartitionFile& file)
    : File(file)
    , Rows(file.Path, RowPartition::Access::Reading)
    , Chunks((Rows.BeginReading(), Rows.Chunks()))
{
}

PartitionReaders::PartitionReaders(PartitionFolder folder)
    : m_Folder(std::move(folder))
{
}

const std::vector<PartitionReaders::Known>& PartitionReaders::Files()
{
    if (m_Files) return *m_Files;
    std::vector<Known> found;
    for (const PartitionFile& file : m_Folder.Files()) {
        Known known{file, {}};
        if (file.MayGrow) PartitionFolder::Guard(file, [&] { known.Contents = ContentsOf(Open(file)->Chunks); });
        else known.Contents = PartitionFolder::ContentsOf(file);
        found.push_back(known);
    }
    return m_Files.emplace(std::move(found));
}

PartitionReaders::ReaderRef PartitionReaders::Open(const PartitionFile& file)
{
    const auto known = std::find_if(m_Readers.begin(), m_Readers.end(),
                                    [&](const ReaderRef& reader) { return reader->File.Number == file.Number; });
    if (known != m_Readers.end()) m_Readers.splice(m_Readers.begin(), m_Readers, known);
    else m_Readers.push_front(std::make_shared<Reader>(file));
    if (m_Readers.size() > MostKeptOpen) m_Readers.pop_back();
    return m_Readers.front();
}

bool PartitionReaders::CanSweepInOrder()
{
    std::map<qint64, Change> changes;
    for (const auto& [file, contents] : Files()) {
        if (contents.Range.Rows == 0) continue;
        for (const auto& [key, sign] : {std::pair(contents.Range.FirstLocal, 1), {contents.Range.LastLocal, -1}}) {
            changes[key].Rows += sign * contents.RowsAtOnce;
            changes[key].Partitions += sign;
        }
    }
    Change now;
    for (const auto& [key, change] : changes) {
        now.Rows += change.Rows;
        now.Partitions += change.Partitions;
        if (now.Rows > MostRowsAtOnce || now.Partitions > MostPartitionsAtOnce) return false;
    }
    return true;
}
