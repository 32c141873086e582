#pragma once

#include "server/history/ResultSpool.h"
#include "server/history/StatementBreaker.h"

#include <kj/async.h>

using ResultSpoolRef = std::shared_ptr<ResultSpool>;

/// What statements may take. All times are of steady clocks.
struct StatementLimits
{
    using Duration = std::chrono::milliseconds;

    Duration UntilFirstPage = std::chrono::minutes(10); ///< 0: no limit
    qint64 ResultBytes = 0;                             ///< see ResultSpool
    /// A result that nobody asks about is not read on after the first of these times, and ends after the second.
    Duration RestAfter = std::chrono::seconds(10);
    Duration EndAfter = std::chrono::minutes(5);
};

/// A statement as the thread sees it that runs it. It owns all that it touches.
struct StatementRun
{
    using Fulfiller = kj::CrossThreadPromiseFulfiller<ResultSpoolRef>;

    DatabaseAddress Address;
    QString Statement;
    StatementLimits Limits;
    StatementBreakerRef Breaker;
    std::shared_ptr<kj::Own<Fulfiller>> Result;

    /// From the connection to the last row; whatever goes wrong reaches the result.
    void operator()(const std::stop_token& stop) const;

private:
    void Run(const std::stop_token& stop) const;
    void ReadResult(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
    void CopyRows(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
    void RestWhileUnasked(const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop) const;
};
