#include "server/spool/WaitingValues.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"

using namespace std::chrono_literals;

namespace {

constexpr std::size_t BatchWorthWriting = 1000;
constexpr auto UntilBatchIsTaken = 25ms; // time for it to fill
/// A value that has not been written after this time is on disk after twice this time. That leaves a busy machine some
/// time until the 0.2 s are over that the end of the process may cost.
constexpr auto UntilSpooled = 35ms;
/// What a killed server may lose without shared memory, as it is promised.
constexpr auto LongestUnsafe = 200ms;
constexpr auto BetweenShelters = 60s;
constexpr auto BetweenComplaints = 60s;
constexpr auto RetryPause = 1000ms;
/// What is on disk as well is kept in memory up to this size, so that a writer that is a little behind need not read.
constexpr qint64 BytesWorthKeeping = 16 * 1024 * 1024;

/// Beyond it the loop does itself what the other threads do not get to.
constexpr qint64 LargestInbox = 4 * 1024 * 1024;

} // namespace

WaitingValues::WaitingValues(QString name, const SpoolSettings& settings, const QString& destination,
                             Durability surviving)
    : m_Name(std::move(name))
    , m_Spool(settings, destination, surviving)
{
}

void WaitingValues::Add(RecordedValue value)
{
    if (m_Inbox.Add(std::move(value)) <= LargestInbox) return;
    const std::lock_guard lock(m_Guard);
    Collect();
}

SpoolBatch WaitingValues::Next(const std::stop_token& stop)
{
    std::unique_lock lock(m_Guard);
    Collect();
    m_BusySince.reset();
    if (!m_Spool.HasEarlier() && !IsOnDisk()) {
        const quint64 begin = m_First - 1;
        lock.unlock();
        m_Inbox.WaitUntilAdded(begin + 1, stop);
        m_Inbox.WaitUntilAdded(begin + BatchWorthWriting, stop, Clock::now() + UntilBatchIsTaken);
        lock.lock();
        Collect();
    }
    m_BusySince = Clock::now();
    if (m_Spool.HasEarlier() || IsOnDisk()) {
        lock.unlock();
        SpoolBatch batch = m_Spool.Read(LargestBatch);
        lock.lock();
        const bool isNext = batch.Spool != m_Spool.Id() || batch.First < m_First;
        if (!batch.Values.empty() && isNext) return batch;
    }
    return BatchFromMemory();
}

void WaitingValues::Written(SpoolPosition position)
{
    m_Spool.Written(position);
    const std::lock_guard lock(m_Guard);
    if (position.Spool == m_Spool.Id()) {
        m_Written = std::max(m_Written, position.Sequence);
        while (!m_Values.empty() && m_First <= m_Written) DropFront();
    }
    m_Inbox.NoteSafe(m_Written);
    if (m_Values.empty()) m_Emptied.notify_all();
}

void WaitingValues::Pause(const std::stop_token& stop)
{
    {
        const std::lock_guard lock(m_Guard);
        m_BusySince.reset();
    }
    Sleep(RetryPause, stop);
}

void WaitingValues::Keep(const std::stop_token& stop, const std::function<void()>& onLook)
{
    quint64 old = 1; // behind the values that were there at the last look
    auto oldAt = Clock::now();
    auto safeAt = oldAt; // what was there then is on disk or has been written
    std::unique_lock lock(m_Guard, std::defer_lock);
    while (!stop.stop_requested()) {
        MakeShelter();
        lock.lock();
        Collect();
        if (m_Values.empty()) {
            const quint64 begin = m_First - 1;
            lock.unlock();
            m_Inbox.WaitUntilAdded(begin + 1, stop);
            lock.lock();
            Collect();
            safeAt = oldAt = Clock::now();
            // It is tried anew, and said anew.
            if (oldAt - m_ProblemAt > BetweenComplaints) m_Problem.clear();
        }
        const quint64 end = End();
        const auto endAt = Clock::now();
        const bool hadProblem = !m_Problem.isEmpty();
        lock.unlock();
        Sleep(hadProblem ? RetryPause : UntilSpooled, stop);
        lock.lock();
        Collect();
        // A busy machine may have let this thread wait: then also what is newer has waited long enough.
        if (Clock::now() - endAt > 2 * UntilSpooled) std::tie(old, oldAt) = std::tuple(End(), Clock::now());
        lock.unlock();
        bool hasKept = false;
        while (KeepSome(old)) hasKept = true;
        const bool hasExposed = m_Inbox.TakeExposed();
        if (hasKept && hasExposed && !hadProblem) SayIfLate(Clock::now() - safeAt);
        onLook();
        safeAt = oldAt;
        std::tie(old, oldAt) = std::max(std::tuple(old, oldAt), std::tuple(end, endAt));
    }
    lock.lock();
    Collect();
    lock.unlock();
    while (KeepSome(std::numeric_limits<quint64>::max())) {
    }
}

bool WaitingValues::WaitUntilWritten(std::chrono::milliseconds longest)
{
    const auto until = Clock::now() + longest;
    std::unique_lock lock(m_Guard);
    const auto isDone = [this] {
        Collect();
        return m_Values.empty() && !IsOnDisk() && !m_Spool.HasEarlier();
    };
    while (!isDone() && Clock::now() < until) m_Emptied.wait_for(lock, 10ms);
    return isDone();
}

