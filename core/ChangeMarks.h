#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QTimer>

/// Remembers for a moment which rows have changed. Nothing runs while there are none.
class ChangeMarks : public QObject
{
    Q_OBJECT

public:
    static constexpr int LastingMs = 1000;

    ChangeMarks();

    void Add(int row);
    bool Has(int row) const { return m_Until.contains(row); }
    void Clear() { m_Until.clear(); }

Q_SIGNALS:
    void Faded(int row);

private:
    void Fade();

    QHash<int, qint64> m_Until;
    QElapsedTimer m_Clock;
    QTimer m_Tick;
};
