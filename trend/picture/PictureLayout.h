#pragma once

#include "trend/core/TimeScale.h"
#include "trend/core/View.h"

#include <QFontMetricsF>
#include <QRectF>

#include <span>

/// What a picture shows: a view of some pens, which have to outlive it.
struct PictureContent
{
    const View& Of;
    std::span<const Pen* const> Pens;
    std::optional<std::size_t> Current = {}; ///< the number of the pen that stands out
    bool HasLegend = false;                  ///< for pictures that stand alone: what is shown, above the picture
    QString Trouble = {};                    ///< of all pens, such as that there is no history
};

/// A value axis with the pens that stand on it.
struct PictureAxis
{
    QRectF Place;     ///< left of the plot; empty where there is no room for it
    ValueScale Scale; ///< from the plot's upper edge
    bool IsCommon = false;
    std::vector<std::size_t> Pens; ///< their numbers
    QString Unit;                  ///< if all of them have the same
    std::vector<ValueTick> Ticks;
};

/// A strip below the plot with a pen that has no height: a boolean, or texts.
struct PictureLane
{
    QRectF Place;
    std::size_t Pen;
};

/// Where everything in a picture lies, in its logical pixels from its upper left corner.
struct PictureLayout
{
    /// The number of a pen's axis; nothing for pens without one, such as hidden ones.
    std::optional<std::size_t> AxisOf(std::size_t pen) const;
    /// From the plot's left edge.
    TimeScale Times() const { return {Shown, Field.width()}; }

    Span Shown;
    QRectF Legend; ///< at the top; empty when there is none
    QRectF Field;  ///< whatever lies above the time axis: the plot, then lanes
    QRectF Plot;   ///< the numbers; empty when only lanes are shown
    QRectF TimeAxis;
    std::vector<PictureAxis> Axes; ///< from right to left
    std::vector<PictureLane> Lanes;
    std::size_t LanesLeftOut = 0; ///< for which there is no room
};

/// Lays out a picture of this size on a device with `ratio` pixels to a logical one.
PictureLayout LayOut(const PictureContent& content, const QSizeF& size, double ratio, const QFontMetricsF& font);
