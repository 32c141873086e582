#include "server/history/Recorder.h"

#include "server/history/RecordingReport.h"
#include "server/log/Log.h"
#include "server/postgreshistory/PostgresTable.h"
#include "server/sqlitehistory/SqliteTable.h"
#include "server/worker/Priority.h"

#include <QHash>
#include <QRegularExpression>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// What is not written by then stays on disk for the next server.
constexpr auto LongestEnd = 5s;
constexpr auto TimeToWriteAtEnd = 3s;
constexpr auto BetweenTakeOvers = 60s;
constexpr qsizetype MostRefused = 10'000;

} // namespace

/// The writing thread's side.
class Recorder::Writer
{
public:
    Writer(HistoryDestination destination, std::shared_ptr<WaitingValues> waiting,
           std::shared_ptr<RecordingReport> reporter)
        : m_Destination(std::move(destination))
        , m_IsPostgreSql(DatabaseAddress(m_Destination.ConnectionString).IsPostgreSql())
        , m_Waiting(std::move(waiting))
        , m_Reporter(std::move(reporter))
    {
    }

    void Run(const std::stop_token& stop)
    {
        TakeOver();
        // Early, so that queries find the table.
        Attempt([this] { Open(); });
        std::optional<Clock::time_point> end;
        while (!end || Clock::now() < *end) {
            if (!end && stop.stop_requested()) end = Clock::now() + TimeToWriteAtEnd;
            TakeOver();
            SpoolBatch batch;
            if (!Until(stop, [&] { batch = m_Waiting->Next(stop); })) return;
            if (batch.Values.empty()) {
                if (stop.stop_requested()) return ForgetOwn();
                continue;
            }
            if (!Until(stop, [&] { Write(batch); })) return;
        }
    }

private:
    /// What earlier servers left. What cannot be read is tried again now and then.
    void TakeOver()
    {
        if (Clock::now() < m_NextTakeOver) return;
        const bool isAll = m_Waiting->OnDisk().TakeOver();
        m_NextTakeOver = isAll ? Clock::time_point::max() : Clock::now() + BetweenTakeOvers;
        m_Table.reset(); // it is asked anew what of them has been written
    }

    /// Returns whether it was done. Whatever fails, values wait until it can be done, and the log says why.
    bool Attempt(const std::function<void()>& work)
    {
        try {
            work();
            return true;
        } catch (const DescribedError& error) {
            // An open connection keeps what others need to read while the disk is full.
            if (m_Table && !m_Table->Survives(error)) m_Table.reset();
            m_Reporter->SayWaiting(error.Description());
        } catch (...) { // memory or a thread that there is not
            m_Table.reset();
            m_Reporter->SayWaiting(CurrentErrorDescription());
        }
        return false;
    }

    /// Tries again until it is done; returns false when told to stop before.
    bool Until(const std::stop_token& stop, const std::function<void()>& work)
    {
        while (!Attempt(work)) {
            if (stop.stop_requested()) return false;
            m_Waiting->Pause(stop);
        }
        return true;
    }

    void Open()
    {
        if (m_Table && m_Table->IsGone()) m_Table.reset();
        if (m_Table) return;
        std::unique_ptr<HistoryTable> table;
        if (m_IsPostgreSql) table = std::make_unique<PostgresTable>(m_Destination);
        else table = std::make_unique<SqliteTable>(m_Destination);
        // Where a connection was lost, only the database knows whether it has committed.
        for (const quint64 spool : m_Waiting->OnDisk().Ids()) NoteWritten({spool, table->Written(spool)});
        m_Table = std::move(table);
    }

    void Write(SpoolBatch& batch)
    {
        Open();
        batch.SkipTo(m_Written.value(batch.Spool));
        while (!batch.Values.empty()) WriteSome(batch, batch.Values.size());
        ForgetEmptied();
        m_Reporter->SayWritten();
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
            if (m_Table && m_Waiting->OnDisk().IsOwnEmpty()) m_Table->Forget(m_Waiting->OnDisk().Id());
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
    const std::shared_ptr<RecordingReport> m_Reporter;
    std::unique_ptr<HistoryTable> m_Table; ///< null while the database is away
    QHash<quint64, quint64> m_Written;     ///< by spool: up to this sequence
    Clock::time_point m_NextTakeOver;
    /// Items, and why their value was last refused.
    QHash<QString, QString> m_Refused;
};

Recorder::Recorder(int number, const HistoryDestination& destination, const SpoolSettings& spool)
    : m_Number(number)
    , m_Waiting(std::make_shared<WaitingValues>(RecordingReport::NameOf(number), spool, NameOf(destination),
                                                destination.Surviving))
{
    const auto reporter = std::make_shared<RecordingReport>(number, m_Waiting);
    const auto writer = std::make_shared<Writer>(destination, m_Waiting, reporter);
    m_Waiting->MakeShelter();
    m_Keeper.emplace([waiting = m_Waiting, reporter](const std::stop_token& stop) {
        waiting->Keep(stop, [&] { reporter->Look(); });
        reporter->Finish();
    });
    const auto write = [writer](const std::stop_token& stop) {
        TakeUsualTurns(); // nobody waits for an answer
        writer->Run(stop);
    };
    m_Writer.emplace(write, LongestEnd);
}

Recorder::~Recorder()
{
    m_Writer.reset();
    m_Keeper.reset(); // the last one: it keeps what could not be written
    const quint64 lost = m_Waiting->CountInMemory();
    const quint64 left = m_Waiting->OnDisk().Count();
    const QString name = RecordingReport::NameOf(m_Number);
    if (lost > 0) Log(LogLevel::Error, name + QStringLiteral("%1 values are lost.").arg(lost));
    if (left > 0) Log(LogLevel::Warning, name + QStringLiteral("%1 values wait on disk for the next start.").arg(left));
}
