#include "server/sqlitehistory/RowChanges.h"

#include "server/sqlitehistory/NewRow.h"

#include <QFile>

#include <list>

namespace {

constexpr qint64 RowsInBlock = 5000;
constexpr qsizetype BytesInBlock = 1024 * 1024;
/// Longer logs are put in order here: nobody else may come for a long time.
constexpr qint64 RowsInChunk = 65'536;

} // namespace

/// A partition that the statement changes.
struct RowChanges::Part
{
    explicit Part(const QString& path)
        : Writer(path, RowPartition::Access::Create)
        , Transaction(Writer.File())
    {
    }

    PartitionWriter Writer;
    SqliteTransaction Transaction;
    std::set<std::pair<qint64, qint64>> Hours; ///< of items, to be reckoned anew
};

struct RowChanges::Changed
{
    RowPlace Place;
    Part* In;
    RowBlock Block;
    qint64 Removed = 0;
    std::list<QByteArray> Texts; ///< of new values
};

RowChanges::RowChanges(PartitionFolder folder)
    : m_Folder(std::move(folder))
{
    Newest();
}

RowChanges::~RowChanges() = default;

RowChanges::Part& RowChanges::PartOf(const PartitionFile& file, bool create)
{
    auto& part = m_Parts[file.Number];
    if (part) return *part;
    if (!create && !QFile::exists(file.Path))
        throw DescribedError(QStringLiteral("The rows have been removed meanwhile, as the oldest ones."));
    part = std::make_unique<Part>(file.Path);
    return *part;
}

RowChanges::Part& RowChanges::Newest()
{
    if (m_Last == 0) {
        const std::vector<PartitionFile> files = m_Folder.Files();
        m_Last = std::max(files.empty() ? 0 : files.back().Number, PartitionFolder::FirstNumber);
    }
    return PartOf(m_Folder.FileOf(m_Last), true);
}

void RowChanges::Insert(const RowContent& content)
{
    Append(NewRow(Newest().Writer.NumberOf(content.Controller, content.Item), content.Value, content.Time));
}

void RowChanges::Remove(const RowPlace& place)
{
    HistoryRow& row = At(place);
    if (std::exchange(row.IsRemoved, true)) return;
    ++m_Changed->Removed;
    MarkHour(row);
}

void RowChanges::Update(const RowPlace& place, const RowContent& content)
{
    HistoryRow& row = At(place);
    const ItemName& name = m_Changed->In->Writer.NameOf(row.Item);
    const HistoryRow wanted = NewRow(row.Item, content.Value, content.Time);
    const bool isInPlace = name.Controller == content.Controller && name.Item == content.Item &&
                           wanted.Local == row.Local && wanted.HasTimeText == row.HasTimeText &&
                           (!row.HasTimeText || wanted.Time == row.Time);
    if (!isInPlace) {
        Remove(place);
        return Insert(content);
    }
    row.Value = content.Value;
    if (!content.Value.Bytes.isEmpty())
        row.Value.Bytes = m_Changed->Texts.emplace_back(content.Value.Bytes.toByteArray());
    MarkHour(row);
}

HistoryRow& RowChanges::At(const RowPlace& place)
{
    const bool isSame = m_Changed && m_Changed->Place.Partition == place.Partition &&
                        m_Changed->Place.Chunk == place.Chunk && m_Changed->Place.Block == place.Block;
    if (!isSame) {
        WriteChanged();
        Part& part = PartOf(m_Folder.FileOf(place.Partition), false);
        auto changed =
            std::make_unique<Changed>(Changed{place, &part, part.Writer.ReadBlock(place.Chunk, place.Block), 0, {}});
        m_Changed = std::move(changed);
    }
    const auto index = static_cast<std::size_t>(place.Index);
    if (index >= m_Changed->Block.Rows.size())
        throw DescribedError(QStringLiteral("The rows have been put in order meanwhile: run the statement again."));
    return m_Changed->Block.Rows[index];
}

void RowChanges::MarkHour(const HistoryRow& row)
{
    if (m_Changed->Place.Chunk != Chunk::Log && row.HasUtc())
        m_Changed->In->Hours.insert({row.Item, SpanBegin(row.Utc(), Hour)});
}

void RowChanges::WriteChanged()
{
    if (!m_Changed) return;
    const std::unique_ptr<Changed> changed = std::move(m_Changed);
    changed->In->Writer.Replace(changed->Place.Chunk, changed->Place.Block, changed->Block.Rows, changed->Removed);
}

void RowChanges::Append(const HistoryRow& row)
{
    m_Appended.Append(row);
    m_AppendedRange.Add(row);
    if (m_Appended.Rows() >= RowsInBlock || m_Appended.Bytes().size() > BytesInBlock) WriteAppended();
}

void RowChanges::WriteAppended()
{
    if (m_AppendedRange.Rows == 0) return;
    PartitionWriter& newest = Newest().Writer;
    newest.Append(m_Appended, m_AppendedRange);
    m_Appended.Clear();
    m_AppendedRange = {};
    if (newest.RowsInLog() >= 2 * RowsInChunk) newest.OrderLog(RowsInChunk);
}

void RowChanges::Prepare()
{
    WriteChanged();
    WriteAppended();
    for (const auto& [number, part] : m_Parts)
        for (const auto& [item, hour] : std::exchange(part->Hours, {})) part->Writer.ReckonHour(item, hour);
}

void RowChanges::Commit()
{
    for (const auto& [number, part] : m_Parts) part->Transaction.Commit();
    m_Parts.clear();
    m_Last = 0;
}
