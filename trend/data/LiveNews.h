#pragma once

#include "trend/data/Reading.h"

#include <optional>

/// What has been heard of an item.
struct LiveNews
{
    QString Item; ///< its name, as it was asked for
    Micros Time = 0;
    Reading Value = {};
    PenState State = PenState::Undefined;
    QString Note = {};                      ///< why there is no value; then there is nothing else
    std::optional<QString> Unit = {};       ///< once
    bool IsFirst = false;                   ///< what came between the news before and this is not known
    std::optional<Micros> MissedSince = {}; ///< from then until this it had more values than were heard
};
