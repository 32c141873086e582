#include "trend/core/Bars.h"

#include <algorithm>

namespace {

/// The row in which a value lies; PixelOf answers from one height above the picture on.
int RowOf(double value, const ValueScale& scale)
{
    const int height = static_cast<int>(scale.Height);
    return static_cast<int>(scale.PixelOf(value) + height) - height; // a quick floor
}

Bar BarOf(const Extreme& values, const ValueScale& scale)
{
    if (values.IsEmpty()) return {};
    const int last = static_cast<int>(scale.Height) - 1;
    const int top = RowOf(values.Largest, scale);
    const int bottom = values.Smallest == values.Largest ? top : RowOf(values.Smallest, scale);
    if (bottom < 0 || top > last) return {};
    return {std::max(top, 0), std::min(bottom, last)};
}

} // namespace

void FindBars(const Series& series, const Span& span, const std::vector<Column>& columns, const ValueScale& scale,
              Drawing drawing, std::vector<Bar>& bars)
{
    bars.resize(columns.size());
    ColumnBorders borders(span, static_cast<int>(columns.size()));
    const auto at = [&](std::size_t next) { return series.Between(next, borders.Next(), drawing); };
    std::optional<double> begins = columns.empty() ? std::nullopt : at(columns.front().Begin);
    const Bar* steady = nullptr; ///< the bar before, if all of it has the value with which it ends
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Column& column = columns[i];
        const auto ends = at(column.End);
        const bool isSteady = column.IsEmpty() && begins && begins == ends;
        if (isSteady && steady) {
            bars[i] = *steady;
        } else {
            Extreme values = column.Values;
            if (begins) values.Add(*begins);
            if (ends) values.Add(*ends);
            bars[i] = BarOf(values, scale);
            bars[i].HasGap = column.HasGap;
        }
        steady = isSteady ? &bars[i] : nullptr;
        begins = ends;
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
