#include "trend/core/Bars.h"

#include <algorithm>
#include <cmath>

namespace {

Bar BarOf(const Extreme& values, const ValueScale& scale)
{
    if (values.IsEmpty()) return {};
    const int last = static_cast<int>(scale.Height) - 1;
    const auto top = static_cast<int>(std::floor(scale.PixelOf(values.Largest)));
    const auto bottom = static_cast<int>(std::floor(scale.PixelOf(values.Smallest)));
    if (bottom < 0 || top > last) return {};
    return {std::max(top, 0), std::min(bottom, last)};
}

} // namespace

void FindBars(const Series& series, const Span& span, const std::vector<Column>& columns, const ValueScale& scale,
              Drawing drawing, std::vector<Bar>& bars)
{
    const int width = static_cast<int>(columns.size());
    bars.resize(columns.size());
    for (int i = 0; i < width; ++i) {
        const Column& column = columns[static_cast<std::size_t>(i)];
        Extreme values = column.Values;
        const auto begins = series.Between(column.Begin, ColumnBorder(span, i, width), drawing);
        const auto ends = series.Between(column.End, ColumnBorder(span, i + 1, width), drawing);
        if (begins) values.Add(*begins);
        if (ends) values.Add(*ends);
        Bar& bar = bars[static_cast<std::size_t>(i)];
        bar = BarOf(values, scale);
        bar.HasGap = column.HasGap;
    }
}

void FillBars(const std::vector<Bar>& bars, quint32 colour, const Pixels& pixels)
{
    const int width = std::min(static_cast<int>(bars.size()), pixels.Width);
    for (int x = 0; x < width; ++x) {
        const Bar& bar = bars[static_cast<std::size_t>(x)];
        const int bottom = std::min(bar.Bottom, pixels.Height - 1);
        quint32* pixel = pixels.First + bar.Top * pixels.RowLength + x;
        for (int row = bar.Top; row <= bottom; ++row, pixel += pixels.RowLength) *pixel = colour;
    }
}
