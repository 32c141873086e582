#include "server/sqlitehistory/Retention.h"

#include "server/log/Log.h"
#include "server/sqlitehistory/ClockMemory.h"

#include <QDateTime>
#include <QStorageInfo>

namespace {

using namespace std::chrono_literals;

constexpr qint64 GigaByte = qint64{1'000'000'000};
constexpr qint64 MostRowsInPartition = 16'000'000;
constexpr qint64 RowsWorthADay = 1'000'000;
constexpr qint64 UsualRowsInChunk = 65'536;
constexpr qint64 FewestRowsInChunk = 4096;
constexpr qint64 LongestSpan = 30 * Day;
// What goes at once is about this part of what is kept.
constexpr qint64 Grain = 16;
constexpr auto BetweenReports = 24h;

qint64 MaxBytesOf(const HistoryDestination& destination, const QString& folder)
{
    if (destination.MaxBytes) return *destination.MaxBytes;
    const bool hasRule = destination.MaxRecord > 0 || destination.Keep > 0s;
    return hasRule ? 0 : DefaultBytes(folder);
}

qint64 RemoveSome(PartitionWriter& partition, qint64 rows)
{
    SqliteTransaction transaction(partition.File());
    const qint64 gone = partition.RemoveOldest(rows);
    transaction.Commit();
    return gone;
}

qint64 RemoveSome(const PartitionFile& file, qint64 rows)
{
    PartitionWriter partition(file.Path, RowPartition::Access::Existing);
    return RemoveSome(partition, rows);
}

QString SizeText(qint64 bytes)
{
    const auto number = static_cast<double>(bytes);
    return bytes >= GigaByte ? QStringLiteral("%1 GB").arg(number / 1e9, 0, 'f', 1)
                             : QStringLiteral("%1 MB").arg(number / 1e6, 0, 'f', 1);
}

QString SpanText(double seconds)
{
    struct Unit
    {
        double Seconds;
        QStringView Name;
    };
    constexpr std::array<Unit, 4> units = {
        {{365.0 * 86'400, u"years"}, {86'400, u"days"}, {3600, u"hours"}, {60, u"minutes"}}};
    for (const Unit& unit : units)
        if (seconds >= 2 * unit.Seconds)
            return QStringLiteral("%1 %2").arg(seconds / unit.Seconds, 0, 'f', 1).arg(unit.Name);
    return QStringLiteral("%1 seconds").arg(seconds, 0, 'f', 0);
}

} // namespace

qint64 DefaultBytes(const QString& folder)
{
    const qint64 disk = QStorageInfo(QFileInfo(folder).absolutePath()).bytesTotal();
    return disk > 0 ? std::min(10 * GigaByte, disk / 10) : 10 * GigaByte;
}

Retention::Retention(const HistoryDestination& destination, const PartitionFolder& folder)
    : m_Destination(destination)
    , m_Folder(folder)
    , m_MaxBytes(MaxBytesOf(destination, QFileInfo(folder.Path()).path()))
{
}

void Retention::Begin(PartitionWriter& newest)
{
    if (m_Destination.Keep == 0s) return;
    ClockMemory memory(newest);
    ClockWatch::Begin(memory);
}

bool Retention::IsFull(const Chunk& range, qint64 bytes) const
{
    if (range.Rows == 0) return false;
    const qint64 span = range.LastUtc > range.FirstUtc ? range.LastUtc - range.FirstUtc : 0;
    const qint64 kept = std::chrono::microseconds(m_Destination.Keep).count();
    if (kept > 0 && span >= std::max(Hour, kept / Grain)) return true;
    if (m_MaxBytes > 0 && bytes >= m_MaxBytes / Grain) return true;
    if (m_Destination.MaxRecord > 0 && range.Rows >= std::max<qint64>(m_Destination.MaxRecord, UsualRowsInChunk))
        return true;
    return range.Rows >= MostRowsInPartition || span >= LongestSpan || (span >= Day && range.Rows >= RowsWorthADay);
}

qint64 Retention::RowsInChunk() const
{
    if (m_Destination.MaxRecord <= 0) return UsualRowsInChunk;
    // So few stay in the log, where any number of the oldest can go.
    if (m_Destination.MaxRecord <= UsualRowsInChunk) return 2 * UsualRowsInChunk;
    return std::clamp(m_Destination.MaxRecord / Grain, FewestRowsInChunk, UsualRowsInChunk);
}

void Retention::Apply(PartitionWriter& newest)
{
    std::vector<PartitionFile> files = m_Folder.Files();
    if (m_MaxBytes > 0) DropBySize(files);
    if (m_Destination.Keep > 0s && IsClockTrusted(newest)) DropByAge(files);
    if (m_Destination.MaxRecord > 0) Count(files);
    ApplyCount(newest, 0);
    if (Clock::now() >= m_NextReport) Report(files);
}

void Retention::ApplyCount(PartitionWriter& newest, qint64 added)
{
    if (m_Destination.MaxRecord <= 0) return;
    if (m_Rows < 0) Count(m_Folder.Files());
    else m_Rows += added;
    while (m_Rows > m_Destination.MaxRecord) {
        const qint64 excess = m_Rows - m_Destination.MaxRecord;
        const std::vector<PartitionFile> files = m_Folder.Files();
        const qint64 rows = PartitionFolder::ContentsOf(files.front()).Range.Rows;
        const bool goesAsAWhole = files.size() > 1 && rows <= excess;
        if (goesAsAWhole) PartitionFolder::Remove(files.front());
        const qint64 gone = goesAsAWhole        ? rows
                            : files.size() == 1 ? RemoveSome(newest, excess)
                                                : RemoveSome(files.front(), excess);
        if (gone == 0) return;
        m_Rows -= gone;
    }
}

void Retention::Count(const std::vector<PartitionFile>& files)
{
    m_Rows = 0;
    for (const PartitionFile& file : files) m_Rows += PartitionFolder::ContentsOf(file).Range.Rows;
}

void Retention::DropBySize(std::vector<PartitionFile>& files) const
{
    qint64 bytes = 0;
    for (const PartitionFile& file : files) bytes += file.Bytes();
    while (bytes > m_MaxBytes && files.size() > 1) {
        bytes -= files.front().Bytes();
        PartitionFolder::Remove(files.front());
        files.erase(files.begin());
    }
}

bool Retention::IsClockTrusted(PartitionWriter& newest)
{
    ClockMemory memory(newest);
    return m_Clock.IsTrusted(memory);
}

void Retention::DropByAge(std::vector<PartitionFile>& files)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
    const qint64 oldest = now - std::chrono::microseconds(m_Destination.Keep).count();
    // Not only the first ones: a clock that was in the future for a while has left a partition that stays longer.
    for (auto file = files.begin(); file != files.end() && std::next(file) != files.end();) {
        if (PartitionFolder::ContentsOf(*file).Range.LastUtc >= oldest) {
            ++file;
            continue;
        }
        PartitionFolder::Remove(*file);
        file = files.erase(file);
    }
}

