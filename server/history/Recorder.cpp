#include "server/history/Recorder.h"

#include "server/log/Log.h"
#include "server/postgreshistory/PostgresTable.h"
#include "server/sqlitehistory/SqliteTable.h"

#include <mutex>
#include <QHash>
#include <QRegularExpression>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// What is not written by then stays on disk for the next server.
constexpr auto LongestEnd = 5s;
constexpr auto TimeToWriteAtEnd = 3s;
constexpr auto LongestSilence = 5s;
constexpr auto BetweenReports = 60s;
constexpr qsizetype MostRefused = 10'000;

QString NameOf(int destination)
{
    return QStringLiteral("History destination %1: ").arg(destination);
}

} // namespace

/// Tells the log whether values are written, wait or are dropped, each once; from the threads of writer and keeper.
class Recorder::Reporter
{
public:
    Reporter(int number, std::shared_ptr<WaitingValues> waiting)
        : m_Number(number)
        , m_Waiting(std::move(waiting))
    {
    }

    void SayWaiting(const QString& reason)
    {
        const std::lock_guard lock(m_Guard);
        if (m_WaitReason.isEmpty()) m_Dropped = 0;
        if (std::exchange(m_WaitReason, reason) != reason)
            Say(LogLevel::Error, QStringLiteral("Values wait: ") + reason);
    }

    void SayWritten()
    {
        const std::lock_guard lock(m_Guard);
        if (m_WaitReason.isEmpty()) return;
        TakeDropped();
        SayDropped();
        Say(LogLevel::Info, QStringLiteral("Values are written again; %1 were dropped meanwhile.").arg(m_Dropped));
        m_WaitReason.clear();
        m_Dropped = 0;
    }

    void Look()
    {
        if (m_Waiting->BusyFor() > LongestSilence)
            SayWaiting(QStringLiteral("the database has not answered for %1 seconds.").arg(LongestSilence.count()));
        const std::lock_guard lock(m_Guard);
        TakeDropped();
        if (Clock::now() - m_Reported > BetweenReports) SayDropped();
    }

    /// What has not been said yet.
    void Finish()
    {
        const std::lock_guard lock(m_Guard);
        TakeDropped();
        SayDropped();
    }

    void Say(LogLevel level, const QString& text) const { Log(level, NameOf(m_Number) + text); }

private:
    void TakeDropped()
    {
        const DroppedValues dropped = m_Waiting->TakeDropped();
        m_Dropped += dropped.Count;
        m_Unreported.Add(dropped.Count, dropped.Begin, dropped.End);
    }

    void SayDropped()
    {
        if (m_Unreported.Count == 0) return;
        Say(LogLevel::Warning,
            QStringLiteral("Too many values wait: the oldest are dropped, %1.").arg(m_Unreported.Text()));
        m_Unreported = {};
        m_Reported = Clock::now();
    }

    const int m_Number;
    const std::shared_ptr<WaitingValues> m_Waiting;
    mutable std::mutex m_Guard;
    /// Why values are waiting; empty while they are written.
    QString m_WaitReason;
    quint64 m_Dropped = 0; ///< since values were last written
    DroppedValues m_Unreported;
    Clock::time_point m_Reported = Clock::now() - BetweenReports;
};

/// The writing thread's side.
class Recorder::Writer
{
public:
    Writer(HistoryDestination destination, std::shared_ptr<WaitingValues> waiting, std::shared_ptr<Reporter> reporter)
        : m_Destination(std::move(destination))
        , m_IsPostgreSql(DatabaseAddress(m_Destination.ConnectionString).IsPostgreSql())
        , m_Waiting(std::move(waiting))
        , m_Reporter(std::move(reporter))
    {
    }

    void Run(const std::stop_token& stop)
    {
        m_Waiting->OnDisk().TakeOver();
        // Early, so that queries find the table.
        Open();
        std::optional<Clock::time_point> end;
        while (!end || Clock::now() < *end) {
            if (!end && stop.stop_requested()) end = Clock::now() + TimeToWriteAtEnd;
            SpoolBatch batch = m_Waiting->Next(stop);
            if (batch.Values.empty()) {
                if (stop.stop_requested()) return ForgetOwn();
                continue;
            }
            while (!Write(batch)) {
                if (stop.stop_requested()) return;
                m_Waiting->Pause(stop);
            }
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
            // Where a connection was lost, only the database knows whether it has committed.
            for (const quint64 spool : m_Waiting->OnDisk().Ids()) NoteWritten({spool, m_Table->Written(spool)});
            return true;
        } catch (const DescribedError& error) {
            m_Table.reset();
            m_Reporter->SayWaiting(error.Description());
            return false;
        }
    }

