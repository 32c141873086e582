#include "server/plant/DurationText.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"

#include <array>
#include <cmath>

namespace {

struct Unit
{
    QStringView Name;
    double Microseconds;
};

constexpr double Second = 1e6;
constexpr double Day = 86'400 * Second;
constexpr double Year = 365 * Day;

constexpr std::array<Unit, 10> Units = {{{u"ms", 1e3},
                                         {u"s", Second},
                                         {u"second", Second},
                                         {u"min", 60 * Second},
                                         {u"minute", 60 * Second},
                                         {u"h", 3600 * Second},
                                         {u"hour", 3600 * Second},
                                         {u"day", Day},
                                         {u"week", 7 * Day},
                                         {u"year", Year}}};

/// 0 when there is no such unit.
double MicrosecondsOf(QStringView name)
{
    for (const Unit& unit : Units) {
        const bool isPlural =
            unit.Name.size() > 2 && unit.Name != u"min" && name.chopped(name.endsWith(u's') ? 1 : 0) == unit.Name;
        if (name == unit.Name || isPlural) return unit.Microseconds;
    }
    return 0;
}

} // namespace

std::chrono::microseconds ReadDuration(QStringView text)
{
    const QStringView whole = WithoutOuterBlanks(text);
    const qsizetype digits = NumberLength(whole);
    const double number = ParseNumber(whole.first(digits)).value_or(0);
    const double length = number * MicrosecondsOf(WithoutOuterBlanks(whole.sliced(digits)));
    if (length >= 0.5 && length <= 1000 * Year) return std::chrono::microseconds(std::llround(length));
    throw ValueError(QStringLiteral("\"%1\" is not a length of time such as 10 min").arg(text));
}
