#pragma once

#include "server/rpc/Services.h"

#include <kj/async.h>
#include <kj/timer.h>

#include <chrono>
#include <list>

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
    class Reading;

    kj::Promise<void> ScanFrom(const PlantControllerRef& controller, int scanClass, kj::TimePoint due);
    kj::Promise<void> Read(QList<PlantControllerRef> controllers, std::optional<int> scanClass);
    kj::Promise<void> TakeTurns();
    kj::Promise<void> Others();
    void TakeTurn();
    bool Continue(Reading& reading, std::chrono::steady_clock::time_point until);
    void taskFailed(kj::Exception&& exception) override;

    kj::Timer& m_Timer;
    QString m_Warned;
    /// In the order of their turns; a class is not among them twice.
    std::list<Reading> m_UnderWay;
    bool m_TakesTurns = false;
    kj::TaskSet m_Tasks;
};
