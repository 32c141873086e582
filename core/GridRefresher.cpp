#include "core/GridRefresher.h"

#include "core/PropertyGrid.h"
#include "core/RefreshTurns.h"

GridRefresher::GridRefresher(PropertyGrid* grid, RefreshTurns& turns, QObject* parent)
    : QObject(parent)
    , m_Grid(grid)
    , m_Turns(turns)
{
    m_Tick.setSingleShot(true);
    connect(&m_Tick, &QTimer::timeout, this, &GridRefresher::BeginRefresh);
    connect(grid, &PropertyGrid::ServerChanged, this, &GridRefresher::EndRest);
}

void GridRefresher::Start()
{
    if (m_Running) return;
    m_Running = true;
    const qint64 rest = m_SinceEnd.isValid() ? m_LastedMs - m_SinceEnd.elapsed() : 0;
    m_Tick.start(static_cast<int>(std::max<qint64>(IntervalMs, rest)));
}

void GridRefresher::Stop()
{
    m_Running = false;
    m_Tick.stop();
    ForgetSteps();
}

void GridRefresher::RefreshNow(const std::optional<CallStep>& afterwards)
{
    if (!m_Grid || m_Reading) return;
    m_Tick.stop();
    ListSteps();
    if (afterwards) m_Steps << *afterwards;
    while (TakeNextSteps()) {
    }
}

void GridRefresher::BeginRefresh()
{
    if (!m_Grid) return;
    if (m_Reading) return m_Tick.start(IntervalMs); // a row reader has let events run
    ListSteps();
    m_Turns.Enter(this, [this] { return TakeNextSteps(); });
}

void GridRefresher::ListSteps()
{
    m_SinceBegin.start();
    m_Next = 0;
    m_Steps.clear();
    const QPointer<GridRefresher> self(this);
    for (int row = 0; row < m_Grid->Rows().size(); ++row)
        m_Steps << CallStep{m_Grid->Rows().at(row).Read, [self, row] {
                                if (self) self->RefreshRow(row);
                            }};
}

/// They refer to the objects that the rows read.
void GridRefresher::ForgetSteps()
{
    m_Next = -1;
    m_Steps.clear();
}

/// False when the refresh is over, however it ended.
bool GridRefresher::TakeNextSteps()
{
    if (!m_Grid || m_Next < 0) return false;
    // Reading a row may destroy the grid or this refresher, or stop it.
    const QPointer<GridRefresher> self(this);
    if (m_Next < m_Steps.size()) {
        m_Reading = true;
        const qsizetype taken = m_Turns.Library().TakeSteps(m_Steps, m_Next);
        if (!self) return false;
        m_Reading = false;
        if (m_Next >= 0) m_Next += taken;
    }
    if (!m_Grid || m_Next < 0) return false;
    if (m_Next < m_Steps.size()) return true;
    EndRefresh();
    return false;
}

/// Nothing once the refresh has been stopped, even when the server has answered the row already.
void GridRefresher::RefreshRow(int row)
{
    if (m_Grid && m_Next >= 0) m_Grid->RefreshRow(row);
}

void GridRefresher::EndRefresh()
{
    ForgetSteps();
    m_LastedMs = m_SinceBegin.elapsed();
    m_SinceEnd.start();
    if (m_Running) ScheduleNext();
    Q_EMIT Refreshed();
}

void GridRefresher::ScheduleNext()
{
    m_Tick.start(static_cast<int>(std::max(IntervalMs - m_LastedMs, m_LastedMs)));
}

/// How long calls took that ended with a lost server says nothing about the one that is there now.
void GridRefresher::EndRest()
{
    m_LastedMs = 0;
    const bool isThere = m_Turns.Library().Absence().isEmpty();
    if (m_Tick.isActive()) m_Tick.start(isThere ? 0 : std::min(m_Tick.remainingTime(), IntervalMs));
}
