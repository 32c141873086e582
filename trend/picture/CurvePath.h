#pragma once

#include "trend/core/Pen.h"

#include <QPainterPath>

/// The line of a pen within a picture of this size: its steps or straight lines, broken where the state is not good. It
/// is cut off at the edges, because not all formats of pictures can clip.
QPainterPath CurvePath(const Series& series, Drawing drawing, const TimeScale& times, const ValueScale& scale);
