#pragma once

#include "core/automation/ServerObjects.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <optional>

class PropertyGrid;
class RefreshTurns;

/// Keeps a property grid up to date. Every 500 ms the rows are read in order, as many in one call as the server answers,
/// in slices of at most 10 ms (or one call), each in a later turn of the event loop. The next refresh starts no sooner
/// than the last one took, so that a slow server never uses more than half of the time; one that has gone and is back is
/// asked at once. All refreshers share the slices: one slice runs in a turn, however many windows are
/// open.
class GridRefresher : public QObject
{
    Q_OBJECT

public:
    static constexpr int IntervalMs = 500;

    GridRefresher(PropertyGrid* grid, RefreshTurns& turns, QObject* parent = nullptr);

    /// The first refresh comes after one interval. Does nothing when already running.
    void Start();
    /// Also ends a refresh that is under way.
    void Stop();
    bool IsRunning() const { return m_Running; }
    /// Reads all rows at once, before returning. Row readers may stop or destroy the refresher or the grid; a call
    /// from a row reader does nothing. `afterwards` is taken last, if there is one, together with the last rows where
    /// one call answers both.
    void RefreshNow(const std::optional<CallStep>& afterwards = {});

Q_SIGNALS:
    /// A refresh has read its last row.
    void Refreshed();

private:
    void BeginRefresh();
    void ListSteps();
    void ForgetSteps();
    bool TakeNextSteps();
    void RefreshRow(int row);
    void EndRefresh();
    void ScheduleNext();
    void EndRest();

    QPointer<PropertyGrid> m_Grid;
    RefreshTurns& m_Turns;
    QTimer m_Tick;
    QElapsedTimer m_SinceBegin;
    QElapsedTimer m_SinceEnd;
    qint64 m_LastedMs = 0;
    /// Of the refresh that is under way: one for each row.
    QList<CallStep> m_Steps;
    /// The step to be taken next; -1 when no refresh is under way.
    qsizetype m_Next = -1;
    bool m_Running = false;
    bool m_Reading = false;
};
