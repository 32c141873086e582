#pragma once

#include "server/plant/ItemPass.h"
#include "server/plant/Plant.h"
#include "server/sources/simulated/Signal.h"
#include "tests/server/Outcome.h"

#include <map>

/// A plant without a server: the test says what time it is; what is recorded is noted as NotingObserver does it.
class TestPlant : private PlantHost, public Plant
{
public:
    TestPlant()
        : Plant(static_cast<PlantHost&>(*this))
    {
    }

    QStringList Recorded;
    QStringList Warnings;

    Moment Now() override
    {
        const TimeStamp wall = std::chrono::sys_days(std::chrono::year(2024) / 1 / 31);
        return {wall + std::chrono::milliseconds(m_Passed), static_cast<double>(m_Passed) / 1000.0};
    }
    /// Lets delayed actions happen whose time has come after so long.
    void Pass(qint32 milliseconds)
    {
        m_Passed += milliseconds;
        while (!m_Delayed.empty() && m_Delayed.begin()->first <= m_Passed)
            m_Delayed.extract(m_Delayed.begin()).mapped()();
    }
    static QString Note(const PlantItem& item, const Variant& value)
    {
        return item.Name() + u'=' + WriteTypedText(value);
    }

private:
    void After(qint32 delay, std::function<void()> action) override
    {
        m_Delayed.emplace(m_Passed + delay, std::move(action));
    }
    void Record(const PlantItem& item, const ItemReading& reading) override { Recorded << Note(item, reading.Value); }
    void ScanSoon(PlantController&) override {}
    void Warn(const QString& text) override { Warnings << text; }

    qint64 m_Passed = 0; ///< milliseconds
    std::multimap<qint64, std::function<void()>> m_Delayed;
};

/// Scans a class or, without one, takes a snapshot.
inline void ReadAll(PlantController& controller, std::optional<int> scanClass = std::nullopt)
{
    ItemPass(controller, scanClass).Continue(ItemPass::Clock::time_point::max());
}

/// Notes what a controller tells.
class NotingObserver : public ControllerObserver
{
public:
    explicit NotingObserver(PlantController& controller)
        : m_Controller(controller)
    {
        controller.AddObserver(*this);
    }
    ~NotingObserver() { m_Controller.RemoveObserver(*this); }

    QStringList Seen;

private:
    void StateChanged(qint32 state) override { Seen << u"state %1"_s.arg(state); }
    void ItemChanged(const PlantItemRef& item) override { Seen << TestPlant::Note(*item, item->LastValue()); }

    PlantController& m_Controller;
};
