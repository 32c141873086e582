#pragma once

#include "core/automation/ServerObjects.h"

#include <QPointer>
#include <QTimer>

#include <functional>

/// Lets refreshes take turns: one slice in each turn of the event loop, then input and events come first.
class RefreshTurns : public QObject
{
    Q_OBJECT

public:
    static constexpr int SliceMs = 10;

    explicit RefreshTurns(VelSQLLib& library);

    /// The library whose objects all refreshers read.
    VelSQLLib& Library() { return m_Library; }
    /// Calls `readNextRows` turn by turn until it reports that nothing is left or `refresher` has gone. Does nothing
    /// when the refresher's previous refresh is still under way.
    void Enter(QObject* refresher, std::function<bool()> readNextRows);

private:
    struct Refresh
    {
        QPointer<QObject> Refresher;
        std::function<bool()> ReadNextRows;
    };

    void TakeTurn();
    void ReadRows();
    void Leave(const QObject* refresher);

    VelSQLLib& m_Library;
    QTimer m_Turn;
    QList<Refresh> m_UnderWay;
    bool m_InTurn = false;
};
