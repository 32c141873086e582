#include "trend/picture/PictureLayout.h"

#include "trend/core/Columns.h"
#include "trend/picture/Legend.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double Gap = 6;             ///< between an axis' labels and what stands beside them
constexpr double MostOfLanes = 0.6;   ///< of the height, beside a plot
constexpr double MostOfAxes = 0.4;    ///< of the width
constexpr double MostOfNames = 0.22;  ///< of the width
constexpr double LaneHeight = 1.8;    ///< in lines
constexpr double LaneAlone = 3;       ///< in lines, where there is no plot
constexpr double LeastLaneHeight = 1; ///< in lines
constexpr double TickHeight = 2.2;    ///< in lines

bool IsFinite(const Extreme& extreme)
{
    return std::isfinite(extreme.Smallest) && std::isfinite(extreme.Largest);
}

/// What is drawn of a pen, infinities left out.
Extreme FiniteExtremes(const Pen& pen, const Span& shown)
{
    const Extreme all = ExtremesIn(pen.Values, shown, pen.Settings.Drawn);
    if (all.IsEmpty() || IsFinite(all)) return all;
    Extreme finite;
    for (std::size_t i = pen.Values.Find(shown.From), end = pen.Values.Find(shown.To); i < end; ++i)
        if (std::isfinite(pen.Values.ValueAt(i))) finite.Add(pen.Values.ValueAt(i));
    return finite;
}

bool IsUsable(const std::optional<ValueRange>& range)
{
    return range && std::isfinite(range->Bottom) && std::isfinite(range->Top) && range->Bottom < range->Top;
}

ValueScale ScaleOf(const PictureAxis& axis, const PictureContent& content, double height)
{
    const auto& fixed = axis.IsCommon ? content.Of.CommonRange : content.Pens[axis.Pens.front()]->Settings.Range;
    if (IsUsable(fixed)) return {fixed->Bottom, fixed->Top, height};
    Extreme extreme;
    for (const std::size_t pen : axis.Pens) {
        extreme.Add(FiniteExtremes(*content.Pens[pen], content.Of.Shown));
        for (const double limit : content.Pens[pen]->Settings.Limits)
            if (std::isfinite(limit)) extreme.Add(limit);
    }
    return ValueScale::Around(extreme, height);
}

/// The axes with their pens; the common one stands next to the plot.
std::vector<PictureAxis> AxesOf(const PictureContent& content)
{
    std::vector<PictureAxis> axes;
    PictureAxis common;
    common.IsCommon = true;
    for (std::size_t i = 0; i < content.Pens.size(); ++i) {
        const Pen& pen = *content.Pens[i];
        if (!pen.Settings.IsVisible || pen.Kind != PenKind::Numbers) continue;
        PictureAxis own;
        own.Unit = pen.Settings.Unit;
        PictureAxis& axis = pen.Settings.HasOwnAxis ? axes.emplace_back(own) : common;
        if (axis.Pens.empty()) axis.Unit = pen.Settings.Unit;
        else if (axis.Unit != pen.Settings.Unit) axis.Unit.clear();
        axis.Pens.push_back(i);
    }
    if (!common.Pens.empty()) axes.insert(axes.begin(), common);
    return axes;
}

double WidthOf(const PictureAxis& axis, const QFontMetricsF& font)
{
    double width = font.horizontalAdvance(axis.Unit.first(std::min<qsizetype>(axis.Unit.size(), 10)));
    for (const ValueTick& tick : axis.Ticks) width = std::max(width, font.horizontalAdvance(tick.Label));
    return std::ceil(width) + 2 * Gap;
}

std::vector<std::size_t> LanePens(const PictureContent& content)
{
    std::vector<std::size_t> pens;
    for (std::size_t i = 0; i < content.Pens.size(); ++i)
        if (content.Pens[i]->Settings.IsVisible && content.Pens[i]->Kind != PenKind::Numbers) pens.push_back(i);
    return pens;
}

double WidthOfNames(const PictureContent& content, const std::vector<std::size_t>& pens, const QFontMetricsF& font)
{
    double width = 0;
    for (const std::size_t pen : pens)
        width = std::max(width, font.horizontalAdvance(content.Pens[pen]->Settings.Name()) + 2 * Gap);
    return width;
}

/// Works from the outside to the inside: heights first, because the axes' labels depend on them, then widths.
class LayoutWork
{
public:
    LayoutWork(const PictureContent& content, const QSizeF& size, double ratio, const QFontMetricsF& font)
        : m_Content(content)
        , m_Size(size)
        , m_Ratio(std::max(ratio, 0.1))
        , m_Font(font)
        , m_Line(font.height())
    {
    }

