#pragma once

#include <QByteArray>
#include <QTimer>

#include <atomic>
#include <thread>

/// Watches the event loop of its thread: how long it did not turn, and during what. One that does not turn for 10
/// seconds ends the program, so that the stack tells where it stands. The time in which other programs had the
/// processors does not count.
class LoopWatch
{
public:
    LoopWatch();

    /// What the console is asked to do from now on; the text must live on.
    void Doing(const char* what) { m_Doing = what; }
    qint64 LongestMs() const { return m_LongestMs; }
    const char* DuringLongest() const { return m_DuringLongest; }

private:
    /// Milliseconds, without those in which the thread was ready to run but did not.
    qint64 Now() const;
    void Beat();
    void Guard(const std::stop_token& stop);

    const pthread_t m_Watched = pthread_self();
    const QByteArray m_WaitsFile;
    QTimer m_Beat;
    std::atomic<qint64> m_LastBeat;
    std::atomic<const char*> m_Doing = "start";
    qint64 m_LongestMs = 0;
    const char* m_DuringLongest = "";
    std::jthread m_Guard; // last: it uses the others
};
