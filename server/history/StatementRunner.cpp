#include "server/history/StatementRunner.h"

#include "core/automation/Errors.h"
#include "server/history/SqlValue.h"
#include "server/history/StatementBreaker.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

constexpr std::size_t MostStatements = 32;

using Fulfiller = kj::CrossThreadPromiseFulfiller<ResultSpoolRef>;

kj::Exception ToException(const QString& description)
{
    const QByteArray text = description.toUtf8();
    return {kj::Exception::Type::FAILED, __FILE__, __LINE__,
            kj::heapString(text.constData(), static_cast<std::size_t>(text.size()))};
}

QStringList ColumnsOf(const QSqlQuery& query)
{
    QStringList columns;
    const QSqlRecord record = query.record();
    for (int i = 0; i < record.count(); ++i) columns.append(record.fieldName(i));
    return columns;
}

void CopyRows(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop)
{
    const int count = query.record().count();
    while (query.next()) {
        QList<Variant> row;
        row.reserve(count);
        for (int i = 0; i < count; ++i) row.append(FromSql(query.value(i)));
        const ResultSpoolRef spool = result.lock();
        if (!spool || stop.stop_requested()) return;
        spool->Append(std::move(row));
    }
    if (query.lastError().isValid()) throw DescribedError(Describe(query.lastError()));
}

/// Whatever ends the reading ends the result too.
void ReadResult(QSqlQuery& query, const std::weak_ptr<ResultSpool>& result, const std::stop_token& stop)
{
    QString failure;
    try {
        CopyRows(query, result, stop);
    } catch (...) {
        failure = CurrentErrorDescription();
    }
    if (const ResultSpoolRef spool = result.lock())
        spool->Finish(stop.stop_requested() ? QStringLiteral("The server has ended.") : failure);
}

void RunStatement(const DatabaseAddress& address, const QString& statement, const Fulfiller& fulfiller,
                  const StatementBreakerRef& breaker, const std::stop_token& stop)
{
    const DatabaseSession session(address);
    breaker->Arm(session);
    const auto disarm = kj::defer([&] { breaker->Disarm(); }); // before the session closes
    QSqlQuery query(session.Database());
    query.setForwardOnly(true);
    if (!query.exec(statement)) throw DescribedError(Describe(query.lastError()));
    auto result = std::make_shared<ResultSpool>(ColumnsOf(query), [breaker] { breaker->Break(); });
    const std::weak_ptr<ResultSpool> observed = result;
    if (!query.isSelect()) result->Finish();
    const bool isComplete = result->Progress().Complete;
    fulfiller.fulfill(std::move(result));
    if (!isComplete) ReadResult(query, observed, stop);
}

/// Breaks a statement whose result nobody waits for any more.
class Impatience
{
public:
    explicit Impatience(StatementBreakerRef breaker)
        : m_Breaker(std::move(breaker))
    {
    }
    Impatience(Impatience&&) = default;
    Impatience& operator=(Impatience&&) = delete;
    ~Impatience()
    {
        if (m_Breaker) m_Breaker->Break();
    }

    ResultSpoolRef operator()(ResultSpoolRef&& result)
    {
        m_Breaker = nullptr; // from here on it ends with the result
        return std::move(result);
    }

private:
    StatementBreakerRef m_Breaker;
};

} // namespace

kj::Promise<ResultSpoolRef> StatementRunner::Run(const DatabaseAddress& address, const QString& statement)
{
    m_Workers.remove_if([](const Worker& worker) { return worker.IsDone(); });
    if (m_Workers.size() >= MostStatements)
        throw DescribedError(QStringLiteral("%1 statements are running already.").arg(MostStatements));
    auto pair = kj::newPromiseAndCrossThreadFulfiller<ResultSpoolRef>();
    const auto fulfiller = std::make_shared<kj::Own<Fulfiller>>(kj::mv(pair.fulfiller));
    const auto breaker = std::make_shared<StatementBreaker>(address);
    m_Workers.emplace_back([=](const std::stop_token& stop) {
        try {
            RunStatement(address, statement, **fulfiller, breaker, stop);
        } catch (...) {
            (*fulfiller)->reject(ToException(CurrentErrorDescription()));
        }
    });
    return pair.promise.then(Impatience(breaker));
}

void StatementRunner::RequestStop()
{
    for (Worker& worker : m_Workers) worker.RequestStop();
}
