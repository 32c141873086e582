#pragma once

#include "trend/picture/PictureColours.h"
#include "trend/picture/PictureLayout.h"

class QPainter;

/// Paints a pen without height into its lane: a boolean as filled and empty stretches, texts as marks that can be read.
void PaintLane(QPainter& painter, const Pen& pen, const PictureLane& lane, const TimeScale& times,
               const PictureColours& colours);

/// Slanting lines: what is known not to be good.
void PaintHatched(QPainter& painter, const QRectF& place, const QColor& colour);
