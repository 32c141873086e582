#include "tests/server/AskedHistory.h"
#include "tests/simulation/SimulatedServer.h"

// What has to hold when a run is over.

using namespace std::chrono_literals;

void SimulatedServer::CheckRhythm()
{
    const QList<qint32>& scans = m_Recorded[QStringLiteral("scans")];
    for (qsizetype i = 0; i < scans.size(); ++i)
        m_Trace.Require(scans[i] == i + 1, QStringLiteral("scan %1 was recorded as %2").arg(i + 1).arg(scans[i]));
    const auto passed = DrivenTime::Passed();
    const auto due = (passed - m_Frozen) / (ScanTime * 1ms); // what was missed is not made up for
    const auto most = due + 2 + 2 * m_Freezes;
    const auto least = due - m_Slow / (ScanTime * 1ms) - 2 - m_Freezes;
    m_Trace.Require(
        scans.size() >= least && scans.size() <= most,
        QStringLiteral("%1 scans in %2 ms, %3 to %4 are due").arg(scans.size()).arg(passed / 1ms).arg(least).arg(most));
    const auto steady = m_Recorded[QStringLiteral("steady")].size();
    m_Trace.Require(steady <= passed / (AtLeast - 3 * ScanTime * 1ms) + 2 + m_ClockSets + m_Freezes,
                    QStringLiteral("what never changes was recorded %1 times").arg(steady));
}

QStringList SimulatedServer::Ask(const QString& statement)
{
    const auto user = std::make_shared<HistoryUser>();
    const auto result = m_History.Ask({statement}, user).wait(m_Loop.WaitScope());
    while (!result->Progress().Complete) m_Loop.Timer().afterDelay(kj::MILLISECONDS).wait(m_Loop.WaitScope());
    m_Trace.Require(result->Progress().Failure.isEmpty(), result->Progress().Failure);
    QStringList rows;
    for (qint64 row = 0; row < result->Progress().RowsSoFar; ++row) rows.append(AskedHistory::Row(*result, row));
    return rows;
}

/// As statements see it.
void SimulatedServer::CheckHistory()
{
    if (!m_History.IsEnabled()) return;
    m_Trace.Require(m_History.Flush(20'000), QStringLiteral("the history is not written"));
    QStringList recorded = m_Recorder.Recorded();
    QStringList rows =
        Ask(QStringLiteral("SELECT controller_name || '\\' || item_name || '=' || coalesce(item_value, '') "
                           "|| ' at ' || item_utc || ' ' || item_state FROM velsql_values"));
    rows.sort();
    recorded.sort();
    const auto due =
        m_History.MaxRecord(1) > 0 ? std::min<qsizetype>(recorded.size(), m_History.MaxRecord(1)) : recorded.size();
    m_Trace.Require(rows.size() == due && std::ranges::includes(recorded, rows),
                    QStringLiteral("the history has %1 instead of %2 values, or others").arg(rows.size()).arg(due));
    const QStringList wrong =
        Ask(QStringLiteral("SELECT item_time FROM velsql_values WHERE substr(item_time, 1, 19) <> "
                           "datetime(item_utc / 1000000, 'unixepoch', 'localtime')"));
    m_Trace.Require(wrong.isEmpty(), QStringLiteral("not the local time: ") + wrong.value(0));
}

/// A pass that was cut short may have read the first ones once more.
void SimulatedServer::CheckReadings() const
{
    const PlantController& added = *m_Plant.Controller(QStringLiteral("Added"));
    qint32 most = std::numeric_limits<qint32>::max();
    for (int i = 0; i < Readings; ++i) {
        const Variant value = added.Item(NameOfReading(i))->LastValue();
        const qint32 count = value.IsEmpty() ? 0 : value.Get<qint32>();
        m_Trace.Require(count <= most, NameOfReading(i) + QStringLiteral(" was read more often than one before it"));
        most = count;
    }
}

void SimulatedServer::CheckNothingIsHeld() const
{
    const HeldCounts held = m_Objects.Held();
    m_Trace.Require(m_Clients == 0, QStringLiteral("%1 clients have not gone").arg(m_Clients));
    m_Trace.Require(held.Controllers == 0 && held.Items == 0 && held.Results == 0 && held.Subscriptions == 0 &&
                        held.Events == 0,
                    QStringLiteral("held without clients: %1 controllers, %2 items, %3 results, %4 subscriptions, %5 "
                                   "events")
                        .arg(held.Controllers)
                        .arg(held.Items)
                        .arg(held.Results)
                        .arg(held.Subscriptions)
                        .arg(held.Events));
    for (const auto& account : m_Accounts)
        m_Trace.Require(account.expired(), QStringLiteral("something is kept for a client that has gone"));
    m_Trace.Require(m_Sources.Device().UnderWay() == 0,
                    QStringLiteral("the device has been asked and has not answered"));
}
