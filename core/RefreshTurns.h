#pragma once

#include <QPointer>
#include <QTimer>

#include <functional>

/// Lets the refreshes that are under way take turns: in one turn of the event loop one slice, then input and events
/// come first.
class RefreshTurns : public QObject
{
    Q_OBJECT

public:
    static constexpr int SliceMs = 10;

    RefreshTurns();

    /// `readNextRow` is called turn by turn until it says that nothing is left, or `refresher` is gone. Does nothing
    /// when the refresher's last refresh is still under way.
    void Enter(QObject* refresher, std::function<bool()> readNextRow);

private:
    struct Refresh
    {
        QPointer<QObject> Refresher;
        std::function<bool()> ReadNextRow;
    };

    void TakeTurn();
    void ReadRows();
    void Leave(const QObject* refresher);

    QTimer m_Turn;
    QList<Refresh> m_UnderWay;
    bool m_InTurn = false;
};
