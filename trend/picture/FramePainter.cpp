#include "trend/picture/FramePainter.h"

#include <QPainter>

#include <algorithm>

namespace {

constexpr double Gap = 6;
constexpr double TickLength = 4;

int MostTicks(const PictureLayout& layout, const QFontMetricsF& font)
{
    const double widest = font.horizontalAdvance(QStringLiteral("00:00:00.000")) + 4 * Gap;
    return std::max(2, static_cast<int>(layout.Field.width() / widest));
}

} // namespace

FramePainter::FramePainter(QPainter& painter, const PictureContent& content, const PictureLayout& layout,
                           const PictureColours& colours)
    : m_Painter(painter)
    , m_Content(content)
    , m_Layout(layout)
    , m_Colours(colours)
    , m_Font(painter.font(), painter.device())
    , m_Ticks(TimeTicks(layout.Shown, MostTicks(layout, m_Font)))
{
}

void FramePainter::PaintGrid()
{
    const QRectF& field = m_Layout.Field;
    m_Painter.setRenderHint(QPainter::Antialiasing, false);
    m_Painter.setPen(QPen(m_Colours.Grid, 1));
    for (const TimeTick& tick : m_Ticks) {
        const double x = field.left() + m_Layout.Times().PixelOf(tick.Time);
        m_Painter.drawLine(QLineF(x, field.top(), x, field.bottom()));
    }
    if (m_Layout.Axes.empty()) return;
    for (const ValueTick& tick : m_Layout.Axes.front().Ticks) {
        const double y = m_Layout.Plot.top() + m_Layout.Axes.front().Scale.PixelOf(tick.Value);
        m_Painter.drawLine(QLineF(field.left(), y, field.right(), y));
    }
}

void FramePainter::PaintAxes()
{
    m_Painter.setRenderHint(QPainter::Antialiasing, false);
    m_Painter.setBrush(Qt::NoBrush);
    m_Painter.setPen(QPen(m_Colours.Frame, 1));
    m_Painter.drawRect(m_Layout.Field);
    if (!m_Layout.Plot.isEmpty()) m_Painter.drawLine(QLineF(m_Layout.Plot.bottomLeft(), m_Layout.Plot.bottomRight()));
    for (const PictureLane& lane : m_Layout.Lanes)
        m_Painter.drawLine(QLineF(lane.Place.bottomLeft(), lane.Place.bottomRight()));
    for (const TimeTick& tick : m_Ticks) PaintTimeLabel(tick, m_Layout.Times().PixelOf(tick.Time));
    for (const PictureAxis& axis : m_Layout.Axes)
        if (!axis.Place.isEmpty()) PaintValueAxis(axis);
}

void FramePainter::PaintTimeLabel(const TimeTick& tick, double x)
{
    const QRectF& place = m_Layout.TimeAxis;
    const double line = m_Font.height();
    m_Painter.setPen(QPen(m_Colours.Frame, 1));
    m_Painter.drawLine(QLineF(place.left() + x, place.top(), place.left() + x, place.top() + TickLength));
    const auto write = [&](const QString& text, double top) {
        const double width = m_Font.horizontalAdvance(text) + 2;
        const double left = std::clamp(place.left() + x - width / 2, 0.0, place.right() + line - width);
        m_Painter.drawText(QRectF(left, top, width, line), Qt::AlignCenter | Qt::TextSingleLine, text);
        return left + width;
    };
    m_Painter.setPen(m_Colours.Ink);
    write(tick.Label, place.top() + TickLength);
    const double begin = place.left() + x - m_Font.horizontalAdvance(tick.Context) / 2;
    if (tick.Context.isEmpty() || (m_ContextEnd > 0 && begin < m_ContextEnd + Gap)) return;
    m_Painter.setPen(m_Colours.Dim);
    m_ContextEnd = write(tick.Context, place.top() + TickLength + line);
}

QColor FramePainter::ColourOf(const PictureAxis& axis) const
{
    const bool isOfOne = m_Layout.Axes.size() > 1 && axis.Pens.size() == 1;
    return isOfOne ? m_Colours.OfText(m_Content.Pens[axis.Pens.front()]->Settings.Colour) : m_Colours.Ink;
}

void FramePainter::PaintValueAxis(const PictureAxis& axis)
{
    const QRectF& place = axis.Place;
    const double line = m_Font.height();
    const QColor colour = ColourOf(axis);
    constexpr int Flags = Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine;
    m_Painter.setPen(QPen(colour, 1));
    m_Painter.drawLine(QLineF(place.topRight(), place.bottomRight()));
    for (const ValueTick& tick : axis.Ticks) {
        const double y = place.top() + axis.Scale.PixelOf(tick.Value);
        m_Painter.drawLine(QLineF(place.right() - TickLength, y, place.right(), y));
        m_Painter.drawText(QRectF(place.left(), y - line / 2, place.width() - Gap, line), Flags, tick.Label);
    }
    const QString unit = m_Font.elidedText(axis.Unit, Qt::ElideRight, place.width() - Gap);
    m_Painter.drawText(QRectF(place.left(), place.top() - line - 3, place.width() - Gap, line), Flags, unit);
}

void FramePainter::PaintNames()
{
    for (const PictureLane& lane : m_Layout.Lanes) {
        const Pen& pen = *m_Content.Pens[lane.Pen];
        const QRectF place(0, lane.Place.top(), m_Layout.Field.left() - Gap, lane.Place.height());
        m_Painter.setPen(m_Colours.OfText(pen.Settings.Colour));
        const QString name = m_Font.elidedText(pen.Settings.Name(), Qt::ElideMiddle, place.width() - 2);
        m_Painter.drawText(place, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, name);
    }
}
