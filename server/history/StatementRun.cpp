#include "server/history/StatementRun.h"

#include "core/automation/Errors.h"
#include "server/history/ResultRows.h"
#include "server/history/SqlText.h"
#include "server/sqlitehistory/HistoryTables.h"
#include "velsqllib/WireText.h"

#include <QSqlQuery>
#include <QSqlRecord>

#include <optional>
#include <thread>

namespace {

constexpr std::chrono::milliseconds BetweenLooks(50);

QStringList ColumnsOf(const QSqlQuery& query)
{
    QStringList columns;
    const QSqlRecord record = query.record();
    for (int i = 0; i < record.count(); ++i) columns.append(record.fieldName(i));
    return columns;
}

} // namespace

void StatementRun::operator()(const std::stop_token& stop) const
{
    try {
        Run(stop);
    } catch (...) {
        const QString failure = CurrentErrorDescription();
        (*Result)->reject(ToException(Breaker->IsBroken() ? Breaker->Reason() : failure));
    }
}

void StatementRun::Run(const std::stop_token& stop) const
{
    const DatabaseSession session(Address);
    std::optional<HistoryTables> tables;
    if (sqlite3* handle = session.SqliteHandle()) tables.emplace(handle, Address.Database(), Table, Asked.Text);
    Breaker->Arm(session);
    // After the queries, whose destructors read to the end, and before the session closes.
    const auto disarm = kj::defer([&] { Breaker->Disarm(); });
    try {
        if (Asked.Fill) FillResult(session, stop);
        else RunStatement(session, stop);
    } catch (const DescribedError&) {
        if (tables && !tables->Refusal().isEmpty()) throw DescribedError(tables->Refusal());
        throw;
    }
}

void StatementRun::RunStatement(const DatabaseSession& session, const std::stop_token& stop) const
{
    QSqlQuery query(session.Database());
    query.setForwardOnly(true);
    query.exec(CheckedStatement(Asked.Text, Address.IsPostgreSql()));
    int affected = query.numRowsAffected();
    while (!query.isSelect() && query.nextResult()) // of several result sets, the first that has rows
        affected = query.numRowsAffected();
    if (query.lastError().isValid()) throw DescribedError(Describe(query.lastError()));
    auto result = NewResult(ColumnsOf(query));
    const std::weak_ptr<ResultSpool> observed = result;
    if (!query.isSelect()) result->FinishWithoutRows(affected);
    const bool isComplete = result->Progress().Complete;
    (*Result)->fulfill(std::move(result));
    if (!isComplete) ReadResult(query, observed, stop);
}

/// The result is given away with its first row, so that what fails before is a failure of the call.
void StatementRun::FillResult(const DatabaseSession& session, const std::stop_token& stop) const
{
    ResultSpoolRef kept = NewResult(Asked.Columns);
    const std::weak_ptr<ResultSpool> result = kept;
    QString failure;
    try {
        Asked.Fill(session, [&](QList<Variant> row) {
            if (kept) (*Result)->fulfill(std::exchange(kept, nullptr));
            return Take(std::move(row), result, stop);
        });
    } catch (...) {
        failure = CurrentErrorDescription();
    }
    if (Breaker->IsBroken()) failure = Breaker->Reason();
    // Before the result goes, because its end breaks whatever works for it.
    if (kept && !failure.isEmpty()) return (*Result)->reject(ToException(failure));
    if (const ResultSpoolRef spool = result.lock()) spool->Finish(failure);
    if (kept) (*Result)->fulfill(std::move(kept));
}

ResultSpoolRef StatementRun::NewResult(const QStringList& columns) const
{
    const auto dropped = [breaker = Breaker] { breaker->Break(QStringLiteral("The result was given up.")); };
    return std::make_shared<ResultSpool>(columns, Limits.ResultBytes, dropped);
}

/// Whatever ends the reading also ends the result.
void StatementRun::ReadResult(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result,
                              const std::stop_token& stop) const
{
    QString failure;
    try {
        CopyRows(query, result, stop);
        // Later parts of the statement may still fail, so they are run here and not by the query's destructor.
        while (!Breaker->IsBroken() && query.nextResult()) {
        }
        if (query.lastError().isValid()) failure = Describe(query.lastError());
    } catch (...) {
        failure = CurrentErrorDescription();
        Breaker->Break(failure); // otherwise the driver would read the rest
    }
    if (Breaker->IsBroken()) failure = Breaker->Reason();
    if (const ResultSpoolRef spool = result.lock()) spool->Finish(failure);
}

void StatementRun::CopyRows(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result,
                            const std::stop_token& stop) const
{
    ResultRows rows(query);
    while (rows.Next() && Take(rows.Row(), result, stop)) {
    }
}

bool StatementRun::Take(QList<Variant> row, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const
{
    ResultSpoolRef spool = result.lock();
    if (!spool || Breaker->IsBroken()) return false;
    const bool rests = spool->Append(std::move(row)) && spool->SinceAsked() > Limits.RestAfter;
    // Not held during the rest, so that the end of the spool is noticed.
    spool.reset();
    if (rests) RestWhileUnasked(result, stop);
    return true;
}

void StatementRun::RestWhileUnasked(const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const
{
    while (!stop.stop_requested() && !Breaker->IsBroken()) {
        if (const ResultSpoolRef spool = result.lock(); !spool || spool->SinceAsked() <= Limits.RestAfter) return;
        std::this_thread::sleep_for(BetweenLooks);
    }
}
