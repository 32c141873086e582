#include "server/PlantScanner.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "velsqllib/WireText.h"

PlantScanner::PlantScanner(Plant& plant, kj::Timer& timer)
    : m_Timer(timer)
    , m_Scans(*this)
{
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (int scanClass = 0; scanClass < 3; ++scanClass) {
            if (controller->ScanTime(scanClass) > 0) m_Scans.add(ScanFrom(*controller, scanClass, timer.now()));
        }
    }
}

kj::Promise<void> PlantScanner::ScanFrom(PlantController& controller, int scanClass, kj::TimePoint due)
{
    return m_Timer.atTime(due).then([=, this, &controller] {
        Scan(controller, scanClass);
        // Missed scans are not made up for: the plant shows the present.
        const auto period = controller.ScanTime(scanClass) * kj::MILLISECONDS;
        return ScanFrom(controller, scanClass, kj::max(due + period, m_Timer.now()));
    });
}

/// Whatever happens in one scan, the next one takes place.
void PlantScanner::Scan(PlantController& controller, int scanClass)
{
    try {
        controller.Scan(scanClass, controller.Owner().Host().Now());
    } catch (...) {
        const QString reason = CurrentErrorDescription();
        if (std::exchange(m_Warned, reason) != reason)
            Log(LogLevel::Error,
                QStringLiteral("Scanning controller \"%1\" failed: %2").arg(controller.Name(), reason));
    }
}

void PlantScanner::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Error, QStringLiteral("Scanning has ended: %1").arg(DescriptionOf(exception)));
}