    bool Write(SpoolBatch& batch)
    {
        try {
            if (!Open()) return false;
            batch.SkipTo(m_Written.value(batch.Spool));
            while (!batch.Values.empty()) WriteSome(batch, batch.Values.size());
            ForgetEmptied();
            m_Reporter->SayWritten();
            return true;
        } catch (const DescribedError& error) {
            // An open connection keeps what others need to read while the disk is full.
            if (m_Table && !m_Table->Survives(error)) m_Table.reset();
            m_Reporter->SayWaiting(error.Description());
            return false;
        }
    }

    /// Writes the first `count` values or, when one of these is refused, fewer; they leave the batch.
    void WriteSome(SpoolBatch& batch, std::size_t count)
    {
        const SpoolPosition position = batch.After(count);
        try {
            m_Table->Write(std::span(batch.Values).first(count), position);
        } catch (const DatabaseError& error) {
            if (!error.IsAboutTheValue()) throw;
            if (count > 1) return WriteSome(batch, count / 2);
            SayRefused(batch.Values[0].Controller + u'\\' + batch.Values[0].Item, error.Description());
        }
        NoteWritten(position);
        batch.SkipTo(position.Sequence);
    }

    void NoteWritten(SpoolPosition position)
    {
        quint64& written = m_Written[position.Spool];
        written = std::max(written, position.Sequence);
        m_Waiting->Written({position.Spool, written});
    }

    void ForgetEmptied()
    {
        for (const quint64 spool : m_Waiting->OnDisk().TakeEmptied()) {
            m_Table->Forget(spool);
            m_Written.remove(spool);
        }
    }

    /// Everything has been written, so nobody will ask.
    void ForgetOwn()
    {
        try {
            if (m_Table) m_Table->Forget(m_Waiting->OnDisk().Id());
        } catch (const DescribedError& error) {
            m_Reporter->Say(LogLevel::Debug, error.Description());
        }
    }

    /// Logged once per item until the reason changes; a reason that only quotes another value is the same one.
    void SayRefused(const QString& item, const QString& reason)
    {
        static const QRegularExpression quoted(QStringLiteral("\"[^\"]*\"|'[^']*'|\\d+"));
        const QString bare = QString(reason).remove(quoted);
        if (m_Refused.value(item) == bare) return;
        if (m_Refused.size() >= MostRefused) m_Refused.clear(); // items come and go
        m_Refused.insert(item, bare);
        m_Reporter->Say(LogLevel::Warning, QStringLiteral("A value of %1 cannot be recorded: %2").arg(item, reason));
    }

    const HistoryDestination m_Destination;
    const bool m_IsPostgreSql;
    const std::shared_ptr<WaitingValues> m_Waiting;
    const std::shared_ptr<Reporter> m_Reporter;
    std::unique_ptr<HistoryTable> m_Table; ///< null while the database is away
    QHash<quint64, quint64> m_Written;     ///< by spool: up to this sequence
    /// Items, and why their value was last refused.
    QHash<QString, QString> m_Refused;
};

Recorder::Recorder(int number, const HistoryDestination& destination, const SpoolSettings& spool)
    : m_Number(number)
    , m_Waiting(std::make_shared<WaitingValues>(NameOf(number), spool, NameOf(destination), destination.Surviving))
{
    const auto reporter = std::make_shared<Reporter>(number, m_Waiting);
    const auto writer = std::make_shared<Writer>(destination, m_Waiting, reporter);
    m_Keeper.emplace([waiting = m_Waiting, reporter](const std::stop_token& stop) {
        waiting->Keep(stop, [&] { reporter->Look(); });
        reporter->Finish();
    });
    m_Writer.emplace([writer](const std::stop_token& stop) { writer->Run(stop); }, LongestEnd);
}

Recorder::~Recorder()
{
    m_Writer.reset();
    m_Keeper.reset(); // the last one: it keeps what could not be written
    const quint64 lost = m_Waiting->CountInMemory();
    const quint64 left = m_Waiting->OnDisk().Count();
    const QString name = NameOf(m_Number);
    if (lost > 0) Log(LogLevel::Error, name + QStringLiteral("%1 values are lost.").arg(lost));
    if (left > 0) Log(LogLevel::Warning, name + QStringLiteral("%1 values wait on disk for the next start.").arg(left));
}