quint64 WaitingValues::CountInMemory()
{
    const std::lock_guard lock(m_Guard);
    Collect();
    return End() - 1 - std::max(m_Kept, m_First - 1);
}

DroppedValues WaitingValues::TakeDropped()
{
    DroppedValues dropped = m_Spool.TakeDropped();
    const std::lock_guard lock(m_Guard);
    dropped.Add(m_Dropped.Count, m_Dropped.Begin, m_Dropped.End);
    m_Dropped = {};
    return dropped;
}

std::chrono::milliseconds WaitingValues::BusyFor() const
{
    const std::lock_guard lock(m_Guard);
    if (!m_BusySince) return 0ms;
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - *m_BusySince);
}

/// What is in the inbox gets its sequences.
void WaitingValues::Collect()
{
    auto [values, bytes] = m_Inbox.Take();
    m_Bytes += bytes;
    std::move(values.begin(), values.end(), std::back_inserter(m_Values));
    MakeRoom();
}

void WaitingValues::Sleep(std::chrono::milliseconds time, const std::stop_token& stop)
{
    std::mutex guard;
    std::unique_lock lock(guard);
    std::condition_variable_any().wait_for(lock, stop, time, [] { return false; });
}

void WaitingValues::DropFront()
{
    m_Bytes -= ValueInbox::BytesOf(m_Values.front());
    m_Values.pop_front();
    ++m_First;
}

/// What is on disk goes first; what is only here must not take all memory.
void WaitingValues::MakeRoom()
{
    while (m_Bytes > BytesWorthKeeping && !m_Values.empty()) {
        if (m_First > m_Kept) {
            if (m_Bytes <= MostBytes) return;
            const qint64 time = MicrosecondsSince1970(m_Values.front().Time);
            if (m_First > m_Taken) m_Dropped.Add(1, time, time);
        }
        DropFront();
    }
}

SpoolBatch WaitingValues::BatchFromMemory()
{
    const auto count = static_cast<std::ptrdiff_t>(std::min(m_Values.size(), LargestBatch));
    m_Taken = std::max(m_Taken, m_First + static_cast<quint64>(count) - 1);
    return {m_Spool.Id(), m_First, {m_Values.begin(), m_Values.begin() + count}};
}

/// Puts a frame of the values before `end` on disk. Returns whether there may be more.
bool WaitingValues::KeepSome(quint64 end)
{
    std::unique_lock lock(m_Guard);
    const quint64 first = std::max(m_Kept + 1, m_First);
    end = std::min({end, End(), first + LargestBatch});
    if (first >= end) return false;
    QString problem;
    try {
        const auto begin = m_Values.begin() + static_cast<std::ptrdiff_t>(first - m_First);
        const std::vector<RecordedValue> values(begin, begin + static_cast<std::ptrdiff_t>(end - first));
        lock.unlock();
        m_Spool.Append(first, values);
    } catch (...) { // memory for so many values among others
        if (lock.owns_lock()) lock.unlock();
        problem = CurrentErrorDescription();
    }
    SayProblem(problem);
    if (!problem.isEmpty()) return false;
    lock.lock();
    m_Kept = end - 1;
    m_Inbox.NoteSafe(m_Kept);
    MakeRoom();
    const SpoolPosition written = {m_Spool.Id(), m_Written};
    lock.unlock();
    m_Spool.Written(written); // it may have been written in the meantime
    return true;
}

void WaitingValues::MakeShelter()
{
    if (m_Inbox.HasShelter() || Clock::now() < m_NextShelter) return;
    m_NextShelter = Clock::now() + BetweenShelters;
    QString problem;
    try {
        m_Inbox.Shelter(m_Spool.MakeTail());
    } catch (...) {
        problem = CurrentErrorDescription();
    }
    if (problem.isEmpty() || std::exchange(m_NoShelter, problem) == problem) return;
    Log(LogLevel::Warning,
        m_Name + QStringLiteral("When this server is killed the last values are lost with it, up to 0.2 s of them: ") +
            problem);
}

void WaitingValues::SayIfLate(Clock::duration unsafe)
{
    const auto now = Clock::now();
    if (unsafe <= LongestUnsafe || now < m_NextComplaint) return;
    m_NextComplaint = now + BetweenComplaints;
    const double seconds = std::chrono::duration<double>(unsafe).count();
    Log(LogLevel::Warning, m_Name + QStringLiteral("Values were neither written nor on disk for up to %1 s: this "
                                                   "machine is too busy. A server that is killed loses as much.")
                                        .arg(seconds, 0, 'f', 1));
}

void WaitingValues::SayProblem(const QString& problem)
{
    {
        const std::lock_guard lock(m_Guard);
        if (std::exchange(m_Problem, problem) == problem) return;
        m_ProblemAt = Clock::now();
    }
    if (problem.isEmpty())
        return Log(LogLevel::Info, m_Name + QStringLiteral("Values that wait are kept on disk again."));
    Log(LogLevel::Error,
        m_Name + QStringLiteral("Values that wait cannot be kept on disk, only in memory: ") + problem);
}
