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
    m_Row = -1;
}

void GridRefresher::RefreshNow()
{
    if (!m_Grid || m_Reading) return;
    m_Tick.stop();
    m_Row = 0;
    m_SinceBegin.start();
    while (RefreshNextRow()) {
    }
}

void GridRefresher::BeginRefresh()
{
    m_Row = 0;
    m_SinceBegin.start();
    m_Turns.Enter(this, [this] { return RefreshNextRow(); });
}

/// False when the refresh is over, however it ended.
bool GridRefresher::RefreshNextRow()
{
    if (!m_Grid || m_Row < 0) return false;
    // Reading a row may destroy the grid or this refresher, or stop it.
    const QPointer<GridRefresher> self(this);
    if (m_Row < m_Grid->Rows().size()) {
        m_Reading = true;
        m_Grid->RefreshRow(m_Row++);
        if (!self) return false;
        m_Reading = false;
    }
    if (!m_Grid || m_Row < 0) return false;
    if (m_Row < m_Grid->Rows().size()) return true;
    EndRefresh();
    return false;
}

void GridRefresher::EndRefresh()
{
    m_Row = -1;
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
    if (m_Tick.remainingTime() > IntervalMs) m_Tick.start(IntervalMs);
}
