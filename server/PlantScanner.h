#pragma once

#include "server/plant/Plant.h"

#include <kj/async.h>
#include <kj/timer.h>

/// Scans each controller's three classes of items at their scan times, starting when it is constructed.
class PlantScanner : private kj::TaskSet::ErrorHandler
{
public:
    PlantScanner(Plant& plant, kj::Timer& timer);

private:
    kj::Promise<void> ScanFrom(PlantController& controller, int scanClass, kj::TimePoint due);
    void Scan(PlantController& controller, int scanClass);
    void taskFailed(kj::Exception&& exception) override;

    kj::Timer& m_Timer;
    QString m_Warned;
    kj::TaskSet m_Scans;
};
