#include "trend/core/Columns.h"

#include <algorithm>

ColumnBorders::ColumnBorders(const Span& span, int width)
    : m_Whole(span.Length() / std::max(width, 1))
    , m_Rest(span.Length() % std::max(width, 1))
    , m_Width(std::max(width, 1))
    , m_Next(span.From)
{
}

void FindColumns(const Series& series, const Span& span, int width, std::vector<Column>& columns)
{
    columns.resize(static_cast<std::size_t>(std::max(width, 0)));
    ColumnBorders borders(span, width);
    std::size_t begin = series.Find(borders.Next());
    std::size_t expected = 0;
    for (Column& column : columns) {
        const Micros border = borders.Next();
        const bool isEmpty = begin == series.Count() || series.TimeAt(begin) >= border;
        const std::size_t end = isEmpty ? begin : series.Find(border, begin + expected);
        column = {begin, end, {}, false};
        if (isEmpty) continue;
        column.Values = series.Steps().Of(series.Values(), begin, end);
        column.HasGap = series.HasGap(begin, end);
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
