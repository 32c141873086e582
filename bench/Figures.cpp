#include "bench/Figures.h"

#include <QByteArrayList>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <malloc.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

double CpuNowUs(int who = RUSAGE_SELF)
{
    rusage usage{};
    getrusage(who, &usage);
    const auto us = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return us(usage.ru_utime) + us(usage.ru_stime);
}

double CpuUsOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double CpuWithUs(qint64 otherProcess)
{
    clockid_t other{};
    const bool hasOther = otherProcess > 0 && clock_getcpuclockid(static_cast<pid_t>(otherProcess), &other) == 0;
    return CpuUsOf(CLOCK_PROCESS_CPUTIME_ID) + (hasOther ? CpuUsOf(other) : 0);
}

} // namespace

namespace Figures {

QList<Cost> MeasureInTurn(int rounds, int perRound, const QList<std::function<void()>>& actions, qint64 otherProcess)
{
    using Clock = std::chrono::steady_clock;
    QList<Cost> costs(actions.size());
    std::vector<std::vector<double>> samples(static_cast<std::size_t>(actions.size()));
    for (int round = 0; round < rounds; ++round) {
        for (qsizetype a = 0; a < actions.size(); ++a) {
            const double cpu = CpuWithUs(otherProcess);
            for (int i = 0; i < perRound; ++i) {
                const auto start = Clock::now();
                actions[a]();
                samples[static_cast<std::size_t>(a)].push_back(
                    std::chrono::duration<double, std::micro>(Clock::now() - start).count());
            }
            costs[a].CpuUs += (CpuWithUs(otherProcess) - cpu) / perRound / rounds;
        }
    }
    for (qsizetype a = 0; a < actions.size(); ++a) {
        auto& all = samples[static_cast<std::size_t>(a)];
        std::nth_element(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2), all.end());
        costs[a].MedianUs = all[all.size() / 2];
    }
    return costs;
}

void PrintCost(const QString& name, const Cost& cost)
{
    std::printf("  %-52s %9.2f us  (cpu %.2f us)\n", qPrintable(name), cost.MedianUs, cost.CpuUs);
}

bool PrintRatio(const QString& name, double ratio, double limit)
{
    const bool kept = ratio <= limit;
    std::printf("  %-52s %9.2f x   (at most %.2f)%s\n", qPrintable(name), ratio, limit, kept ? "" : "  EXCEEDED");
    std::fflush(stdout);
    return kept;
}

double HeapMb()
{
    const auto heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
}

Memory MemoryOf(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) qFatal("no process %lld", process);
    const QByteArray text = status.readAll();
    const auto megabytes = [&text](const char* name) {
        const qsizetype at = text.indexOf(name) + static_cast<qsizetype>(strlen(name));
        return text.mid(at, text.indexOf("kB", at) - at).trimmed().toDouble() / 1024.0;
    };
    return {megabytes("VmRSS:"), megabytes("RssAnon:"), megabytes("VmHWM:")};
}

double CpuMsOf(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly)) qFatal("no /proc");
    const QByteArray text = file.readAll();
    // The name, which may hold anything, ends with the last bracket; utime and stime are the 12th and 13th after it.
    const QByteArrayList fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) * 1e3 /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}

double CpuMsOfEndedChildren()
{
    return CpuNowUs(RUSAGE_CHILDREN) / 1e3;
}

void PinToOneCore(qint64 otherProcess, bool pin)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (unsigned cpu = 0; cpu < (pin ? 1U : static_cast<unsigned>(CPU_SETSIZE)); ++cpu) CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof set, &set);
    sched_setaffinity(static_cast<pid_t>(otherProcess), sizeof set, &set);
}

} // namespace Figures
