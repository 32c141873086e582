#pragma once

#include "server/rpc/Services.h"

#include <kj/async.h>
#include <kj/timer.h>

#include <chrono>
#include <list>
#include <map>

/// Reads items in short turns between the server's other work: each controller's three classes at their scan times, and
/// all items for snapshots.
class PlantScanner : public SnapshotTaker, private kj::TaskSet::ErrorHandler
{
public:
    explicit PlantScanner(kj::Timer& timer);
    ~PlantScanner();

    /// Scans from now on.
    void Start(const Plant& plant);
    /// All classes of a controller at once, whatever their times.
    void ScanSoon(const PlantControllerRef& controller);
    kj::Promise<void> Snapshot(QList<PlantControllerRef> controllers) override;

private:
    /// One class of a controller.
    struct Class
    {
        PlantControllerRef Controller;
        int Number;
    };
    class Reading;

    void ScanAt(kj::TimePoint due, Class scanned);
    kj::Promise<void> AwaitNext();
    void ScanDue();
    void Scan(kj::TimePoint due, const Class& scanned);
    template <typename... Arguments>
    void Begin(Arguments&&... arguments);
    kj::Promise<void> TakeTurns();
    kj::Promise<void> Others();
    void TakeTurn();
    bool Continue(Reading& reading, std::chrono::steady_clock::time_point until);
    void taskFailed(kj::Exception&& exception) override;

    kj::Timer& m_Timer;
    QString m_Warned;
    /// By their times; what is being read is not among them. One timer waits for the first, because ten thousand that
    /// are due together would keep all others from the loop.
    std::multimap<kj::TimePoint, Class> m_Waiting;
    /// In the order of their turns; a class is not among them twice.
    std::list<Reading> m_UnderWay;
    bool m_TakesTurns = false;
    kj::Promise<void> m_Next = kj::NEVER_DONE;
    kj::TaskSet m_Tasks;
};
