#include "trend/core/Columns.h"

#include <algorithm>

Micros ColumnBorder(const Span& span, int number, int width)
{
    if (number == width) return span.To;
    // In two parts, so that the longest span does not overflow.
    const Micros length = span.Length();
    return span.From + length / width * number + length % width * number / width;
}

void FindColumns(const Series& series, const Span& span, int width, std::vector<Column>& columns)
{
    columns.resize(static_cast<std::size_t>(std::max(width, 0)));
    std::size_t begin = series.Find(span.From);
    std::size_t expected = 0;
    for (int i = 0; i < width; ++i) {
        const std::size_t end = series.Find(ColumnBorder(span, i + 1, width), begin + expected);
        const Extreme extreme = series.Steps().Of(series.Values(), begin, end);
        columns[static_cast<std::size_t>(i)] = {begin, end, extreme, series.HasGap(begin, end)};
        expected = end - begin;
        begin = end;
    }
}

Extreme ExtremesIn(const Series& series, const Span& span, Drawing drawing)
{
    Extreme extreme = series.Steps().Of(series.Values(), series.Find(span.From), series.Find(span.To));
    for (const Micros end : {span.From, span.To}) {
        if (const auto value = series.At(end, drawing)) extreme.Add(*value);
    }
    return extreme;
}
