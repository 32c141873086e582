#pragma once

#include "server/plant/Plant.h"
#include "server/plantfile/PlantFile.h"
#include "server/plantfile/ReplayFile.h"

#include <vector>

/// A plant without a server: time and delays are in the test's hand, what is recorded is noted.
class TestPlant : private Surroundings
{
public:
    Plant World{*this};
    QStringList Recorded;
    QStringList Warnings;
    double Seconds = 0.0;

    Moment Now() override;
    /// Lets delayed actions happen whose time has come after so long.
    void Pass(qint32 milliseconds);

private:
    void After(qint32 delay, std::function<void()> action) override;
    void Record(const PlantItem& item) override;
    void Warn(const QString& text) override { Warnings.append(text); }

    std::vector<std::pair<qint32, std::function<void()>>> m_Delayed;
};

/// Notes what a controller tells.
class NotingObserver : public ControllerObserver
{
public:
    explicit NotingObserver(PlantController& controller);
    ~NotingObserver();

    QStringList Seen;

private:
    void StateChanged(qint32 state) override;
    void ItemChanged(const PlantItemRef& item) override;

    PlantController& m_Controller;
};
