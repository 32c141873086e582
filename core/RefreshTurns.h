#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

class GridRefresher;

/// Lets the refreshes that are under way take turns: in one turn of the event loop one slice, then input and events come first.
class RefreshTurns : public QObject
{
    Q_OBJECT

public:
    static RefreshTurns& Instance();

    void Enter(GridRefresher* refresher);

private:
    explicit RefreshTurns(QObject* parent);
    void TakeTurn();
    void ReadRows();

    QTimer m_Turn;
    QList<QPointer<GridRefresher>> m_UnderWay;
    bool m_InTurn = false;
};
