#include "server/history/StatementRunner.h"

#include "core/automation/Errors.h"
#include "velsqllib/WireText.h"

#include <algorithm>

namespace {

using Clock = std::chrono::steady_clock;
using GiveUpRef = std::shared_ptr<kj::Own<kj::PromiseFulfiller<ResultSpoolRef>>>;

constexpr auto BetweenLooks = 100 * kj::MILLISECONDS;
constexpr qsizetype ShownCharacters = 200;

QString TimeText(std::chrono::milliseconds time)
{
    const auto seconds = static_cast<double>(time.count()) / 1000.0;
    return QStringLiteral("%1 s").arg(seconds, 0, 'f', 1);
}

} // namespace

/// A statement as the event loop sees it, until its thread is done with it.
struct StatementRunner::Statement
{
    /// Ends the statement for those who wait, even when the database's library does not return.
    void Break(const QString& reason)
    {
        Breaker->Break(reason);
        if ((*GiveUp)->isWaiting()) (*GiveUp)->reject(ToException(reason));
    }
    std::chrono::milliseconds Lasted() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - Began);
    }

    Statement(qint32 number, QString text, HistoryUserRef user)
        : Number(number)
        , Text(std::move(text))
        , User(std::move(user))
    {
    }

    qint32 Number;
    QString Text;
    HistoryUserRef User;
    Clock::time_point Began = Clock::now();
    StatementBreakerRef Breaker;
    /// Shared with those who wait: they may still be waiting when the thread is done.
    GiveUpRef GiveUp;
    /// Empty until its columns are known.
    std::weak_ptr<ResultSpool> Result;
    std::optional<Worker> Thread;
};

namespace {

/// Takes over a result from its thread; breaks a statement whose result is no longer wanted.
template <typename Statement>
class Impatience
{
public:
    explicit Impatience(const std::shared_ptr<Statement>& statement)
        : m_Statement(statement)
        , m_Breaker(statement->Breaker)
        , m_GiveUp(statement->GiveUp)
    {
    }
    Impatience(Impatience&&) = default;
    Impatience& operator=(Impatience&&) = delete;
    ~Impatience()
    {
        if (m_Breaker) m_Breaker->Break(QStringLiteral("The statement was given up."));
    }

    ResultSpoolRef operator()(ResultSpoolRef&& result)
    {
        // From here on it ends with the result.
        m_Breaker = nullptr;
        if (const auto statement = m_Statement.lock()) statement->Result = result;
        result->NoteAsked();
        return std::move(result);
    }

private:
    std::weak_ptr<Statement> m_Statement;
    StatementBreakerRef m_Breaker;
    GiveUpRef m_GiveUp;
};

} // namespace

StatementRunner::StatementRunner(const StatementLimits& limits, kj::Timer& timer)
    : m_Limits(limits)
    , m_Timer(timer)
{
}

StatementRunner::~StatementRunner()
{
    RequestStop();
}

kj::Promise<ResultSpoolRef> StatementRunner::Run(const HistoryDestination& destination, Inquiry asked,
                                                 const HistoryUserRef& user)
{
    const DatabaseAddress address(destination.ConnectionString);
    ForgetDone();
    RefuseTooMany(user);
    auto result = kj::newPromiseAndCrossThreadFulfiller<ResultSpoolRef>();
    auto giveUp = kj::newPromiseAndFulfiller<ResultSpoolRef>();
    const auto fulfiller = std::make_shared<kj::Own<StatementRun::Fulfiller>>(kj::mv(result.fulfiller));
    const auto breaker = std::make_shared<StatementBreaker>(address);
    const auto running = std::make_shared<Statement>(++m_LastNumber, asked.Text, user);
    running->Breaker = breaker;
    running->GiveUp = std::make_shared<GiveUpRef::element_type>(kj::mv(giveUp.fulfiller));
    running->Thread.emplace(
        StatementRun{address, destination.TableName, std::move(asked), m_Limits, breaker, fulfiller});
    m_Statements.push_back(running);
    if (!std::exchange(m_IsWatching, true)) m_Watching = Watch().eagerlyEvaluate(nullptr);
    return result.promise.exclusiveJoin(kj::mv(giveUp.promise)).then(Impatience<Statement>(running));
}

void StatementRunner::RefuseTooMany(const HistoryUserRef& user) const
{
    const auto own = std::count_if(m_Statements.begin(), m_Statements.end(),
                                   [&](const StatementRef& statement) { return statement->User == user; });
    const bool areTooMany = own >= HistoryUser::MostStatements || m_Statements.size() >= MostStatements;
    if (areTooMany)
        throw DescribedError(QStringLiteral("%1 statements are running already.")
                                 .arg(std::max<std::size_t>(own, HistoryUser::MostStatements)));
    if (user->HeldResults() >= HistoryUser::MostResults)
        throw DescribedError(QStringLiteral("%1 results are held already.").arg(user->HeldResults()));
}

QStringList StatementRunner::Describe() const
{
    QStringList texts;
    for (const StatementRef& statement : m_Statements) {
        if (statement->Thread->IsDone()) continue;
        const ResultSpoolRef result = statement->Result.lock();
        const QString text = statement->Text.simplified();
        texts.append(QStringLiteral("%1: %2, %3 rows: %4%5")
                         .arg(statement->Number)
                         .arg(TimeText(statement->Lasted()))
                         .arg(result ? result->Progress().RowsSoFar : 0)
                         .arg(text.left(ShownCharacters), QStringView(text.size() > ShownCharacters ? u"..." : u"")));
    }
    return texts;
}

void StatementRunner::Break(qint32 number)
{
    for (const StatementRef& statement : m_Statements) {
        if (statement->Number == number && !statement->Thread->IsDone())
            return statement->Break(QStringLiteral("The statement was ended by a command."));
    }
    throw DescribedError(QStringLiteral("No statement %1 is running.").arg(number));
}

void StatementRunner::RequestStop()
{
    for (const StatementRef& statement : m_Statements) {
        statement->Breaker->Break(QStringLiteral("The server has ended."));
        statement->Thread->RequestStop();
    }
}

void StatementRunner::ForgetDone()
{
    m_Statements.remove_if([](const StatementRef& statement) { return statement->Thread->IsDone(); });
}

kj::Promise<void> StatementRunner::Watch()
{
    return m_Timer.afterDelay(BetweenLooks).then([this]() -> kj::Promise<void> {
        ForgetDone();
        for (const StatementRef& statement : m_Statements) Judge(*statement);
        m_IsWatching = !m_Statements.empty();
        return m_IsWatching ? Watch() : kj::READY_NOW;
    });
}

void StatementRunner::Judge(Statement& statement) const
{
    const ResultSpoolRef result = statement.Result.lock();
    const ResultProgress progress = result ? result->Progress() : ResultProgress{0, false, {}};
    const bool hasPage = progress.RowsSoFar > 0 || progress.Complete;
    if (!hasPage && m_Limits.UntilFirstPage.count() > 0 && statement.Lasted() > m_Limits.UntilFirstPage)
        statement.Break(QStringLiteral("The statement has shown no rows after %1 (statement_timeout).")
                            .arg(TimeText(m_Limits.UntilFirstPage)));
    else if (result && !progress.Complete && result->SinceAsked() > m_Limits.EndAfter)
        statement.Break(
            QStringLiteral("Nobody has asked for more of the result for %1.").arg(TimeText(m_Limits.EndAfter)));
}