void Retention::Report(const std::vector<PartitionFile>& files)
{
    qint64 bytes = 0;
    Chunk all;
    for (const PartitionFile& file : files) {
        const Chunk range = PartitionFolder::ContentsOf(file).Range;
        bytes += file.Bytes();
        all.Rows += range.Rows;
        all.FirstUtc = std::min(all.FirstUtc, range.FirstUtc);
        all.LastUtc = std::max(all.LastUtc, range.LastUtc);
    }
    const double seconds = all.Rows > 0 ? static_cast<double>(all.LastUtc - all.FirstUtc) / 1e6 : 0.0;
    const bool isKnown = seconds > 60.0;
    // At first there is nothing that a rate could be taken from.
    m_NextReport = Clock::now() + (isKnown ? Clock::duration(BetweenReports) : Clock::duration(1min));
    if (!isKnown) return;
    QStringList rules;
    const auto share = [&](double kept, double present) {
        return QStringLiteral(" (at the present rate %1)").arg(SpanText(seconds * kept / present));
    };
    if (m_MaxBytes > 0)
        rules << SizeText(m_MaxBytes) + share(static_cast<double>(m_MaxBytes), static_cast<double>(bytes));
    if (m_Destination.MaxRecord > 0)
        rules << QStringLiteral("%1 records").arg(m_Destination.MaxRecord) +
                     share(m_Destination.MaxRecord, static_cast<double>(all.Rows));
    if (m_Destination.Keep > 0s) rules << SpanText(static_cast<double>(m_Destination.Keep.count()));
    Log(LogLevel::Info, QStringLiteral("The history \"%1\" has %2 of %3; it keeps %4.")
                            .arg(m_Destination.TableName, SizeText(bytes), SpanText(seconds),
                                 rules.isEmpty() ? QStringLiteral("everything") : rules.join(QStringLiteral(", "))));
}
