#pragma once

#include "trend/core/Pen.h"

/// What of its pens a trend shows, and what is measured in it.
struct View
{
    bool operator==(const View&) const = default;

    Span Shown;
    bool IsFollowing = true;               ///< the right edge is now
    std::optional<ValueRange> CommonRange; ///< of the common axis; nothing: what lies in view
    /// Moments whose values are shown and compared; the second may lie before the first.
    std::array<std::optional<Micros>, 2> Cursors;
    std::optional<Span> Marked; ///< the span whose figures are shown
};

/// What a view file keeps: a view and its pens, in their order.
struct SavedView
{
    bool operator==(const SavedView&) const = default;

    View Of;
    std::vector<PenSettings> Pens;
};
