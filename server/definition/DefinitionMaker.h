#pragma once

#include "server/rpc/Services.h"

/// Adds the items that clients define.
class DefinitionMaker : public ItemMaker
{
public:
    void AddItem(PlantController& controller, const Variant& definition) override;

    /// The last definition that arrived, accepted or not; EMPTY before the first.
    const Variant& Last() const { return m_Last; }

private:
    Variant m_Last;
};
