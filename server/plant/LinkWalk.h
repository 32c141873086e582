#pragma once

#include "server/plant/PlantItem.h"

#include <QSet>

/// One item's step in a reading or writing that follows links and operands from item to item; lasts as long as that
/// step. A walk goes neither in circles nor over too many items; it reads an alias only once, and writes a limited
/// number of items.
class LinkWalk
{
public:
    static constexpr int MostWritten = 100'000;

    /// The walk under way; a plant has one at a time.
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

    /// Whether the walk under way has already read the alias, which then holds what another reading would give.
    static bool HasRead(const PlantItem& alias);
    void NoteRead(const PlantItem& alias);
    /// Values that were read may have changed since. Throws DescribedError when too many items have been written.
    void NoteWrite();

private:
    State& m_State;
    /// Items without links and operands end a walk and need not be counted.
    const bool m_GoesOn;
};
