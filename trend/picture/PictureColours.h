#pragma once

#include "trend/core/Pen.h"

#include <QColor>

/// What a picture is painted with: the paper and the ink, and what is mixed of them.
struct PictureColours
{
    PictureColours(const QColor& paper, const QColor& ink);
    static PictureColours Light() { return {QColor(255, 255, 255), QColor(32, 32, 32)}; }
    static PictureColours Dark() { return {QColor(30, 30, 30), QColor(225, 225, 225)}; }

    /// A pen's colour, 0xRRGGBB, with as much ink in it as it takes to stand out from the paper.
    QColor OfPen(quint32 colour) const;
    /// The same for a text.
    QColor OfText(quint32 colour) const;
    /// As of a line; pale while what is known of the pen is old.
    QColor OfPen(const Pen& pen) const;

    QColor Paper;
    QColor Ink;
    QColor Dim;    ///< less important texts
    QColor Grid;   ///< lines below everything
    QColor Frame;  ///< around what is painted
    QColor Marked; ///< the paper of a marked span, transparent
};
