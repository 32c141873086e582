#include "core/RefreshTurns.h"

#include "core/GridRefresher.h"

#include <QCoreApplication>
#include <QScopedValueRollback>

RefreshTurns& RefreshTurns::Instance()
{
    static QPointer<RefreshTurns> turns;
    if (!turns) turns = new RefreshTurns(qApp);
    return *turns;
}

RefreshTurns::RefreshTurns(QObject* parent)
    : QObject(parent)
{
    m_Turn.setSingleShot(true);
    connect(&m_Turn, &QTimer::timeout, this, &RefreshTurns::TakeTurn);
}

void RefreshTurns::Enter(GridRefresher* refresher)
{
    if (!m_UnderWay.contains(refresher)) m_UnderWay.append(refresher);
    m_Turn.start(0);
}

void RefreshTurns::TakeTurn()
{
    if (m_InTurn) return; // a row reader let events run
    const QScopedValueRollback inTurn(m_InTurn, true);
    ReadRows();
    if (!m_UnderWay.isEmpty()) m_Turn.start(0); // only now, so that timers due meanwhile come first
}

void RefreshTurns::ReadRows()
{
    QElapsedTimer slice;
    slice.start();
    qint64 elapsed = 0;
    qint64 longestCall = 0;
    // Another call is only begun when one as long as the longest so far still fits in.
    while (!m_UnderWay.isEmpty() && elapsed + longestCall <= GridRefresher::SliceMs * 1'000'000LL) {
        const QPointer<GridRefresher> refresher = m_UnderWay.first();
        if (!refresher || !refresher->RefreshNextRow()) m_UnderWay.removeOne(refresher);
        const qint64 before = std::exchange(elapsed, slice.nsecsElapsed());
        longestCall = std::max(longestCall, elapsed - before);
    }
    if (m_UnderWay.size() > 1) m_UnderWay.append(m_UnderWay.takeFirst());
}
