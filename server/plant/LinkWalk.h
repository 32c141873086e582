#pragma once

#include "server/plant/PlantItem.h"

#include <QSet>

/// One item's step in a reading or writing that follows links and operands from item to item, for as long as the step
/// lasts. A walk goes neither in a circle nor over too many items; it reads an alias only once, and writes a bounded
/// number of items.
class LinkWalk
{
public:
    static constexpr int MostWritten = 100'000;

    /// The walk under way, of which a plant has one at a time.
    struct State
    {
        QList<const PlantItem*> Items;
        QSet<const PlantItem*> Read;
        int Written = 0;
    };

    /// Throws DescribedError.
    explicit LinkWalk(const PlantItem& item);
    LinkWalk(const LinkWalk&) = delete;
    LinkWalk& operator=(const LinkWalk&) = delete;
    ~LinkWalk();

    /// Whether the walk under way has read the alias: it then holds what reading it again would give.
    static bool HasRead(const PlantItem& alias);
    void NoteRead(const PlantItem& alias);
    /// What was read may have another value now. Throws DescribedError when it is one item too many.
    void NoteWrite();

private:
    State& m_State;
    const bool m_GoesOn; ///< items without links and operands end a walk and need not be counted
};
