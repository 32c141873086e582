#pragma once

#include "trend/picture/PictureColours.h"
#include "trend/picture/PictureLayout.h"

class QPainter;

/// What a picture that stands alone says of itself: the time that it shows, and its pens with colours and units, in as
/// many lines as they need.
double LegendHeight(const PictureContent& content, double width, const QFontMetricsF& font);
void PaintLegend(QPainter& painter, const PictureContent& content, const QRectF& place, const PictureColours& colours);
