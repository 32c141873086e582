#include "server/PlantLife.h"

#include "server/log/Log.h"

PlantLife::PlantLife(Plant& plant, kj::Timer& timer)
    : m_Timer(timer)
    , m_Scans(*this)
{
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (int scanClass = 0; scanClass < 3; ++scanClass) {
            if (controller->ScanTime(scanClass) > 0) m_Scans.add(ScanFrom(*controller, scanClass, timer.now()));
        }
    }
}

kj::Promise<void> PlantLife::ScanFrom(PlantController& controller, int scanClass, kj::TimePoint due)
{
    return m_Timer.atTime(due).then([=, this, &controller] {
        controller.Scan(scanClass, controller.Home().Around().Now());
        // Scans that were missed are not made up for: the plant shows the present.
        const auto period = controller.ScanTime(scanClass) * kj::MILLISECONDS;
        return ScanFrom(controller, scanClass, kj::max(due + period, m_Timer.now()));
    });
}

void PlantLife::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Error,
        QStringLiteral("Scanning has ended: %1").arg(QString::fromUtf8(exception.getDescription().cStr())));
}
