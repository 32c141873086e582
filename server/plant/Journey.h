#pragma once

#include "server/plant/PlantItem.h"

/// One item's part in a reading or writing that goes on along its links and operands, as long as it lasts. The outermost
/// one begins the way and ends it. It may go neither in a circle nor over too many items; it reads an alias only once,
/// however often it comes by, and writes a bounded number of items.
class Journey
{
public:
    static constexpr int MostWritten = 100'000;

    /// Throws DescribedError.
    explicit Journey(const PlantItem& item);
    Journey(const Journey&) = delete;
    Journey& operator=(const Journey&) = delete;
    ~Journey();

    /// Whether the way that is under way has read the alias: it then holds what reading it again would give.
    static bool HasRead(const PlantItem& alias);
    void NoteRead(const PlantItem& alias) const;
    /// What was read may be another value now. Throws DescribedError when it is one item too many.
    void NoteWriting() const;

private:
    const bool m_GoesOn; ///< items without links and operands end a way and need not be counted
};
