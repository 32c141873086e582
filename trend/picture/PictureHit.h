#pragma once

#include "trend/picture/PictureLayout.h"

/// What lies below the mouse in a picture.
struct PictureHit
{
    enum class Part
    {
        Nothing,
        Plot,
        Lane,
        TimeAxis,
        ValueAxis,
        Cursor,
        MarkedEdge,
        Limit
    };

    Part What = Part::Nothing;
    std::size_t Number = 0; ///< of the axis, the cursor, the edge (0 from, 1 to), or among the pen's limits
    std::size_t Pen = 0;    ///< of a lane or a limit
    Micros Time = 0;        ///< at the mouse, also left and right of the field
};

/// What can be taken hold of comes first: cursors before edges before limits.
PictureHit HitAt(const PictureLayout& layout, const PictureContent& content, const QPointF& point);

/// The value at a height of the picture, on a pen's axis, with the digits that a pixel can tell; nothing for a pen without one.
std::optional<double> ValueAt(const PictureLayout& layout, std::size_t pen, double y);

/// The pen whose line passes the point within a few pixels, or whose lane it is.
std::optional<std::size_t> PenAt(const PictureLayout& layout, const PictureContent& content, const QPointF& point);
