#include "tests/server/TestPlant.h"

#include "velsqllib/ValueText.h"

Moment TestPlant::Now()
{
    const auto since = std::chrono::duration_cast<TimeStamp::duration>(std::chrono::duration<double>(Seconds));
    return {TimeStamp(std::chrono::sys_days(std::chrono::year(2024) / 1 / 31)) + since, Seconds};
}

void TestPlant::Pass(qint32 milliseconds)
{
    Seconds += milliseconds / 1000.0;
    std::vector<std::function<void()>> due;
    for (auto& [delay, action] : m_Delayed) {
        delay -= milliseconds;
        if (delay <= 0) due.push_back(std::exchange(action, nullptr));
    }
    std::erase_if(m_Delayed, [](const auto& delayed) { return !delayed.second; });
    for (const auto& action : due) action();
}

void TestPlant::After(qint32 delay, std::function<void()> action)
{
    m_Delayed.emplace_back(delay, std::move(action));
}

void TestPlant::Record(const PlantItem& item)
{
    Recorded.append(item.Name() + u'=' + WriteTypedText(item.LastValue()));
}

NotingObserver::NotingObserver(PlantController& controller)
    : m_Controller(controller)
{
    controller.AddObserver(*this);
}

NotingObserver::~NotingObserver()
{
    m_Controller.RemoveObserver(*this);
}

void NotingObserver::StateChanged(qint32 state)
{
    Seen.append(QStringLiteral("state %1").arg(state));
}

void NotingObserver::ItemChanged(const PlantItemRef& item)
{
    Seen.append(item->Name() + u'=' + WriteTypedText(item->LastValue()));
}
