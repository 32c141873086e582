#pragma once

#include "server/plant/Pending.h"
#include "server/plant/PlantController.h"
#include "server/sources/SourceRound.h"

#include <chrono>
#include <optional>

/// One reading of a controller's items in their order, portion by portion. Items may come and go between the portions:
/// none is read twice, and none that stays is left out.
class ItemPass
{
public:
    using Clock = std::chrono::steady_clock;

    /// With a class a scan of its items, which is over as soon as the controller is not active; without one a snapshot
    /// of all items, whatever the state. The controller has to outlive it.
    explicit ItemPass(PlantController& controller, std::optional<int> scanClass = std::nullopt);
    ItemPass(const ItemPass&) = delete;
    ItemPass& operator=(const ItemPass&) = delete;
    ~ItemPass();

    /// Reads at least one item, and more until the time has come. Returns whether it is over; then sources have been
    /// asked for what they read together.
    bool Continue(Clock::time_point until);
    /// What sources have yet to answer once it is over.
    const PendingRef& Asked() const { return m_Asked; }

private:
    friend class PlantController;

    void NoteInserted(const QList<PlantItemRef>& items, qsizetype at);
    void NoteRemoved(const QList<PlantItemRef>& items, qsizetype at);
    void NoteState();
    void NoteForgotten(const SourceVariable& variable) { m_Round.Remove(variable); }
    void Ask();
    bool IsOver() const { return m_IsCutShort || m_Next >= m_Items.size(); }

    PlantController& m_Controller;
    const QList<PlantItemRef>& m_Items;
    const bool m_EndsWithStop;
    qsizetype m_Next = 0;
    bool m_IsCutShort = false;
    SourceRound m_Round;
    PendingRef m_Asked;
};
