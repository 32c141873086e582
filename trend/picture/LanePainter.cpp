#include "trend/picture/LanePainter.h"

#include "trend/core/Runs.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double Margin = 3;
constexpr double Distance = 5; ///< between the lines of a hatching
/// Stretches shorter than this are not told apart, in pixels.
constexpr double ShortestRun = 2;

QColor Transparent(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

/// Where there is a bad state between runs: nothing is known before the first value and after the last.
void PaintBad(QPainter& painter, const Series& series, const QRectF& bar, const TimeScale& times, const QColor& colour)
{
    const double left = bar.left();
    const std::size_t inside = series.Find(times.Shown.From);
    double painted = -1;
    for (std::size_t i = inside > 0 ? inside - 1 : 0; i < series.Count() && series.TimeAt(i) < times.Shown.To; ++i) {
        if (!series.IsGap(i)) continue;
        const Micros end = i + 1 < series.Count() ? series.TimeAt(i + 1) : series.HeldUntil();
        const double from = std::clamp(times.PixelOf(series.TimeAt(i)), 0.0, times.Width);
        const double to = std::clamp(std::max(times.PixelOf(end), from + 1), 0.0, times.Width);
        if (to - painted < 1) continue; // no more of them than pixels
        painted = to;
        PaintHatched(painter, {left + from, bar.top(), to - from, bar.height()}, colour);
    }
}

void PaintBoolean(QPainter& painter, const Pen& pen, const QRectF& bar, const TimeScale& times, const QColor& colour)
{
    const auto shortest =
        static_cast<Micros>(static_cast<double>(times.Shown.Length()) * ShortestRun / std::max(times.Width, 1.0));
    for (const HeldRun& run : RunsOf(pen.Values, times.Shown, std::max<Micros>(shortest, 1))) {
        const double from = times.PixelOf(run.From);
        const QRectF place(bar.left() + from, bar.top(), times.PixelOf(run.To) - from, bar.height());
        if (run.IsMixed) painter.fillRect(place, Transparent(colour, 0.5));
        else if (run.Value != 0) painter.fillRect(place, colour);
        else painter.fillRect(QRectF(place.left(), bar.bottom() - 1.5, place.width(), 1.5), colour);
    }
    PaintBad(painter, pen.Values, bar, times, colour);
}

/// What a lane shows of a text: one line, and not more than anybody reads.
QString LineOf(const QString& text)
{
    constexpr qsizetype Most = 500;
    return text.left(Most).simplified();
}

void PaintMarks(QPainter& painter, const Pen& pen, const QRectF& bar, const TimeScale& times,
                const PictureColours& colours)
{
    const QFontMetricsF font(painter.font(), painter.device());
    const std::vector<Marks::Place> marks = pen.Texts.Shown(times, 9 * font.averageCharWidth());
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double end = i + 1 < marks.size() ? marks[i + 1].Pixel : times.Width;
        const QRectF place(bar.left() + marks[i].Pixel, bar.top(), end - marks[i].Pixel, bar.height());
        painter.fillRect(QRectF(place.left(), place.top(), 2, place.height()), colours.OfPen(pen));
        const QString more = marks[i].Hidden > 0 ? QStringLiteral(" +%1").arg(marks[i].Hidden) : QString();
        const QRectF room = place.adjusted(5, 0, -3, 0);
        const double width = font.horizontalAdvance(more);
        painter.setPen(colours.Ink);
        const QString text = font.elidedText(LineOf(marks[i].Text), Qt::ElideRight, room.width() - width);
        constexpr int Flags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine;
        painter.drawText(room, Flags, text);
        painter.setPen(colours.Dim);
        painter.drawText(room.adjusted(font.horizontalAdvance(text), 0, 0, 0), Flags, more);
    }
}

} // namespace

void PaintHatched(QPainter& painter, const QRectF& place, const QColor& colour)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 1));
    const double height = place.height();
    const double first = std::floor((place.left() - height) / Distance) * Distance;
    for (double x = first; x < place.right(); x += Distance) {
        const double from = std::max(x, place.left());
        const double to = std::min(x + height, place.right());
        if (to > from) painter.drawLine(QLineF(from, place.bottom() - (from - x), to, place.bottom() - (to - x)));
    }
}

void PaintLane(QPainter& painter, const Pen& pen, const PictureLane& lane, const TimeScale& times,
               const PictureColours& colours)
{
    const QRectF bar = lane.Place.adjusted(0, Margin, 0, -Margin);
    if (pen.Kind == PenKind::Boolean) PaintBoolean(painter, pen, bar, times, colours.OfPen(pen));
    else PaintMarks(painter, pen, bar, times, colours);
}
