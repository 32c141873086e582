#include "trend/picture/CurvePainter.h"

#include "trend/picture/CurvePath.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double LineWidth = 1.5;
constexpr double WideLine = 2.6;
constexpr double PointRadius = 2.4;
/// Values this close together on average are no line any more, in columns.
constexpr double ClosestOnLine = 3;
/// Values at least this far apart on average are points too, in logical pixels.
constexpr double ClosestPoints = 10;

double WidthOf(const CurveLook& look)
{
    return look.StandsOut ? WideLine : LineWidth;
}

/// Bars of single values are one row high and those of steps one column wide: makes both as wide as a line, `more` the
/// pixels that are missing.
void Thicken(std::vector<Bar>& bars, int more, bool hasSteps)
{
    for (int pass = 0; pass < more; ++pass) {
        for (std::size_t i = bars.size(); i-- > 0;) {
            Bar& bar = bars[i];
            const Bar before = hasSteps && i > 0 ? bars[i - 1] : Bar();
            if (!bar.IsEmpty()) ++bar.Bottom;
            if (before.IsEmpty()) continue;
            if (bar.IsEmpty()) bar = before;
            bar.Top = std::min(bar.Top, before.Top);
            bar.Bottom = std::max(bar.Bottom, before.Bottom + 1);
        }
    }
}

} // namespace

CurvePainter::CurvePainter(QPainter& painter, const Span& shown, const QSizeF& size, double ratio, QImage* pixels)
    : m_Painter(painter)
    , m_Shown(shown)
    , m_Size(size)
    , m_Ratio(ratio)
    , m_Pixels(pixels)
{
}

void CurvePainter::Paint(const Pen& pen, const ValueScale& scale, const CurveLook& look)
{
    const int columns = m_Pixels ? m_Pixels->width() : static_cast<int>(m_Size.width() * m_Ratio);
    FindColumns(pen.Values, m_Shown, columns, m_Columns);
    if (m_Columns.empty()) return;
    const auto count = static_cast<double>(m_Columns.back().End - m_Columns.front().Begin);
    const bool isLine = count * ClosestOnLine <= columns;
    const bool needsPath = !m_Pixels || (look.IsSmooth && pen.Settings.Drawn == Drawing::Line);
    if (isLine && needsPath) PaintLines(pen, scale, look);
    else PaintBars(pen, scale, look, isLine);
    if (look.HasPoints && count * ClosestPoints <= m_Size.width()) PaintPoints(pen.Values, scale, look.Colour);
}

void CurvePainter::PaintBars(const Pen& pen, const ValueScale& scale, const CurveLook& look, bool isLine)
{
    const int height = m_Pixels ? m_Pixels->height() : static_cast<int>(m_Size.height() * m_Ratio);
    const ValueScale rows{scale.Bottom, scale.Top, static_cast<double>(height)};
    FindBars(pen.Values, m_Shown, m_Columns, rows, pen.Settings.Drawn, m_Bars);
    Thicken(m_Bars, static_cast<int>(std::round(WidthOf(look) * m_Ratio)) - 1, isLine);
    if (!m_Pixels) {
        StrokeBars(look.Colour);
        return;
    }
    FillBars(m_Bars, look.Colour.rgb(),
             {reinterpret_cast<quint32*>(m_Pixels->bits()), m_Pixels->bytesPerLine() / 4, m_Pixels->width(), height});
}

void CurvePainter::StrokeBars(const QColor& colour)
{
    QPainterPath path;
    for (std::size_t i = 0; i < m_Bars.size(); ++i) {
        if (m_Bars[i].IsEmpty()) continue;
        const double x = (static_cast<double>(i) + 0.5) / m_Ratio;
        path.moveTo(x, m_Bars[i].Top / m_Ratio);
        path.lineTo(x, std::min((m_Bars[i].Bottom + 1) / m_Ratio, m_Size.height()));
    }
    m_Painter.strokePath(path, QPen(colour, 1 / m_Ratio, Qt::SolidLine, Qt::FlatCap));
}

void CurvePainter::PaintLines(const Pen& pen, const ValueScale& scale, const CurveLook& look)
{
    const QPainterPath path = CurvePath(pen.Values, pen.Settings.Drawn, {m_Shown, m_Size.width()}, scale);
    m_Painter.setRenderHint(QPainter::Antialiasing);
    m_Painter.strokePath(path, QPen(look.Colour, WidthOf(look), Qt::SolidLine, Qt::FlatCap, Qt::BevelJoin));
}

/// And a cross at the last good value before a bad state.
void CurvePainter::PaintPoints(const Series& series, const ValueScale& scale, const QColor& colour)
{
    const TimeScale times{m_Shown, m_Size.width()};
    const QRectF plot({0, 0}, m_Size);
    m_Painter.setRenderHint(QPainter::Antialiasing);
    for (std::size_t i = m_Columns.front().Begin; i < m_Columns.back().End; ++i) {
        const bool isBad = series.IsGap(i);
        if (isBad && (i == 0 || series.IsGap(i - 1))) continue;
        const QPointF at(times.PixelOf(series.TimeAt(i)), scale.PixelOf(series.ValueAt(isBad ? i - 1 : i)));
        if (!plot.contains(at)) continue;
        m_Painter.setPen(isBad ? QPen(colour, LineWidth) : QPen(Qt::NoPen));
        m_Painter.setBrush(colour);
        const QPointF arm(PointRadius + 1, PointRadius + 1);
        const QPointF otherArm(arm.x(), -arm.y());
        if (!isBad) m_Painter.drawEllipse(at, PointRadius, PointRadius);
        else m_Painter.drawLines(QList<QLineF>{{at - arm, at + arm}, {at - otherArm, at + otherArm}});
    }
}

std::vector<std::pair<int, int>> CurvePainter::BadColumns(const Series& series) const
{
    std::vector<std::pair<int, int>> bad;
    const std::size_t first = m_Columns.empty() ? 0 : m_Columns.front().Begin;
    if (m_Columns.empty() || !series.HasGap(first > 0 ? first - 1 : 0, m_Columns.back().End)) return bad;
    const int columns = static_cast<int>(m_Columns.size());
    ColumnBorders borders(m_Shown, columns);
    for (int i = 0; i < columns; ++i) {
        const Column& column = m_Columns[static_cast<std::size_t>(i)];
        const bool isHeld = borders.Next() < series.HeldUntil();
        const bool beginsBad = isHeld && column.Begin > 0 && series.IsGap(column.Begin - 1);
        if (!column.HasGap && !beginsBad) continue;
        if (!bad.empty() && bad.back().second == i) ++bad.back().second;
        else bad.emplace_back(i, i + 1);
    }
    return bad;
}
