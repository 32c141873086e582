#pragma once

#include <memory>

class PlantItem;

/// Hears of changes of items as they happen, whether or not they raise events or are recorded; also of failures, and of
/// values that go on after one.
class ItemFollower
{
public:
    virtual ~ItemFollower() = default;

    /// The plant begins to live.
    virtual void Start() = 0;
    /// Asked once for each item, when it comes into being.
    virtual bool Follows(const PlantItem& item) = 0;
    /// Must not change the plant.
    virtual void NoteChange(const PlantItem& item) = 0;
};

using ItemFollowerRef = std::shared_ptr<ItemFollower>;
