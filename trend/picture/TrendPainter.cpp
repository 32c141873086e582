#include "trend/picture/TrendPainter.h"

#include "trend/picture/FramePainter.h"
#include "trend/picture/LanePainter.h"
#include "trend/picture/Legend.h"
#include "trend/picture/MeasurePainter.h"

#include <QPaintEngine>

#include <algorithm>

namespace {

constexpr double StripHeight = 5;
constexpr std::size_t MostNotes = 8;
/// Of so many values smooth lines and points are painted within half of a frame's time.
constexpr std::size_t MostSmooth = 500;
constexpr std::size_t MostPoints = 1500;

std::size_t CountIn(const Series& series, const Span& shown)
{
    return series.Find(shown.To) - series.Find(shown.From);
}

bool HasData(const Pen& pen, const PictureLayout& layout)
{
    if (pen.Kind == PenKind::Texts) return !pen.Texts.Shown(layout.Times(), layout.Field.width()).empty();
    const bool isHeld = pen.Values.Find(layout.Shown.From) > 0 && pen.Values.HeldUntil() > layout.Shown.From;
    return isHeld || CountIn(pen.Values, layout.Shown) > 0;
}

} // namespace

struct TrendPainter::Frame
{
    QPainter& On;
    const PictureContent& Content;
    const PictureLayout& Layout;
    const PictureColours& Colours;
};

PictureLayout TrendPainter::Paint(QPainter& painter, const QSizeF& size, const PictureContent& content,
                                  const PictureColours& colours)
{
    painter.save();
    const double ratio = painter.device()->devicePixelRatioF();
    const PictureLayout layout = LayOut(content, size, ratio, QFontMetricsF(painter.font(), painter.device()));
    const Frame frame{painter, content, layout, colours};
    painter.fillRect(QRectF({0, 0}, size), colours.Paper);
    FramePainter around(painter, content, layout, colours);
    MeasurePainter measures(painter, content, layout, colours);
    around.PaintGrid();
    measures.PaintMarkedSpan();
    PaintLanes(frame);
    if (!layout.Plot.isEmpty()) PaintCurves(frame);
    measures.PaintLimits(); // above dense curves they can still be seen
    around.PaintAxes();
    around.PaintNames();
    measures.PaintCursors();
    PaintWords(frame);
    if (content.HasLegend) PaintLegend(painter, content, layout.Legend, colours);
    painter.restore();
    return layout;
}

/// Where the device is made of pixels, into a layer of its own, which then is laid over the grid; directly where there
/// is no memory for one.
void TrendPainter::PaintCurves(const Frame& frame)
{
    const QRectF& plot = frame.Layout.Plot;
    const double ratio = frame.On.device()->devicePixelRatioF();
    m_Bad.clear();
    const QSize pixels = (plot.size() * ratio).toSize();
    const bool hasPixels = frame.On.paintEngine()->type() == QPaintEngine::Raster;
    if (hasPixels && m_Layer.size() != pixels) m_Layer = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    if (!hasPixels || m_Layer.isNull()) {
        frame.On.save();
        frame.On.translate(plot.topLeft());
        CurvePainter curves(frame.On, frame.Layout.Shown, plot.size(), ratio, nullptr);
        PaintPens(frame, curves);
        frame.On.restore();
    } else {
        m_Layer.setDevicePixelRatio(ratio);
        m_Layer.fill(Qt::transparent);
        QPainter onLayer(&m_Layer);
        CurvePainter curves(onLayer, frame.Layout.Shown, plot.size(), ratio, &m_Layer);
        PaintPens(frame, curves);
        onLayer.end();
        frame.On.drawImage(plot.topLeft(), m_Layer);
    }
    PaintBadStrips(frame);
}