    PictureLayout Do()
    {
        m_Layout.Shown = m_Content.Of.Shown.Bounded();
        m_Layout.Axes = AxesOf(m_Content);
        const double legend = m_Content.HasLegend ? LegendHeight(m_Content, m_Size.width(), m_Font) : 0;
        m_Layout.Legend = {0, 0, m_Size.width(), legend};
        const double top = Snapped(legend + m_Line + 4); // units stand above their axes
        const double bottom = Snapped(std::max(m_Size.height() - 2 * m_Line - 8, top));
        const double lanes = LanesHeight(bottom - top);
        const double left = PlaceAxes(top, m_Layout.Axes.empty() ? 0 : bottom - lanes - top);
        const double width = Snapped(std::max(m_Size.width() - left - m_Line, 1.0));
        m_Layout.Field = {left, top, width, bottom - top};
        m_Layout.Plot = {left, top, width, m_Layout.Axes.empty() ? 0 : bottom - lanes - top};
        m_Layout.TimeAxis = {left, bottom, width, m_Size.height() - bottom};
        PlaceLanes();
        return m_Layout;
    }

private:
    double Snapped(double length) const { return std::round(length * m_Ratio) / m_Ratio; }

    double LanesHeight(double height)
    {
        m_LanePens = LanePens(m_Content);
        if (m_LanePens.empty()) return 0;
        const double room = m_Layout.Axes.empty() ? height : height * MostOfLanes;
        const auto most = static_cast<std::size_t>(std::max(room / (LeastLaneHeight * m_Line), 0.0));
        m_Layout.LanesLeftOut = m_LanePens.size() - std::min(m_LanePens.size(), most);
        m_LanePens.resize(m_LanePens.size() - m_Layout.LanesLeftOut);
        if (m_LanePens.empty()) return 0;
        const auto count = static_cast<double>(m_LanePens.size());
        m_LaneHeight =
            Snapped(std::min((m_Layout.Axes.empty() ? LaneAlone : LaneHeight) * m_Line, std::floor(room / count)));
        return m_LaneHeight * count;
    }

    /// Scales, labels and places of the axes; how far from the left the plot begins.
    double PlaceAxes(double top, double height)
    {
        double axes = 0;
        std::vector<double> widths;
        for (PictureAxis& axis : m_Layout.Axes) {
            axis.Scale = ScaleOf(axis, m_Content, height);
            axis.Ticks = ValueTicks(axis.Scale, std::max(2, static_cast<int>(height / (TickHeight * m_Line))));
            widths.push_back(WidthOf(axis, m_Font));
            const bool hasRoom = widths.size() == 1 || axes + widths.back() <= m_Size.width() * MostOfAxes;
            if (!hasRoom) widths.back() = 0;
            axes += widths.back();
        }
        const double names = WidthOfNames(m_Content, m_LanePens, m_Font);
        const double left = Snapped(std::max({axes, std::min(names, m_Size.width() * MostOfNames), 4 * m_Line}));
        double right = left;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            m_Layout.Axes[i].Place = {right - widths[i], top, widths[i], height};
            right -= widths[i];
        }
        return left;
    }

    void PlaceLanes()
    {
        double top = m_Layout.Plot.bottom();
        for (const std::size_t pen : m_LanePens) {
            m_Layout.Lanes.push_back({{m_Layout.Field.left(), top, m_Layout.Field.width(), m_LaneHeight}, pen});
            top += m_LaneHeight;
        }
    }

    const PictureContent& m_Content;
    const QSizeF m_Size;
    const double m_Ratio;
    const QFontMetricsF& m_Font;
    const double m_Line;
    std::vector<std::size_t> m_LanePens;
    double m_LaneHeight = 0;
    PictureLayout m_Layout;
};

} // namespace

std::optional<std::size_t> PictureLayout::AxisOf(std::size_t pen) const
{
    for (std::size_t i = 0; i < Axes.size(); ++i)
        if (std::find(Axes[i].Pens.begin(), Axes[i].Pens.end(), pen) != Axes[i].Pens.end()) return i;
    return std::nullopt;
}

PictureLayout LayOut(const PictureContent& content, const QSizeF& size, double ratio, const QFontMetricsF& font)
{
    return LayoutWork(content, size, ratio, font).Do();
}
