#pragma once

#include <QList>
#include <QString>

#include <functional>

/// How the benchmarks measure and print: every figure is a ratio to a floor measured in the same run, because times on shared machines
/// mean little by themselves.
namespace Figures {

/// Wall-clock and processor time of one repeated action.
struct Cost
{
    double MedianUs = 0.0;
    double CpuUs = 0.0; ///< of this process, and of the other one that was named; mean per action
};

/// Runs each action `perRound` times in turn, `rounds` rounds, so that slow phases of the machine hit all of them.
QList<Cost> MeasureInTurn(int rounds, int perRound, const QList<std::function<void()>>& actions,
                          qint64 otherProcess = 0);

/// "  <name>  <microseconds>".
void PrintCost(const QString& name, const Cost& cost);
/// "  <name>  <ratio>  (at most <limit>)"; returns whether it keeps the limit.
bool PrintRatio(const QString& name, double ratio, double limit);

/// Megabytes that this process holds of the heap; what it has given back counts no more, whenever the system takes it.
double HeapMb();

/// Of a process, in megabytes: all that is resident, what of it belongs to no file, and the most that ever was resident.
struct Memory
{
    double Resident = 0.0;
    double Own = 0.0;
    double Most = 0.0;
};
Memory MemoryOf(qint64 process);
inline double MegabytesOf(qint64 process)
{
    return MemoryOf(process).Own;
}

/// Milliseconds of processor time that a process has taken so far, in steps of 10.
double CpuMsOf(qint64 process);
/// The same of all children of this process that have ended.
double CpuMsOfEndedChildren();

/// This process and every child started from now on runs on one processor only, or on all again.
void PinToOneCore(qint64 otherProcess, bool pin);

} // namespace Figures
