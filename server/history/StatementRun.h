#pragma once

#include "server/history/ResultSpool.h"
#include "server/history/StatementBreaker.h"

#include <kj/async.h>

using ResultSpoolRef = std::shared_ptr<ResultSpool>;

/// Limits for statements. All times refer to steady clocks.
struct StatementLimits
{
    using Duration = std::chrono::milliseconds;

    Duration UntilFirstPage = std::chrono::minutes(10); ///< 0: no limit
    qint64 ResultBytes = 0;                             ///< see ResultSpool
    /// A result that nobody asks about is not read any further after the first of these times, and ends after the
    /// second.
    Duration RestAfter = std::chrono::seconds(10);
    Duration EndAfter = std::chrono::minutes(5);
};

/// What is asked of the database: a statement or, with `Fill`, a result that is made of several.
struct Inquiry
{
    /// Takes a row of the result. False when nobody wants more of them.
    using Taker = std::function<bool(QList<Variant> row)>;

    QString Text; ///< the statement, or what the list of statements shows
    QStringList Columns = {};
    /// Hands out all rows, in `Columns`. Throws DescribedError.
    std::function<void(const DatabaseSession& session, const Taker& take)> Fill = {};
};

/// An inquiry as the thread that runs it sees it. It owns everything that it uses.
struct StatementRun
{
    using Fulfiller = kj::CrossThreadPromiseFulfiller<ResultSpoolRef>;

    DatabaseAddress Address;
    QString Table; ///< the history's
    Inquiry Asked;
    StatementLimits Limits;
    StatementBreakerRef Breaker;
    std::shared_ptr<kj::Own<Fulfiller>> Result;

    /// From opening the connection to the last row; every failure reaches the result.
    void operator()(const std::stop_token& stop) const;

private:
    void Run(const std::stop_token& stop) const;
    void RunStatement(const DatabaseSession& session, const std::stop_token& stop) const;
    void FillResult(const DatabaseSession& session, const std::stop_token& stop) const;
    ResultSpoolRef NewResult(const QStringList& columns) const;
    void ReadResult(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
    void CopyRows(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
    bool Take(QList<Variant> row, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
    void RestWhileUnasked(const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
};
