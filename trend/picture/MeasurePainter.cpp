#include "trend/picture/MeasurePainter.h"

#include "trend/core/TimeText.h"

#include <QPainter>

#include <algorithm>

MeasurePainter::MeasurePainter(QPainter& painter, const PictureContent& content, const PictureLayout& layout,
                               const PictureColours& colours)
    : m_Painter(painter)
    , m_Content(content)
    , m_Layout(layout)
    , m_Colours(colours)
    , m_Font(painter.font(), painter.device())
{
}

void MeasurePainter::PaintMarkedSpan()
{
    const auto& marked = m_Content.Of.Marked;
    if (!marked) return;
    const QRectF& field = m_Layout.Field;
    const double from = std::clamp(m_Layout.Times().PixelOf(marked->From), 0.0, field.width());
    const double to = std::clamp(m_Layout.Times().PixelOf(marked->To), 0.0, field.width());
    if (to <= from) return;
    m_Painter.fillRect(QRectF(field.left() + from, field.top(), to - from, field.height()), m_Colours.Marked);
    const QRectF label(field.left() + from, field.bottom() - m_Font.height() - 2, to - from, m_Font.height());
    m_Painter.setPen(m_Colours.Ink);
    const QString text = DurationText(marked->Length());
    if (m_Font.horizontalAdvance(text) <= label.width())
        m_Painter.drawText(label, Qt::AlignCenter | Qt::TextSingleLine, text);
}

void MeasurePainter::PaintLimits()
{
    for (const PictureAxis& axis : m_Layout.Axes) {
        for (const std::size_t pen : axis.Pens)
            for (const double limit : m_Content.Pens[pen]->Settings.Limits)
                PaintLimit(axis, *m_Content.Pens[pen], limit);
    }
}

void MeasurePainter::PaintLimit(const PictureAxis& axis, const Pen& pen, double limit)
{
    const QRectF& plot = m_Layout.Plot;
    const double y = plot.top() + axis.Scale.PixelOf(limit);
    if (y < plot.top() || y > plot.bottom()) return;
    const QColor colour = m_Colours.OfPen(pen);
    m_Painter.setRenderHint(QPainter::Antialiasing, false);
    m_Painter.setPen(QPen(colour, 1, Qt::DashLine));
    m_Painter.drawLine(QLineF(plot.left(), y, plot.right(), y));
    const QString text = QString::number(limit, 'g', 6);
    const double line = m_Font.height();
    const double length = m_Font.horizontalAdvance(text) + 4;
    const bool hasRoomAbove = y - line >= plot.top();
    const QRectF label(plot.right() - length - 2, hasRoomAbove ? y - line : y + 1, length, line);
    m_Painter.fillRect(label, m_Colours.Paper);
    m_Painter.setPen(m_Colours.OfText(pen.Settings.Colour));
    m_Painter.drawText(label, Qt::AlignCenter | Qt::TextSingleLine, text);
}

void MeasurePainter::PaintCursors()
{
    int number = 0;
    for (const auto& cursor : m_Content.Of.Cursors) {
        ++number;
        if (cursor && m_Layout.Shown.Holds(*cursor)) PaintCursor(number, *cursor);
    }
}

void MeasurePainter::PaintCursor(int number, Micros time)
{
    const QRectF& field = m_Layout.Field;
    const double x = field.left() + m_Layout.Times().PixelOf(time);
    m_Painter.setRenderHint(QPainter::Antialiasing, false);
    m_Painter.setPen(QPen(m_Colours.Ink, 1, number == 1 ? Qt::SolidLine : Qt::DashLine));
    m_Painter.drawLine(QLineF(x, field.top(), x, field.bottom()));
    m_Painter.setRenderHint(QPainter::Antialiasing);
    for (const PictureAxis& axis : m_Layout.Axes) {
        for (const std::size_t i : axis.Pens) {
            const Pen& pen = *m_Content.Pens[i];
            const auto value = pen.Values.At(time, pen.Settings.Drawn);
            const double y = m_Layout.Plot.top() + (value ? axis.Scale.PixelOf(*value) : -1);
            if (!value || y < m_Layout.Plot.top() || y > m_Layout.Plot.bottom()) continue;
            m_Painter.setPen(QPen(m_Colours.Paper, 1.5));
            m_Painter.setBrush(m_Colours.OfPen(pen));
            m_Painter.drawEllipse(QPointF(x, y), 4, 4);
        }
    }
    const QString text = MomentText(time, DecimalsFor(m_Layout.Shown)).mid(11);
    PaintFlag(QStringLiteral("%1: %2").arg(QString::number(number), text), {x, field.top()}, m_Colours.Ink);
}

/// A label with its lower edge there, above the plot.
void MeasurePainter::PaintFlag(const QString& text, const QPointF& bottom, const QColor& colour)
{
    const double width = m_Font.horizontalAdvance(text) + 8;
    const double left = std::clamp(bottom.x() - width / 2, 0.0, m_Layout.Field.right() - width + m_Font.height());
    const QRectF flag(left, bottom.y() - m_Font.height() - 2, width, m_Font.height() + 2);
    m_Painter.fillRect(flag, colour);
    m_Painter.setPen(m_Colours.Paper);
    m_Painter.drawText(flag, Qt::AlignCenter | Qt::TextSingleLine, text);
}
