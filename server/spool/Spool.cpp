#include "server/spool/Spool.h"

#include "core/automation/Errors.h"
#include "server/database/Database.h"
#include "server/log/Log.h"
#include "velsqllib/StateFolder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <sys/statvfs.h>

namespace {

constexpr qint64 LargestSegment = 16 * 1024 * 1024;
constexpr qint64 FewestSegments = 8; // so that making room costs a part of the values only

quint64 NewId()
{
    return (QRandomGenerator64::securelySeeded().generate() >> 1) | 1;
}

QString TimeText(qint64 microseconds)
{
    return QDateTime::fromMSecsSinceEpoch(microseconds / 1000).toString(u"yyyy-MM-dd hh:mm:ss");
}

} // namespace

void DroppedValues::Add(quint64 count, qint64 begin, qint64 end)
{
    if (count == 0) return;
    Begin = Count == 0 ? begin : std::min(Begin, begin);
    End = Count == 0 ? end : std::max(End, end);
    Count += count;
}

QString DroppedValues::Text() const
{
    return QStringLiteral("%1 values from %2 to %3").arg(Count).arg(TimeText(Begin), TimeText(End));
}

Spool::Spool(SpoolSettings settings, QString destination, Durability surviving)
    : m_Settings(std::move(settings))
    , m_Destination(std::move(destination))
    , m_Surviving(surviving)
    , m_Id(NewId())
{
}

Spool::~Spool()
{
    if (m_Folder && m_Segments.empty()) m_Folder->Remove();
}

bool Spool::TakeOver()
{
    bool isAll = true;
    const auto attempt = [&](const auto& work) {
        try {
            work();
        } catch (...) {
            isAll = false;
            Log(LogLevel::Error, QStringLiteral("Values that wait on disk cannot be read yet, and are left there: ") +
                                     CurrentErrorDescription());
        }
    };
    attempt([&] {
        for (SpoolFolderRef& folder : SpoolFolder::LeftFor(m_Settings.Folder, m_Destination))
            attempt([&] { TakeOver(std::move(folder)); });
    });
    const std::lock_guard lock(m_Guard);
    m_IsTakenOver = true;
    RemoveEmptyFolders();
    return isAll;
}

/// Whole or not at all: once the last values of a folder have been written, earlier ones count as written, too. Whoever
/// adds values does not wait while the files are looked through.
void Spool::TakeOver(SpoolFolderRef folder)
{
    std::vector<SpoolSegmentRef> segments;
    for (const QString& path : folder->Files())
        segments.push_back(std::make_shared<SpoolSegment>(path, folder->Spool()));
    const std::lock_guard lock(m_Guard);
    // In front of what this server has added since.
    m_Segments.insert(std::ranges::find(m_Segments, m_Id, &SpoolSegment::Spool), segments.begin(), segments.end());
    for (const SpoolSegmentRef& segment : segments) m_Bytes += segment->Bytes();
    m_Earlier.push_back(std::move(folder));
}

std::vector<quint64> Spool::Ids() const
{
    const std::lock_guard lock(m_Guard);
    std::vector<quint64> ids = {m_Id};
    for (const SpoolFolderRef& folder : m_Earlier) ids.push_back(folder->Spool());
    return ids;
}

quint64 Spool::Count() const
{
    const std::lock_guard lock(m_Guard);
    quint64 count = 0;
    for (const SpoolSegmentRef& segment : m_Segments) {
        const auto written = m_Written.find(segment->Spool());
        count += segment->CountBehind(written == m_Written.end() ? 0 : written->second);
    }
    return count;
}

bool Spool::HasEarlier() const
{
    const std::lock_guard lock(m_Guard);
    return !m_IsTakenOver || !m_Earlier.empty();
}

std::unique_ptr<SharedTail> Spool::MakeTail() const
{
    MakePrivateFolder(m_Settings.Folder);
    return std::make_unique<SharedTail>(m_Id, m_Settings.Folder, m_Destination);
}

void Spool::Append(quint64 first, std::span<const RecordedValue> values)
{
    const QByteArray frame = EncodeFrame(first, values);
    const std::lock_guard lock(m_Guard);
    MakeRoom(frame.size());
    Growing(first, frame.size()).Append(frame, m_Surviving == Durability::Power);
    m_Bytes += frame.size();
}

DroppedValues Spool::TakeDropped()
{
    const std::lock_guard lock(m_Guard);
    return std::exchange(m_Dropped, {});
}

