#include "server/history/Recorder.h"

#include "server/database/SqlValue.h"
#include "server/history/SqliteTable.h"
#include "server/log/Log.h"
#include "server/postgreshistory/PostgresTable.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <QHash>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t LargestBatch = 5000;
constexpr std::size_t BatchWorthWriting = 1000;
constexpr auto LongestWait = 200ms; // time for a batch to fill
constexpr auto RetryPause = 1000ms;
// A full queue takes some seconds to write.
constexpr auto LongestEnd = 20s;
constexpr auto LongestSilence = 5s;
constexpr qsizetype MostRefused = 10'000;

qint64 BytesOf(const RecordedValue& value)
{
    return 64 + SizeOf(value.Value);
}

void SayOf(int destination, LogLevel level, const QString& text)
{
    Log(level, QStringLiteral("History destination %1: %2").arg(destination).arg(text));
}

} // namespace

/// The values that wait to be written; filled by the event loop, emptied by the writer.
class Recorder::Queue
{
public:
    enum class Trouble
    {
        None,
        /// The first value since the last TakeDropped had to be dropped.
        Dropping,
        /// The database keeps the writer waiting; reported once until values are written again.
        Silence
    };

    Trouble Add(RecordedValue value)
    {
        const std::lock_guard lock(m_Guard);
        const bool nothingDropped = m_Dropped == 0;
        m_Bytes += BytesOf(value);
        m_Values.push_back(std::move(value));
        while (m_Values.size() > MostWaiting || m_Bytes > MostBytesWaiting) {
            m_Bytes -= BytesOf(m_Values.front());
            m_Values.pop_front();
            ++m_Dropped;
            ++m_Removed;
        }
        if (m_Values.size() == 1 || m_Values.size() == BatchWorthWriting) m_Filled.notify_one();
        if (nothingDropped && m_Dropped > 0) return Trouble::Dropping;
        return IsNewlySilent() ? Trouble::Silence : Trouble::None;
    }

    /// The oldest values, which stay in the queue until they are Removed; empty when told to stop and nothing waits.
    std::vector<RecordedValue> Batch(const std::stop_token& stop)
    {
        std::unique_lock lock(m_Guard);
        m_BusySince.reset();
        m_Filled.wait(lock, stop, [this] { return !m_Values.empty(); });
        m_Filled.wait_for(lock, stop, LongestWait, [this] { return m_Values.size() >= BatchWorthWriting; });
        m_BusySince = Clock::now();
        const auto count = static_cast<std::ptrdiff_t>(std::min(m_Values.size(), LargestBatch));
        m_BatchBegan = m_Removed;
        return {m_Values.begin(), m_Values.begin() + count};
    }

    /// Removes the first `count` values of the batch; some of them may have been dropped meanwhile.
    void Remove(std::size_t count)
    {
        const std::lock_guard lock(m_Guard);
        while (m_Removed < m_BatchBegan + count && !m_Values.empty()) {
            m_Bytes -= BytesOf(m_Values.front());
            m_Values.pop_front();
            ++m_Removed;
        }
        if (m_Values.empty()) m_Emptied.notify_all();
    }

    void Pause(const std::stop_token& stop)
    {
        std::unique_lock lock(m_Guard);
        m_BusySince.reset();
        m_Filled.wait_for(lock, stop, RetryPause, [] { return false; });
    }

    bool WaitUntilEmpty(std::chrono::milliseconds longest)
    {
        std::unique_lock lock(m_Guard);
        return m_Emptied.wait_for(lock, longest, [this] { return m_Values.empty(); });
    }

    std::size_t Count() const
    {
        const std::lock_guard lock(m_Guard);
        return m_Values.size();
    }
    quint64 TakeDropped()
    {
        const std::lock_guard lock(m_Guard);
        return std::exchange(m_Dropped, 0);
    }
    bool TakeSilence()
    {
        const std::lock_guard lock(m_Guard);
        return std::exchange(m_SilenceSaid, false);
    }

private:
    using Clock = std::chrono::steady_clock;

    bool IsNewlySilent()
    {
        if (m_SilenceSaid || !m_BusySince || Clock::now() - *m_BusySince < LongestSilence) return false;
        m_SilenceSaid = true;
        return true;
    }

    mutable std::mutex m_Guard;
    std::condition_variable_any m_Filled;
    std::condition_variable_any m_Emptied;
    std::deque<RecordedValue> m_Values;
    qint64 m_Bytes = 0;
    quint64 m_Removed = 0; ///< all that have ever left the front
    quint64 m_BatchBegan = 0;
    quint64 m_Dropped = 0;
    /// Empty while the writer waits for values or pauses.
    std::optional<Clock::time_point> m_BusySince = Clock::now();
    bool m_SilenceSaid = false;
};

/// The writing thread's side.
class Recorder::Writer
{
public:
    Writer(int number, HistoryDestination destination, std::shared_ptr<Queue> queue)
        : m_Number(number)
        , m_Destination(std::move(destination))
        , m_IsPostgreSql(DatabaseAddress(m_Destination.ConnectionString).IsPostgreSql())
        , m_Queue(std::move(queue))
    {
    }

