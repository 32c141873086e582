#pragma once

#include "server/plant/ItemPass.h"
#include "server/plantfile/PlantFile.h"
#include "tests/fuzz/Fuzz.h"

/// A plant without a server, read from a text; of very many items it takes the first ones.
class FuzzPlant : private PlantHost, private ItemFollower, public Plant
{
public:
    FuzzPlant()
        : Plant(static_cast<PlantHost&>(*this))
    {
        Follow(ItemFollowerRef(static_cast<ItemFollower*>(this), [](ItemFollower*) {}));
    }

    /// Throws PlantFileError.
    void Read(const QString& path) { PlantFile(path).Fill(*this, m_Progress); }
    bool IsWhole() const { return !m_Progress.IsCancelled(); }
    qint64 ItemCount() const { return m_Items; }

    /// That all is at its place, and can be scanned; devices are left out.
    void LookAtAll()
    {
        for (const PlantControllerRef& controller : Controllers()) {
            Require(Find(controller->Name()) == controller);
            for (const PlantItemRef& item : controller->Items()) {
                Require(controller->Find(item->Name()) == item && item->Index() >= 0);
                item->CheckLinks();
            }
            if (controller->Device()) continue;
            for (m_Seconds = 0.0; m_Seconds < 1e7; m_Seconds = 10 * m_Seconds + 1)
                ItemPass(*controller, std::nullopt).Continue(ItemPass::Clock::time_point::max());
        }
    }

private:
    static constexpr qint64 MostItems = 1000;

    Moment Now() override { return {{}, m_Seconds}; }
    void After(qint32, std::function<void()>) override {}
    void Record(const PlantItem&, const ItemReading&) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString&) override {}

    void Start() override {}
    bool Follows(const PlantItem&) override
    {
        if (++m_Items >= MostItems) m_Progress.Cancel();
        return false;
    }
    void NoteChange(const PlantItem&) override {}

    ReadingProgress m_Progress;
    qint64 m_Items = 0;
    double m_Seconds = 0.0;
};
