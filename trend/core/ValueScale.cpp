#include "trend/core/ValueScale.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double Room = 0.05;
/// Beyond, differences would no longer be numbers.
constexpr double Largest = 1e300;
/// Labels have a power of ten from there on, and below that.
constexpr double LargestPlain = 1e7;
constexpr double SmallestPlain = 1e-3;
/// So many parts of their size values can be apart at least.
constexpr double Finest = 1e-12;

double StepFor(double range, int most)
{
    const double least = range / std::max(most, 1);
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double part : {1.0, 2.0, 5.0}) {
        if (part * power >= least * (1 - 1e-9)) return part * power;
    }
    return 10 * power;
}

/// Decimals, or significant digits of large numbers, that the steps need.
QString LabelOf(double value, double step, double largest)
{
    if (largest >= LargestPlain || (largest < SmallestPlain && step < 1e-6)) {
        const int digits = static_cast<int>(std::floor(std::log10(largest)) - std::floor(std::log10(step) + 1e-9));
        return QString::number(value, 'E', std::clamp(digits, 0, 15));
    }
    const int decimals = static_cast<int>(std::max(0.0, -std::floor(std::log10(step) + 1e-9)));
    return QString::number(value, 'f', decimals);
}

} // namespace

ValueScale ValueScale::Around(const Extreme& extreme, double height)
{
    if (extreme.IsEmpty()) return {0, 1, height};
    const double bottom = std::clamp(extreme.Smallest, -Largest, Largest);
    const double top = std::clamp(extreme.Largest, -Largest, Largest);
    const double size = std::max(std::abs(bottom), std::abs(top));
    const bool isFlat = top - bottom <= Finest * size;
    const double room = isFlat ? (size > 0 ? size / 10 : 1) : (top - bottom) * Room;
    return {bottom - room, top + room, height};
}

double ValueScale::PixelOf(double value) const
{
    const double part = (value - Bottom) / (Top - Bottom);
    return Height - std::clamp(part, -1.0, 2.0) * Height;
}

double ValueScale::ValueAt(double pixel) const
{
    return Bottom + (Height - pixel) / std::max(Height, 1.0) * (Top - Bottom);
}

std::vector<ValueTick> ValueTicks(const ValueScale& scale, int most)
{
    const double range = scale.Top - scale.Bottom;
    if (!(range > 0) || !std::isfinite(range)) return {};
    const double step = StepFor(range, most);
    const double largest = std::max(std::abs(scale.Bottom), std::abs(scale.Top));
    std::vector<ValueTick> ticks;
    const double first = std::ceil(scale.Bottom / step);
    for (int i = 0; i <= most && (first + i) * step <= scale.Top; ++i) {
        const double value = first + i == 0 ? 0.0 : (first + i) * step; // no -0
        ticks.push_back({value, LabelOf(value, step, largest)});
    }
    return ticks;
}
