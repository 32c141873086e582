#include "bench/Events.h"

#include "bench/Figures.h"

#include <algorithm>

void RunEvents(int milliseconds)
{
    QTimer::singleShot(milliseconds, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}

GapWatch::GapWatch()
{
    QObject::connect(&m_Timer, &QTimer::timeout, &m_Timer, [this] {
        m_LongestMs = std::max(m_LongestMs, static_cast<double>(m_SinceLast.nsecsElapsed()) / 1e6);
        m_SinceLast.start();
    });
    m_SinceLast.start();
    m_Timer.start(1);
}

bool GapWatch::Print(double longestMs)
{
    return Figures::PrintRatio(QStringLiteral("longest gap between handled events / 50 ms"), longestMs / 50.0, 1.0);
}

MemoryWatch::MemoryWatch()
{
    QObject::connect(&m_Timer, &QTimer::timeout, &m_Timer, [this] { m_MostMB = std::max(m_MostMB, MegabytesNow()); });
    m_Timer.start(16);
}

double MemoryWatch::MegabytesNow()
{
    return Figures::MegabytesOf(QCoreApplication::applicationPid());
}
