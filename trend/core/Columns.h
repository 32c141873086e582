#pragma once

#include "trend/core/Series.h"

/// What lies in one column of pixels.
struct Column
{
    bool IsEmpty() const { return Begin == End; }
    /// Whether any of its values is a number.
    bool HasNumbers() const { return !Values.IsEmpty(); }

    std::size_t Begin = 0; ///< its values in the series
    std::size_t End = 0;
    Extreme Values;
    bool HasGap = false;
};

/// Where column `number` of `width` begins; the end of the span for the one
/// behind the last.
Micros ColumnBorder(const Span& span, int number, int width);

/// The columns of a picture that shows `span` of a series, `width` pixels wide.
/// `columns` is filled; its memory is used again from frame to frame.
void FindColumns(const Series& series, const Span& span, int width, std::vector<Column>& columns);

/// The extremes of what is drawn of a series in a span, what holds at its
/// beginning included.
Extreme ExtremesIn(const Series& series, const Span& span, Drawing drawing);
