#include "trend/picture/Legend.h"

#include "trend/core/TimeText.h"

#include <QPainter>
#include <QStringBuilder>

namespace {

constexpr double Swatch = 14;
constexpr double Gap = 6;
constexpr double MostOfWidth = 0.45;

struct Entry
{
    QRectF Place; ///< from the legend's corner
    QString Text;
    const Pen* Of = nullptr; ///< null for the line that says the time
};

QString TextOf(const Pen& pen)
{
    const PenSettings& settings = pen.Settings;
    return settings.Unit.isEmpty() ? settings.Name() : settings.Name() % u" [" % settings.Unit % u"]";
}

std::vector<Entry> EntriesOf(const PictureContent& content, double width, const QFontMetricsF& font)
{
    const double line = font.height() + 2;
    std::vector<Entry> entries{{{Gap, Gap, width - 2 * Gap, line}, SpanText(content.Of.Shown.Bounded())}};
    QPointF at(Gap, Gap + line);
    for (const Pen* pen : content.Pens) {
        if (!pen->Settings.IsVisible) continue;
        const QString text = font.elidedText(TextOf(*pen), Qt::ElideMiddle, width * MostOfWidth);
        const double length = Swatch + Gap + font.horizontalAdvance(text) + 1;
        if (at.x() > Gap && at.x() + length > width - Gap) at = {Gap, at.y() + line};
        entries.push_back({{at.x(), at.y(), length, line}, text, pen});
        at.rx() += length + 2 * Gap;
    }
    return entries;
}

} // namespace

double LegendHeight(const PictureContent& content, double width, const QFontMetricsF& font)
{
    return EntriesOf(content, width, font).back().Place.bottom() + Gap;
}

void PaintLegend(QPainter& painter, const PictureContent& content, const QRectF& place, const PictureColours& colours)
{
    for (const Entry& entry : EntriesOf(content, place.width(), QFontMetricsF(painter.font(), painter.device()))) {
        QRectF at = entry.Place.translated(place.topLeft());
        if (entry.Of) {
            painter.fillRect(QRectF(at.left(), at.center().y() - 2, Swatch, 4), colours.OfPen(*entry.Of));
            at.adjust(Swatch + Gap, 0, 0, 0);
        }
        painter.setPen(colours.Ink);
        painter.drawText(at, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, entry.Text);
    }
}
