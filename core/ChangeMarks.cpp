#include "core/ChangeMarks.h"

namespace {

constexpr int TickMs = 200;

} // namespace

ChangeMarks::ChangeMarks()
{
    m_Clock.start();
    m_Tick.setInterval(TickMs);
    connect(&m_Tick, &QTimer::timeout, this, &ChangeMarks::Fade);
}

void ChangeMarks::Add(int row)
{
    m_Until.insert(row, m_Clock.elapsed() + LastingMs);
    if (!m_Tick.isActive()) m_Tick.start();
}

void ChangeMarks::Fade()
{
    const qint64 now = m_Clock.elapsed();
    QList<int> faded;
    for (auto mark = m_Until.cbegin(); mark != m_Until.cend(); ++mark)
        if (mark.value() <= now) faded << mark.key();
    for (const int row : faded) m_Until.remove(row);
    if (m_Until.isEmpty()) m_Tick.stop();
    for (const int row : faded) Q_EMIT Faded(row);
}
