#include "trend/picture/PictureColours.h"

#include "core/Contrast.h"

namespace {

/// Thin lines need less than texts do, and the palette's colours shall stay what they are on white.
constexpr double LeastOfPens = 2.2;
constexpr double LeastOfGrid = 1.2;

QColor Mixed(const QColor& ground, const QColor& ink, double share)
{
    const auto mix = [share](int from, int to) { return static_cast<int>(from + (to - from) * share); };
    return {mix(ground.red(), ink.red()), mix(ground.green(), ink.green()), mix(ground.blue(), ink.blue())};
}

QColor StandingOut(const PictureColours& colours, quint32 colour, double least)
{
    const QColor chosen = QColor::fromRgb(colour);
    QColor readable = chosen;
    for (double share = 0.1; share < 1 && Contrast::Ratio(colours.Paper, readable) < least; share += 0.1)
        readable = Mixed(chosen, colours.Ink, share);
    return readable;
}

QColor Transparent(QColor colour, int alpha)
{
    colour.setAlpha(alpha);
    return colour;
}

} // namespace

PictureColours::PictureColours(const QColor& paper, const QColor& ink)
    : Paper(paper)
    , Ink(ink)
    , Dim(Contrast::Toned(paper, ink, Contrast::LeastOfTexts))
    , Grid(Contrast::Toned(paper, ink, LeastOfGrid))
    , Frame(Contrast::Toned(paper, ink, Contrast::LeastOfFills))
    , Marked(Transparent(ink, 32))
{
}

QColor PictureColours::OfPen(quint32 colour) const
{
    return StandingOut(*this, colour, LeastOfPens);
}

QColor PictureColours::OfText(quint32 colour) const
{
    return StandingOut(*this, colour, Contrast::LeastOfTexts);
}

QColor PictureColours::OfPen(const Pen& pen) const
{
    const QColor colour = OfPen(pen.Settings.Colour);
    return pen.IsOld ? Mixed(Paper, colour, 0.5) : colour;
}
