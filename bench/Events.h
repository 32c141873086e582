#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <concepts>

/// Letting the event loop run, and watching how long it lets others wait.
void RunEvents(int milliseconds);

/// Looks every millisecond at the latest.
template <std::predicate Condition>
void RunEventsUntil(Condition&& isMet)
{
    QTimer look;
    look.start(1);
    while (!isMet()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// While it lives: the longest time that a timer of one millisecond had to wait, that is how long input would have waited.
class GapWatch
{
public:
    GapWatch();
    double LongestMs() const { return m_LongestMs; }
    /// Prints such a time against the 50 ms that an operator does not notice; returns whether it keeps to them.
    static bool Print(double longestMs);

private:
    QTimer m_Timer;
    QElapsedTimer m_SinceLast;
    double m_LongestMs = 0.0;
};

/// While it lives: the most memory of this process that belongs to no file, looked at 60 times a second.
class MemoryWatch
{
public:
    MemoryWatch();
    double MostMB() const { return m_MostMB; }
    /// What it is now.
    static double MegabytesNow();

private:
    QTimer m_Timer;
    double m_MostMB = MegabytesNow();
};
