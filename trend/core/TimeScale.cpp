#include "trend/core/TimeScale.h"

#include <QDateTime>
#include <QTimeZone>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr Micros Minute = 60 * MicrosASecond;
constexpr Micros Hour = 60 * Minute;
constexpr Micros Day = 24 * Hour;

/// From tick to tick: an equal time up to a day, else so many days, months or
/// years of the calendar.
struct Step
{
    enum Unit
    {
        Time,
        Days,
        Months
    };

    Unit Of = Time;
    qint64 Count = 1; ///< microseconds, days or months

    double Length() const
    {
        constexpr double DaysAMonth = 30.44;
        const double one = Of == Time ? 1 : static_cast<double>(Day) * (Of == Days ? 1 : DaysAMonth);
        return one * static_cast<double>(Count);
    }
};

constexpr std::array<Micros, 25> ShortSteps = {
    100,     200,        500,        1000,        2000,        5000,        10'000,     20'000,     50'000,
    100'000, 200'000,    500'000,    1'000'000,   2'000'000,   5'000'000,   10'000'000, 15'000'000, 30'000'000,
    Minute,  2 * Minute, 5 * Minute, 10 * Minute, 15 * Minute, 30 * Minute, Hour};

constexpr std::array<Step, 18> LongSteps = {{{Step::Time, 2 * Hour},
                                             {Step::Time, 3 * Hour},
                                             {Step::Time, 6 * Hour},
                                             {Step::Time, 12 * Hour},
                                             {Step::Days, 1},
                                             {Step::Days, 2},
                                             {Step::Days, 7},
                                             {Step::Months, 1},
                                             {Step::Months, 3},
                                             {Step::Months, 6},
                                             {Step::Months, 12},
                                             {Step::Months, 24},
                                             {Step::Months, 60},
                                             {Step::Months, 120},
                                             {Step::Months, 240},
                                             {Step::Months, 600},
                                             {Step::Months, 1200},
                                             {Step::Months, 12'000}}};

Step StepFor(const Span& span, int most)
{
    const double least = static_cast<double>(span.Length()) / std::max(most, 1);
    const auto near = std::lower_bound(ShortSteps.begin(), ShortSteps.end(), least,
                                       [](Micros step, double wanted) { return static_cast<double>(step) < wanted; });
    if (near != ShortSteps.end()) return {Step::Time, *near};
    const auto far =
        std::find_if(LongSteps.begin(), LongSteps.end(), [&](const Step& step) { return step.Length() >= least; });
    return far == LongSteps.end() ? LongSteps.back() : *far;
}

Micros FloorTo(Micros time, Micros step)
{
    return time - (time % step + step) % step;
}

QDateTime LocalAt(Micros time)
{
    return QDateTime::fromMSecsSinceEpoch(FloorTo(time, 1000) / 1000);
}

Micros OffsetAt(Micros time)
{
    return LocalAt(time).offsetFromUtc() * MicrosASecond;
}

/// A day's beginning; some begin later than at midnight.
Micros BeginOf(QDate day)
{
    return day.startOfDay().toMSecsSinceEpoch() * 1000;
}

bool IsShownAs(Micros time, Micros multipleOf)
{
    return FloorTo(time + OffsetAt(time), multipleOf) == time + OffsetAt(time);
}

/// The next moment at which the clock shows a multiple of `step`; each of them
/// if the clock shows it twice and the step is an hour at most.
Micros NextShown(Micros time, Micros step)
{
    if (step <= Hour && IsShownAs(time + step, step)) return time + step;
    Micros shown = FloorTo(time + OffsetAt(time), step);
    for (;;) {
        shown += step;
        for (const Micros offset : {OffsetAt(time), OffsetAt(time + step + Hour)}) {
            const Micros next = shown - offset;
            if (next > time && next + OffsetAt(next) == shown) return next;
        }
    }
}

std::vector<Micros> TimesWithin(const Span& span, Micros step)
{
    std::vector<Micros> times;
    Micros time = span.From;
    if (!IsShownAs(time, step)) time = NextShown(FloorTo(time + OffsetAt(time), step) - OffsetAt(time), step);
    for (; time < span.To; time = NextShown(time, step)) {
        if (time >= span.From) times.push_back(time);
    }
    return times;
}

/// The first day that the clock shows as a multiple of the step, and those
/// after it.
QDate DayOf(qint64 number, const Step& step)
{
    if (step.Of == Step::Days) return QDate::fromJulianDay(number * step.Count);
    const qint64 month = number * step.Count;
    return QDate(static_cast<int>(month / 12), static_cast<int>(month % 12) + 1,
                 1); // invalid in the year 0
}

std::vector<Micros> DaysWithin(const Span& span, const Step& step)
{
    std::vector<Micros> times;
    const QDate first = LocalAt(span.From).date();
    const qint64 counted = step.Of == Step::Days ? first.toJulianDay() : qint64{first.year()} * 12 + first.month() - 1;
    for (qint64 number = counted / step.Count;; ++number) {
        const QDate day = DayOf(number, step);
        if (!day.isValid()) continue;
        const Micros time = BeginOf(day);
        if (time >= span.To) return times;
        if (time >= span.From) times.push_back(time);
    }
}

QString SecondText(Micros time, Micros step)
{
    const QString text = LocalAt(time).toString(u"hh:mm:ss");
    if (step >= MicrosASecond) return text;
    const int digits = step >= 100'000 ? 1 : step >= 10'000 ? 2 : step >= 1000 ? 3 : 4;
    const Micros fraction = time - FloorTo(time, MicrosASecond);
    return text + u'.' + QString::number(fraction).rightJustified(6, u'0').first(digits);
}

/// The clock shows this a second time.
bool IsRepeated(Micros time)
{
    const Micros change = OffsetAt(time - Day / 8) - OffsetAt(time);
    return change > 0 && OffsetAt(time - change) == OffsetAt(time) + change;
}

QString LabelOf(Micros time, const Step& step)
{
    const QDateTime local = LocalAt(time);
    if (step.Of == Step::Days) return local.toString(u"dd.");
    if (step.Of == Step::Months) return local.toString(step.Count < 12 ? u"yyyy-MM" : u"yyyy");
    QString label = step.Count < Minute ? SecondText(time, step.Count) : local.toString(u"hh:mm");
    return IsRepeated(time) ? label + u' ' + local.timeZoneAbbreviation() : label;
}

/// What the label leaves out.
QString ContextOf(Micros time, const Step& step)
{
    if (step.Of == Step::Months) return {};
    return LocalAt(time).toString(step.Of == Step::Days ? u"yyyy-MM" : u"yyyy-MM-dd");
}

} // namespace

Micros TimeScale::TimeAt(double pixel) const
{
    const double part = std::clamp(pixel / std::max(Width, 1.0), -1e3, 1e3);
    return Shown.From + static_cast<Micros>(std::floor(part * static_cast<double>(Shown.Length())));
}

std::vector<TimeTick> TimeTicks(const Span& span, int most)
{
    const Step step = StepFor(span, most);
    std::vector<TimeTick> ticks;
    QString context;
    for (const Micros time : step.Of == Step::Time ? TimesWithin(span, step.Count) : DaysWithin(span, step)) {
        const QString own = ContextOf(time, step);
        ticks.push_back({time, LabelOf(time, step), own == context ? QString() : own});
        context = own;
    }
    return ticks;
}
