#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

class PropertyGrid;

/// Keeps a property grid fresh: every 500 ms the rows are read in order, in slices of at most 25 ms (or one call), going on in the
/// next turn of the event loop. The next refresh starts no sooner than the last one lasted, so that a slow server never takes more
/// than half of the time.
class GridRefresher : public QObject
{
    Q_OBJECT

public:
    static constexpr int IntervalMs = 500;
    static constexpr int SliceMs = 25;

    explicit GridRefresher(PropertyGrid* grid, QObject* parent = nullptr);

    void Start();
    /// Also ends a refresh that is under way.
    void Stop();
    bool IsRunning() const { return m_Tick.isActive(); }
    /// Reads all rows at once, before returning.
    void RefreshNow();

Q_SIGNALS:
    /// A refresh has read its last row.
    void Refreshed();

private:
    void BeginRefresh();
    void RefreshSlice();
    void EndRefresh();

    QPointer<PropertyGrid> m_Grid;
    QTimer m_Tick;
    QTimer m_Next;
    QElapsedTimer m_Lasted;
    int m_Row = -1;
};
