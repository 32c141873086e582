#include "core/RefreshTurns.h"

#include <QElapsedTimer>
#include <QScopedValueRollback>

#include <algorithm>

RefreshTurns::RefreshTurns(VelSQLLib& library)
    : m_Library(library)
{
    m_Turn.setSingleShot(true);
    connect(&m_Turn, &QTimer::timeout, this, &RefreshTurns::TakeTurn);
}

void RefreshTurns::Enter(QObject* refresher, std::function<bool()> readNextRows)
{
    const auto isIts = [refresher](const Refresh& refresh) { return refresh.Refresher == refresher; };
    if (std::none_of(m_UnderWay.begin(), m_UnderWay.end(), isIts))
        m_UnderWay.append({refresher, std::move(readNextRows)});
    m_Turn.start(0);
}

void RefreshTurns::TakeTurn()
{
    if (m_InTurn) return; // a row reader has let events run
    const QScopedValueRollback inTurn(m_InTurn, true);
    ReadRows();
    // Only now, so that timers that are already due come first.
    if (!m_UnderWay.isEmpty()) m_Turn.start(0);
}

void RefreshTurns::ReadRows()
{
    QElapsedTimer slice;
    slice.start();
    qint64 elapsed = 0;
    qint64 longestCall = 0;
    // Starts another call only when there is still time for one as long as the longest so far.
    while (!m_UnderWay.isEmpty() && elapsed + longestCall <= SliceMs * 1'000'000LL) {
        const Refresh refresh = m_UnderWay.constFirst();
        if (!refresh.Refresher || !refresh.ReadNextRows()) Leave(refresh.Refresher);
        const qint64 before = std::exchange(elapsed, slice.nsecsElapsed());
        longestCall = std::max(longestCall, elapsed - before);
    }
    if (m_UnderWay.size() > 1) m_UnderWay.append(m_UnderWay.takeFirst());
}

/// Entries whose refresher has gone are removed, too.
void RefreshTurns::Leave(const QObject* refresher)
{
    m_UnderWay.removeIf([&](const Refresh& refresh) { return !refresh.Refresher || refresh.Refresher == refresher; });
}