    void Run(const std::stop_token& stop)
    {
        // Early, so that queries find the table.
        Open();
        for (;;) {
            const auto batch = m_Queue->Batch(stop);
            if (batch.empty()) break;
            if (Write(batch)) continue;
            if (stop.stop_requested()) break;
            m_Queue->Pause(stop);
        }
    }

private:
    bool Open()
    {
        if (m_Table && m_Table->IsGone()) m_Table.reset();
        if (m_Table) return true;
        try {
            if (m_IsPostgreSql) m_Table = std::make_unique<PostgresTable>(m_Destination);
            else m_Table = std::make_unique<SqliteTable>(m_Destination);
            return true;
        } catch (const DescribedError& error) {
            StopWriting(error.Description());
            return false;
        }
    }

    bool Write(std::span<const RecordedValue> batch)
    {
        if (!Open()) return false;
        try {
            m_Table->Write(batch, {m_Spool, m_Written + batch.size()});
            m_Written += batch.size();
            m_Queue->Remove(batch.size());
            GoOnWriting();
            return true;
        } catch (const DatabaseError& error) {
            if (!error.IsAboutTheValue()) {
                StopWriting(error.Description());
                return false;
            }
            return WriteWithout(batch, error.Description());
        } catch (const DescribedError& error) {
            StopWriting(error.Description());
            return false;
        }
    }

    /// One value was refused: the others are written without it.
    bool WriteWithout(std::span<const RecordedValue> batch, const QString& reason)
    {
        if (batch.size() == 1) {
            SayRefused(batch[0].Controller + u'\\' + batch[0].Item, reason);
            m_Queue->Remove(1);
            return true;
        }
        return Write(batch.first(batch.size() / 2));
    }

    /// Logged once per item until the reason changes; a reason that only quotes another value is the same one.
    void SayRefused(const QString& item, const QString& reason)
    {
        static const QRegularExpression quoted(QStringLiteral("\"[^\"]*\"|'[^']*'|\\d+"));
        const QString bare = QString(reason).remove(quoted);
        if (m_Refused.value(item) == bare) return;
        if (m_Refused.size() >= MostRefused) m_Refused.clear(); // items come and go
        m_Refused.insert(item, bare);
        Say(LogLevel::Warning, QStringLiteral("A value of %1 cannot be recorded: %2").arg(item, reason));
    }

    void StopWriting(const QString& reason)
    {
        m_Table.reset();
        if (reason == m_WaitReason) return; // already reported
        Say(LogLevel::Error, QStringLiteral("Values wait, at most %1: %2").arg(MostWaiting).arg(reason));
        m_WaitReason = reason;
    }

    void GoOnWriting()
    {
        const quint64 dropped = m_Queue->TakeDropped();
        const bool wasSilent = m_Queue->TakeSilence();
        if (m_WaitReason.isEmpty() && dropped == 0 && !wasSilent) return;
        Say(LogLevel::Info, QStringLiteral("Values are written again; %1 were dropped meanwhile.").arg(dropped));
        m_WaitReason.clear();
    }

    void Say(LogLevel level, const QString& text) const { SayOf(m_Number, level, text); }

    const int m_Number;
    const HistoryDestination m_Destination;
    const bool m_IsPostgreSql;
    const std::shared_ptr<Queue> m_Queue;
    const quint64 m_Spool = QRandomGenerator64::securelySeeded().generate() >> 1;
    quint64 m_Written = 0;
    std::unique_ptr<HistoryTable> m_Table; ///< null while the database is away
    /// Why values are waiting; empty while they are written.
    QString m_WaitReason;
    /// Items, and why their value was last refused.
    QHash<QString, QString> m_Refused;
};

Recorder::Recorder(int number, const HistoryDestination& destination)
    : m_Number(number)
    , m_Queue(std::make_shared<Queue>())
{
    auto writer = std::make_shared<Writer>(number, destination, m_Queue);
    m_Worker.emplace([writer](const std::stop_token& stop) { writer->Run(stop); }, LongestEnd);
}

Recorder::~Recorder()
{
    m_Worker.reset();
    const std::size_t lost = m_Queue->Count();
    if (lost > 0)
        SayOf(m_Number, LogLevel::Error, QStringLiteral("%1 values could not be written any more.").arg(lost));
}

void Recorder::Record(RecordedValue value)
{
    const Queue::Trouble trouble = m_Queue->Add(std::move(value));
    if (trouble == Queue::Trouble::Dropping)
        SayOf(m_Number, LogLevel::Warning, QStringLiteral("Too many values wait: the oldest are dropped."));
    else if (trouble == Queue::Trouble::Silence)
        SayOf(m_Number, LogLevel::Error,
              QStringLiteral("Values wait, at most %1: the database has not answered for %2 seconds.")
                  .arg(MostWaiting)
                  .arg(LongestSilence.count()));
}

bool Recorder::Flush(int milliseconds)
{
    return m_Queue->WaitUntilEmpty(std::chrono::milliseconds(milliseconds));
}
