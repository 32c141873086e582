#pragma once

#include "server/plant/Plant.h"

/// Adds the items that clients define.
class DefinitionMaker
{
public:
    /// Throws DescribedError.
    void AddItem(PlantController& controller, const Variant& definition);

    /// The last definition that arrived, accepted or not; EMPTY before the first one.
    const Variant& Last() const { return m_Last; }

private:
    Variant m_Last;
};
