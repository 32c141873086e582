#include "server/history/ResultSpool.h"

#include "core/automation/Errors.h"
#include "server/database/SqlValue.h"
#include "velsqllib/WireValue.h"

#include <capnp/serialize.h>

#include <cerrno>
#include <cstring>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr qint64 LargestRow = 256 * 1024 * 1024;
constexpr qint64 LargestResult = qint64{4} * 1024 * 1024 * 1024;
// How long rows may wait for their page.
constexpr std::chrono::milliseconds LongestWait(200);

[[noreturn]] void ThrowSystemError(const QString& what)
{
    throw DescribedError(QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(strerror(errno))));
}

/// Also opens `file`.
qint64 PlaceIn(QTemporaryFile& file, qint64 mostBytes)
{
    if (!file.open()) throw DescribedError(QStringLiteral("The result cannot be stored: %1").arg(file.errorString()));
    if (mostBytes > 0) return mostBytes;
    struct statvfs disk
    {
    };
    if (fstatvfs(file.handle(), &disk) != 0) return LargestResult;
    return std::min(LargestResult, static_cast<qint64>(disk.f_bavail * disk.f_frsize / 10));
}

QString SizeText(qint64 bytes)
{
    return QStringLiteral("%1 MB").arg(static_cast<double>(bytes) / (1024 * 1024), 0, 'f', 1);
}

} // namespace

ResultSpool::ResultSpool(QStringList columns, qint64 mostBytes, std::function<void()> dropped)
    : m_Columns(std::move(columns))
    , m_Dropped(std::move(dropped))
    , m_MostBytes(PlaceIn(m_File, mostBytes))
{
    // The file vanishes with the last reference, even after a crash.
    unlink(QFile::encodeName(m_File.fileName()).constData());
}

ResultSpool::~ResultSpool()
{
    m_Dropped();
}

ResultProgress ResultSpool::Progress() const
{
    const std::lock_guard lock(m_Guard);
    return {m_Rows, m_Complete, m_Failure, m_Affected};
}

kj::Array<kj::byte> ResultSpool::PageOf(qint64 row) const
{
    const Page page = Find(row);
    auto bytes = kj::heapArray<kj::byte>(static_cast<std::size_t>(page.Size));
    const auto count = pread(m_File.handle(), bytes.begin(), bytes.size(), page.Offset);
    if (count != static_cast<ssize_t>(page.Size)) ThrowSystemError(QStringLiteral("The result cannot be read back"));
    return bytes;
}

bool ResultSpool::Append(QList<Variant> row)
{
    qint64 bytes = 0;
    for (const Variant& cell : row) bytes += SizeOf(cell);
    if (bytes > LargestRow)
        throw DescribedError(QStringLiteral("Row %1 is larger than %2 MB.")
                                 .arg(m_Rows + m_WaitingRows + 1)
                                 .arg(LargestRow / (1024 * 1024)));
    const bool isDue = IsPageDue(bytes);
    if (isDue) Flush();
    if (m_WaitingRows == 0) m_WaitingSince = Clock::now();
    m_Waiting += std::move(row);
    m_WaitingBytes += bytes;
    ++m_WaitingRows;
    return isDue;
}

/// To be called before `bytes` are added.
bool ResultSpool::IsPageDue(qint64 bytes) const
{
    if (m_WaitingRows == 0) return false;
    return m_WaitingBytes + bytes > PageBytes || Clock::now() - m_WaitingSince > LongestWait;
}

void ResultSpool::Finish(const QString& failure)
{
    QString reason = failure;
    try {
        Flush();
    } catch (...) { // memory, too; otherwise its readers would wait for the end
        if (reason.isEmpty()) reason = CurrentErrorDescription();
    }
    const std::lock_guard lock(m_Guard);
    m_Failure = reason;
    m_Complete = true;
}

void ResultSpool::FinishWithoutRows(qint64 affected)
{
    const std::lock_guard lock(m_Guard);
    m_Affected = affected;
    m_Complete = true;
}

void ResultSpool::Flush()
{
    if (m_WaitingRows == 0) return;
    kj::Array<kj::byte> bytes;
    try {
        bytes = Encode();
    } catch (...) {
        throw DescribedError(QStringLiteral("There is not enough memory for row %1 of the result.").arg(m_Rows + 1));
    }
    if (m_FileSize + static_cast<qint64>(bytes.size()) > m_MostBytes)
        throw DescribedError(
            QStringLiteral("The result is larger than %1, where reading it ends.").arg(SizeText(m_MostBytes)));
    Write(bytes);
    const std::lock_guard lock(m_Guard);
    m_Pages.push_back({m_Rows, m_WaitingRows, m_FileSize, static_cast<qint64>(bytes.size())});
    m_FileSize += static_cast<qint64>(bytes.size());
    m_Rows += m_WaitingRows;
    m_Waiting.clear();
    m_WaitingRows = m_WaitingBytes = 0;
}

void ResultSpool::Write(kj::ArrayPtr<const kj::byte> bytes) const
{
    qint64 at = m_FileSize;
    while (bytes.size() > 0) {
        const auto count = pwrite(m_File.handle(), bytes.begin(), bytes.size(), at);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) ThrowSystemError(QStringLiteral("The result cannot be kept"));
        bytes = bytes.slice(static_cast<std::size_t>(count), bytes.size());
        at += count;
    }
}

kj::Array<kj::byte> ResultSpool::Encode() const
{
    NoObjects noObjects;
    capnp::MallocMessageBuilder message(static_cast<uint>(m_WaitingBytes / qint64{sizeof(capnp::word)} + 64));
    auto page = message.initRoot<wire::ResultPage>();
    page.setFirstRow(m_Rows); // only this thread changes it
    page.setColumnCount(static_cast<qint32>(m_Columns.size()));
    auto cells = page.initCells(static_cast<uint>(m_Waiting.size()));
    for (uint i = 0; i < cells.size(); ++i) WriteValue(m_Waiting[i], cells[i], noObjects);
    auto words = capnp::messageToFlatArray(message);
    const auto bytes = words.asBytes();
    return bytes.attach(kj::mv(words));
}

ResultSpool::Page ResultSpool::Find(qint64 row) const
{
    const std::lock_guard lock(m_Guard);
    const auto behind = std::upper_bound(m_Pages.begin(), m_Pages.end(), row,
                                         [](qint64 wanted, const Page& page) { return wanted < page.FirstRow; });
    if (row >= 0 && row < m_Rows && behind != m_Pages.begin()) return *std::prev(behind);
    if (m_Complete && !m_Failure.isEmpty()) throw DescribedError(m_Failure);
    throw DescribedError(m_Complete ? QStringLiteral("The result has %1 rows.").arg(m_Rows)
                                    : QStringLiteral("Row %1 has not been read yet.").arg(row));
}
