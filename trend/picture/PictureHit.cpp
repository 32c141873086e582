#include "trend/picture/PictureHit.h"

#include "trend/core/Columns.h"

#include <algorithm>
#include <cmath>

namespace {

/// So far beside a line of one pixel the mouse still means it.
constexpr double Reach = 5;

using Part = PictureHit::Part;

/// What the mouse can take hold of at moments.
std::optional<PictureHit> HandleAt(const PictureLayout& layout, const View& view, double x)
{
    const auto isAt = [&](Micros time) {
        return std::abs(layout.Field.left() + layout.Times().PixelOf(time) - x) <= Reach;
    };
    for (std::size_t i = view.Cursors.size(); i-- > 0;)
        if (view.Cursors[i] && isAt(*view.Cursors[i])) return PictureHit{Part::Cursor, i};
    if (view.Marked && isAt(view.Marked->To)) return PictureHit{Part::MarkedEdge, 1};
    if (view.Marked && isAt(view.Marked->From)) return PictureHit{Part::MarkedEdge, 0};
    return std::nullopt;
}

std::optional<PictureHit> LimitAt(const PictureLayout& layout, const PictureContent& content, double y)
{
    for (const PictureAxis& axis : layout.Axes) {
        for (const std::size_t pen : axis.Pens) {
            const std::vector<double>& limits = content.Pens[pen]->Settings.Limits;
            const auto isAt = [&](double limit) {
                return std::abs(layout.Plot.top() + axis.Scale.PixelOf(limit) - y) <= Reach;
            };
            const auto found = std::find_if(limits.begin(), limits.end(), isAt);
            if (found != limits.end())
                return PictureHit{Part::Limit, static_cast<std::size_t>(found - limits.begin()), pen};
        }
    }
    return std::nullopt;
}

PictureHit PlaceAt(const PictureLayout& layout, const QPointF& point)
{
    for (const PictureLane& lane : layout.Lanes)
        if (lane.Place.contains(point)) return {Part::Lane, 0, lane.Pen};
    for (std::size_t i = 0; i < layout.Axes.size(); ++i)
        if (layout.Axes[i].Place.contains(point)) return {Part::ValueAxis, i};
    if (layout.TimeAxis.contains(point)) return {Part::TimeAxis};
    return {layout.Plot.contains(point) ? Part::Plot : Part::Nothing};
}

/// From the point to what is drawn of a pen beside it; far for pens without a value there.
double DistanceTo(const PictureLayout& layout, const PictureAxis& axis, const Pen& pen, const QPointF& point)
{
    const double x = point.x() - layout.Field.left();
    const TimeScale times = layout.Times();
    const Extreme near = ExtremesIn(pen.Values, {times.TimeAt(x - Reach), times.TimeAt(x + Reach)}, pen.Settings.Drawn);
    if (near.IsEmpty()) return layout.Field.height();
    const double y = point.y() - layout.Plot.top();
    return std::max({axis.Scale.PixelOf(near.Largest) - y, y - axis.Scale.PixelOf(near.Smallest), 0.0});
}

/// With no more digits than tell it from others that lie `step` apart.
double Rounded(double value, double step)
{
    const double digits = std::floor(std::log10(std::abs(value))) - std::floor(std::log10(step)) + 1;
    if (digits < 1) return 0;
    constexpr double MostDigits = 15;
    return QString::number(value, 'g', static_cast<int>(std::min(digits, MostDigits))).toDouble();
}

} // namespace

PictureHit HitAt(const PictureLayout& layout, const PictureContent& content, const QPointF& point)
{
    std::optional<PictureHit> hit;
    if (layout.Field.contains(point)) hit = HandleAt(layout, content.Of, point.x());
    if (!hit && layout.Plot.contains(point)) hit = LimitAt(layout, content, point.y());
    if (!hit) hit = PlaceAt(layout, point);
    hit->Time = layout.Times().TimeAt(point.x() - layout.Field.left());
    return *hit;
}

std::optional<double> ValueAt(const PictureLayout& layout, std::size_t pen, double y)
{
    const auto axis = layout.AxisOf(pen);
    if (!axis) return std::nullopt;
    const ValueScale& scale = layout.Axes[*axis].Scale;
    const double pixel = y - layout.Plot.top();
    const double value = scale.ValueAt(pixel);
    return Rounded(value, std::abs(scale.ValueAt(pixel + 1) - value));
}

std::optional<std::size_t> PenAt(const PictureLayout& layout, const PictureContent& content, const QPointF& point)
{
    const PictureHit place = PlaceAt(layout, point);
    if (place.What == Part::Lane) return place.Pen;
    if (place.What != Part::Plot) return std::nullopt;
    std::optional<std::size_t> nearest;
    double least = Reach;
    for (const PictureAxis& axis : layout.Axes) {
        for (const std::size_t pen : axis.Pens) {
            const double distance = DistanceTo(layout, axis, *content.Pens[pen], point);
            if (distance > least) continue;
            least = distance;
            nearest = pen;
        }
    }
    return nearest;
}
