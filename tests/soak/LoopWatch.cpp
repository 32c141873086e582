#include "tests/soak/LoopWatch.h"

#include <QFile>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int BeatMs = 10;
constexpr qint64 LongestAnswerMs = 10'000;

} // namespace

LoopWatch::LoopWatch()
    : m_WaitsFile("/proc/self/task/" + QByteArray::number(gettid()) + "/schedstat")
    , m_LastBeat(Now())
{
    QObject::connect(&m_Beat, &QTimer::timeout, &m_Beat, [this] { Beat(); });
    m_Beat.start(BeatMs);
    m_Guard = std::jthread([this](const std::stop_token& stop) { Guard(stop); });
}

qint64 LoopWatch::Now() const
{
    using namespace std::chrono;
    QFile waits(QFile::decodeName(m_WaitsFile)); // nanoseconds: it ran, it waited
    const qint64 waitedNs = waits.open(QIODevice::ReadOnly) ? waits.readAll().split(' ').value(1).toLongLong() : 0;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count() - waitedNs / 1'000'000;
}

void LoopWatch::Beat()
{
    const qint64 now = Now(), turn = now - m_LastBeat.exchange(now);
    if (turn <= m_LongestMs) return;
    m_LongestMs = turn;
    m_DuringLongest = m_Doing;
}

void LoopWatch::Guard(const std::stop_token& stop)
{
    while (!stop.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (Now() - m_LastBeat < LongestAnswerMs) continue;
        std::fprintf(stderr, "No answer for 10 seconds: %s\n", m_Doing.load());
        pthread_kill(m_Watched, SIGABRT);
        return;
    }
}