void TrendPainter::PaintPens(const Frame& frame, CurvePainter& curves)
{
    std::vector<std::pair<std::size_t, const PictureAxis*>> pens;
    for (const PictureAxis& axis : frame.Layout.Axes)
        for (const std::size_t pen : axis.Pens) pens.emplace_back(pen, &axis);
    const auto rank = [&](std::size_t pen) { return std::pair(pen == frame.Content.Current, pen); };
    std::sort(pens.begin(), pens.end(), [&](const auto& a, const auto& b) { return rank(a.first) < rank(b.first); });
    std::size_t values = 0;
    for (const auto& [number, axis] : pens) values += CountIn(frame.Content.Pens[number]->Values, frame.Layout.Shown);
    for (const auto& [number, axis] : pens) {
        const Pen& pen = *frame.Content.Pens[number];
        const bool isCurrent = number == frame.Content.Current;
        curves.Paint(pen, axis->Scale,
                     {frame.Colours.OfPen(pen), isCurrent, values <= MostSmooth, values <= MostPoints});
        if (auto bad = curves.BadColumns(pen.Values); !bad.empty()) m_Bad.emplace_back(number, std::move(bad));
    }
}

/// At the lower edge of the plot, one above the other.
void TrendPainter::PaintBadStrips(const Frame& frame)
{
    const QRectF& plot = frame.Layout.Plot;
    const auto columns = std::max(1, static_cast<int>(plot.width() * frame.On.device()->devicePixelRatioF()));
    double bottom = plot.bottom() - 1;
    std::sort(m_Bad.begin(), m_Bad.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [number, stretches] : m_Bad) {
        if (bottom - StripHeight < plot.center().y()) return;
        for (const auto& [from, to] : stretches) {
            const QRectF strip(plot.left() + plot.width() * from / columns, bottom - StripHeight,
                               std::max(plot.width() * (to - from) / columns, 3.0), StripHeight);
            frame.On.fillRect(strip, frame.Colours.Paper);
            PaintHatched(frame.On, strip, frame.Colours.OfPen(*frame.Content.Pens[number]));
        }
        bottom -= StripHeight + 2;
    }
}

void TrendPainter::PaintLanes(const Frame& frame)
{
    for (const PictureLane& lane : frame.Layout.Lanes)
        PaintLane(frame.On, *frame.Content.Pens[lane.Pen], lane, frame.Layout.Times(), frame.Colours);
}

/// What the picture has to say: that there is nothing to see, and what is the matter with pens.
void TrendPainter::PaintWords(const Frame& frame)
{
    const auto& pens = frame.Content.Pens;
    const auto isVisible = [](const Pen* pen) { return pen->Settings.IsVisible; };
    const auto isSeen = [&](const Pen* pen) { return isVisible(pen) && HasData(*pen, frame.Layout); };
    frame.On.setPen(frame.Colours.Dim);
    if (std::none_of(pens.begin(), pens.end(), isVisible))
        frame.On.drawText(frame.Layout.Field, Qt::AlignCenter, QStringLiteral("No item is shown."));
    else if (std::none_of(pens.begin(), pens.end(), isSeen))
        frame.On.drawText(frame.Layout.Field, Qt::AlignCenter, QStringLiteral("No data in this span."));

    QStringList notes;
    if (!frame.Content.Trouble.isEmpty()) notes += frame.Content.Trouble;
    for (const Pen* pen : pens)
        if (isVisible(pen) && !pen->Note.isEmpty()) notes += QString(pen->Settings.Name() % u": " % pen->Note);
    if (notes.size() > qsizetype{MostNotes}) {
        const qsizetype more = notes.size() - qsizetype{MostNotes} + 1;
        notes.resize(qsizetype{MostNotes} - 1);
        notes += QStringLiteral("and %1 more").arg(more);
    }
    if (frame.Layout.LanesLeftOut > 0)
        notes += QStringLiteral("%1 lanes more than there is room for").arg(frame.Layout.LanesLeftOut);
    if (notes.isEmpty()) return;
    const QRectF room = frame.Layout.Field.adjusted(8, 6, -8, -6);
    const int flags = Qt::AlignLeft | (frame.Layout.Plot.isEmpty() ? Qt::AlignBottom : Qt::AlignTop);
    const QRectF place = frame.On.boundingRect(room, flags, notes.join(u'\n'));
    QColor ground = frame.Colours.Paper;
    ground.setAlpha(225);
    frame.On.fillRect(place.adjusted(-4, -3, 4, 3), ground);
    frame.On.setPen(frame.Colours.Ink);
    frame.On.drawText(room, flags, notes.join(u'\n'));
}
