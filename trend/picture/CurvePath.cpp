#include "trend/picture/CurvePath.h"

#include <QLineF>

#include <algorithm>
#include <array>

namespace {

/// As ValueScale::PixelOf, but also what lies far away is where it belongs, so that lines to it have their slope.
double ExactPixel(const ValueScale& scale, double value)
{
    constexpr double Farthest = 1e12;
    const double part = std::clamp((value - scale.Bottom) / (scale.Top - scale.Bottom), -Farthest, Farthest);
    return scale.Height - part * scale.Height;
}

/// The part of a line that lies within a rectangle from the origin.
std::optional<QLineF> Clipped(const QLineF& line, double width, double height)
{
    double from = 0;
    double to = 1;
    // How far the line lies behind each edge at its beginning, and how fast it gets there.
    const std::array<std::pair<double, double>, 4> edges = {{{-line.x1(), line.dx()},
                                                             {line.x1() - width, -line.dx()},
                                                             {-line.y1(), line.dy()},
                                                             {line.y1() - height, -line.dy()}}};
    for (const auto& [behind, speed] : edges) {
        if (speed == 0 && behind > 0) return std::nullopt;
        if (speed > 0) from = std::max(from, behind / speed);
        if (speed < 0) to = std::min(to, behind / speed);
    }
    if (from > to) return std::nullopt;
    return QLineF(from > 0 ? line.pointAt(from) : line.p1(), to < 1 ? line.pointAt(to) : line.p2());
}

class PathWriter
{
public:
    PathWriter(double width, double height)
        : m_Width(width)
        , m_Height(height)
    {
    }

    void Add(const QLineF& line)
    {
        const auto seen = Clipped(line, m_Width, m_Height);
        if (!seen) return;
        if (Path.elementCount() == 0 || Path.currentPosition() != seen->p1()) Path.moveTo(seen->p1());
        Path.lineTo(seen->p2());
    }

    QPainterPath Path;

private:
    const double m_Width;
    const double m_Height;
};

} // namespace

QPainterPath CurvePath(const Series& series, Drawing drawing, const TimeScale& times, const ValueScale& scale)
{
    PathWriter writer(times.Width, scale.Height);
    const auto place = [&](std::size_t i, std::size_t value) {
        return QPointF(times.PixelOf(series.TimeAt(i)), ExactPixel(scale, series.ValueAt(value)));
    };
    const std::size_t inside = series.Find(times.Shown.From);
    for (std::size_t i = inside > 0 ? inside - 1 : 0; i < series.Count() && series.TimeAt(i) < times.Shown.To; ++i) {
        if (series.IsGap(i)) continue;
        const QPointF from = place(i, i);
        if (i + 1 == series.Count()) {
            writer.Add({from, {times.PixelOf(series.HeldUntil()), from.y()}});
        } else if (series.IsGap(i + 1)) {
            writer.Add({from, {times.PixelOf(series.TimeAt(i + 1)), from.y()}});
        } else if (drawing == Drawing::Step) {
            const QPointF corner = place(i + 1, i);
            writer.Add({from, corner});
            writer.Add({corner, place(i + 1, i + 1)});
        } else {
            writer.Add({from, place(i + 1, i + 1)});
        }
    }
    return writer.Path;
}