SpoolBatch Spool::Read(std::size_t most)
{
    const std::lock_guard lock(m_Guard);
    for (std::size_t i = 0; i < m_Segments.size();) {
        const SpoolSegmentRef segment = m_Segments[i];
        const quint64 written = m_Written[segment->Spool()];
        quint64& read = m_Read[segment->Spool()];
        SpoolBatch batch = segment->Read(std::max(read, written), most);
        if (!batch.Values.empty()) {
            read = batch.Last().Sequence;
            return batch;
        }
        // All of it has been read; if the rest of it was damaged, nothing else will end it.
        const bool hasEnded = i == 0 && segment != m_Growing && read <= written;
        if (hasEnded) RemoveFront();
        else ++i;
    }
    RemoveEmptyFolders();
    return {};
}

void Spool::Written(SpoolPosition position)
{
    const std::lock_guard lock(m_Guard);
    quint64& written = m_Written[position.Spool];
    written = std::max(written, position.Sequence);
    while (!m_Segments.empty() && m_Segments.front()->IsDone(m_Written[m_Segments.front()->Spool()])) RemoveFront();
    RemoveEmptyFolders();
}

std::vector<quint64> Spool::TakeEmptied()
{
    const std::lock_guard lock(m_Guard);
    return std::exchange(m_Emptied, {});
}

bool Spool::IsOwnEmpty() const
{
    const std::lock_guard lock(m_Guard);
    return !m_Stuck.contains(m_Id);
}

SpoolSegment& Spool::Growing(quint64 first, qint64 bytes)
{
    const qint64 most = std::min(LargestSegment, m_Settings.MostBytes / FewestSegments);
    if (m_Growing && m_Growing->Bytes() + bytes > most) {
        m_Growing->Finish();
        m_Growing.reset();
    }
    const bool isGone = m_Folder && !QFileInfo::exists(m_Growing ? m_Growing->Path() : m_Folder->Path());
    if (isGone) {
        Log(LogLevel::Error, QStringLiteral("What waited on disk in %1 has been deleted.").arg(m_Folder->Path()));
        m_Growing.reset();
    }
    if (!m_Folder || isGone) m_Folder = SpoolFolder::Make(m_Settings.Folder, m_Id, m_Destination);
    if (!m_Growing) {
        m_Growing = std::make_shared<SpoolSegment>(m_Folder->Path(), m_Id, first);
        m_Segments.push_back(m_Growing);
    }
    return *m_Growing;
}

bool Spool::HasRoom(qint64 bytes) const
{
    if (m_Bytes + bytes > m_Settings.MostBytes) return false;
    struct statvfs disk = {};
    // What cannot be asked is no reason to drop anything: writing tells.
    if (statvfs(QFile::encodeName(m_Settings.Folder).constData(), &disk) != 0) return true;
    const auto kept = static_cast<double>(disk.f_blocks) * PercentKeptFree / 100.0;
    return (static_cast<double>(disk.f_bavail) - kept) * static_cast<double>(disk.f_frsize) >=
           static_cast<double>(bytes);
}

void Spool::MakeRoom(qint64 bytes)
{
    while (!HasRoom(bytes)) {
        if (m_Segments.empty())
            throw DescribedError(QStringLiteral("%1 has no room for values that wait: %2 % of the disk stay free.")
                                     .arg(m_Settings.Folder)
                                     .arg(PercentKeptFree));
        Drop(m_Segments.front());
    }
}

void Spool::Drop(const SpoolSegmentRef& segment)
{
    const quint64 done = std::max(m_Read[segment->Spool()], m_Written[segment->Spool()]);
    m_Dropped.Add(segment->CountBehind(done), segment->Begin(), segment->End());
    RemoveFront();
}

void Spool::RemoveFront()
{
    const SpoolSegmentRef segment = m_Segments.front();
    m_Bytes -= segment->Bytes();
    if (!segment->Remove()) m_Stuck.insert(segment->Spool());
    m_Segments.pop_front();
    if (segment == m_Growing) m_Growing.reset();
}

void Spool::RemoveEmptyFolders()
{
    const auto isEmpty = [&](const SpoolFolderRef& folder) {
        return std::ranges::none_of(m_Segments,
                                    [&](const auto& segment) { return segment->Spool() == folder->Spool(); });
    };
    for (auto folder = m_Earlier.begin(); folder != m_Earlier.end();) {
        if (!isEmpty(*folder)) {
            ++folder;
            continue;
        }
        if (!m_Stuck.contains((*folder)->Spool())) m_Emptied.push_back((*folder)->Spool());
        (*folder)->Remove();
        folder = m_Earlier.erase(folder);
    }
}

QString NameOf(const HistoryDestination& destination)
{
    return QStringLiteral("%1;Table=%2")
        .arg(DatabaseAddress(destination.ConnectionString).Place(), destination.TableName);
}
