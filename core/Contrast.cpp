#include "core/Contrast.h"

#include <algorithm>
#include <cmath>

namespace {

double Linear(double channel)
{
    return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour)
{
    return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) + 0.0722 * Linear(colour.blueF());
}

QColor Mixed(const QColor& ground, const QColor& ink, int percent)
{
    const auto mix = [percent](int from, int to) { return from + (to - from) * percent / 100; };
    return {mix(ground.red(), ink.red()), mix(ground.green(), ink.green()), mix(ground.blue(), ink.blue())};
}

} // namespace

double Contrast::Ratio(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor Contrast::Toned(const QColor& ground, const QColor& ink, double ratio)
{
    int least = 0, most = 100;
    while (least < most) {
        const int percent = (least + most) / 2;
        if (Ratio(ground, Mixed(ground, ink, percent)) < ratio) least = percent + 1;
        else most = percent;
    }
    return Mixed(ground, ink, most);
}

bool Contrast::TellsFieldsApart(const QPalette& palette)
{
    return Ratio(palette.color(QPalette::Base), palette.color(QPalette::Button)) >= LeastOfFills;
}
