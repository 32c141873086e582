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

/// Where columns of a picture begin, one after the other; at last the end of the span.
class ColumnBorders
{
public:
    ColumnBorders(const Span& span, int width);

    Micros Next()
    {
        const Micros border = m_Next;
        m_Next += m_Whole;
        m_Spread += m_Rest;
        if (m_Spread < m_Width) return border;
        m_Spread -= m_Width;
        ++m_Next;
        return border;
    }

private:
    const Micros m_Whole;
    const Micros m_Rest; ///< spread over all columns
    const Micros m_Width;
    Micros m_Next;
    Micros m_Spread = 0;
};

/// The columns of a picture that shows `span` of a series, `width` pixels wide.
/// `columns` is filled; its memory is used again from frame to frame.
void FindColumns(const Series& series, const Span& span, int width, std::vector<Column>& columns);

/// The extremes of what is drawn of a series in a span, what holds at its
/// beginning included.
Extreme ExtremesIn(const Series& series, const Span& span, Drawing drawing);
