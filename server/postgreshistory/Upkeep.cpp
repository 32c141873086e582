#include "server/postgreshistory/Upkeep.h"

#include "server/log/Log.h"
#include "server/postgreshistory/Layout.h"
#include "server/database/LibraryConnection.h"
#include "server/postgreshistory/PartitionCare.h"
#include "server/postgreshistory/PostgresRetention.h"

#include <condition_variable>
#include <libpq-fe.h>
#include <mutex>
#include <optional>
#include <QDateTime>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto BetweenLooks = 1s;
constexpr auto AfterFailure = 10s;
constexpr auto BetweenRepairs = 10s;
constexpr auto UntilComplaint = 60s; // others may be in the way for a while
constexpr auto BetweenReports = 24h;
constexpr auto UntilReport = 1h; // when there was too little to tell

} // namespace

/// Lets the statement that is running end.
struct Upkeep::Breaker
{
    void Arm(const DatabaseSession& session)
    {
        PGconn* connection = LibraryConnection(session.Database());
        const std::lock_guard lock(Guard);
        if (connection) Cancel.reset(PQgetCancel(connection));
    }
    void Break()
    {
        const std::lock_guard lock(Guard);
        char problem[256];
        if (Cancel) PQcancel(Cancel.get(), problem, sizeof(problem));
    }

    std::mutex Guard;
    std::unique_ptr<PGcancel, decltype(&PQfreeCancel)> Cancel{nullptr, &PQfreeCancel};
};

class Upkeep::Work
{
public:
    Work(HistoryDestination destination, std::shared_ptr<WriteProgress> progress, std::shared_ptr<Breaker> breaker)
        : m_Destination(std::move(destination))
        , m_Progress(std::move(progress))
        , m_Breaker(std::move(breaker))
    {
    }

    void Run(const std::stop_token& stop)
    {
        while (!stop.stop_requested()) {
            try {
                const DatabaseSession session{DatabaseAddress(m_Destination.ConnectionString)};
                m_Breaker->Arm(session);
                LookAfter(session, stop);
            } catch (const DatabaseError& error) {
                NoteFailure(error.Description());
            } catch (const DescribedError& error) {
                m_FailingSince.reset(); // who records says that the database is away
                Log(LogLevel::Debug, QStringLiteral("Partitions are looked after later: ") + error.Description());
            }
            Wait(stop, AfterFailure);
        }
    }

private:
    void LookAfter(const DatabaseSession& session, const std::stop_token& stop)
    {
        const LayoutNames names(m_Destination.TableName);
        PartitionCare care(session, names, *m_Progress);
        PostgresRetention retention(session, names, m_Destination);
        const QString lock = LayoutNames::Literal(names.Of(QStringLiteral("rows")));
        session.Run(QStringLiteral("SET lock_timeout = '2s'"));
        // One core is enough: the others are for those who record and read.
        session.Run(QStringLiteral("SET max_parallel_maintenance_workers = 0"));
        session.Run(QStringLiteral("SET max_parallel_workers_per_gather = 0"));
        while (!session.Ask(QStringLiteral("SELECT pg_try_advisory_lock(hashtext(%1))").arg(lock)).toBool())
            if (!Wait(stop, AfterFailure)) return;
        while (!stop.stop_requested()) {
            Repair(session, names);
            const bool isBusy = Step(care, retention);
            NoteSuccess();
            if (!isBusy && !Wait(stop, BetweenLooks)) return;
        }
    }

    /// What somebody has dropped meanwhile.
    void Repair(const DatabaseSession& session, const LayoutNames& names)
    {
        if (Clock::now() < m_NextRepair) return;
        m_NextRepair = Clock::now() + BetweenRepairs;
        const Layout layout(session, names);
        if (layout.Find() != Layout::Kind::Partitioned || layout.IsComplete()) return;
        try {
            layout.Make(Layout::Kind::Partitioned);
        } catch (const DatabaseError& error) { // a user who may not do this may still record
            Log(LogLevel::Debug, QStringLiteral("The history's tables are not complete: ") + error.Description());
        }
    }

    void NoteFailure(const QString& reason)
    {
        if (!m_FailingSince) m_FailingSince = Clock::now();
        const bool isLasting = Clock::now() - *m_FailingSince > UntilComplaint;
        const bool isNews = isLasting && std::exchange(m_Complaint, reason) != reason;
        Log(isNews ? LogLevel::Warning : LogLevel::Debug,
            QStringLiteral("The partitions of the history %1 cannot be looked after: %2")
                .arg(m_Destination.TableName, reason));
    }
    void NoteSuccess()
    {
        m_FailingSince.reset();
        if (std::exchange(m_Complaint, {}).isEmpty()) return;
        Log(LogLevel::Info,
            QStringLiteral("The partitions of the history %1 are looked after again.").arg(m_Destination.TableName));
    }

    /// The next thing to do. Returns whether there may be more.
    bool Step(PartitionCare& care, PostgresRetention& retention)
    {
        const QDateTime now = QDateTime::currentDateTime();
        care.MakeAhead(now);
        if (Clock::now() >= m_NextReport) {
            const QString report = retention.Report(care.All().All());
            if (!report.isEmpty()) Log(LogLevel::Info, report);
            m_NextReport = Clock::now() + (report.isEmpty() ? Clock::duration(UntilReport) : BetweenReports);
        }
        if (retention.DropNext(care.All().All())) {
            m_Progress->HasDropped = true;
            return true;
        }
        return care.TidyNext() || care.CloseNext(now) || care.SumUpChanged() || care.KeepNextHours() ||
               care.MergeNext();
    }

    /// Returns false when told to stop.
    bool Wait(const std::stop_token& stop, std::chrono::seconds time)
    {
        std::unique_lock lock(m_Guard);
        m_Never.wait_for(lock, stop, time, [] { return false; });
        return !stop.stop_requested();
    }

    const HistoryDestination m_Destination;
    const std::shared_ptr<WriteProgress> m_Progress;
    const std::shared_ptr<Breaker> m_Breaker;
    Clock::time_point m_NextReport = Clock::now();
    Clock::time_point m_NextRepair = Clock::now();
    std::optional<Clock::time_point> m_FailingSince;
    QString m_Complaint; ///< the last one; empty while all is well
    std::mutex m_Guard;
    std::condition_variable_any m_Never;
};

Upkeep::Upkeep(HistoryDestination destination, std::shared_ptr<WriteProgress> progress)
    : m_Progress(std::move(progress))
    , m_Breaker(std::make_shared<Breaker>())
    , m_Thread([work = std::make_shared<Work>(std::move(destination), m_Progress, m_Breaker)](
                   const std::stop_token& stop) { work->Run(stop); })
{
}

Upkeep::~Upkeep()
{
    m_Progress->IsEnding = true;
    m_Thread.request_stop();
    m_Breaker->Break();
}
