#include "trend/core/Readings.h"

#include "trend/core/Statistics.h"
#include "trend/core/TimeText.h"

#include <QStringBuilder>

#include <cmath>

namespace {

const QString NoValue = QStringLiteral("-");

Span MeasuredSpan(const View& view)
{
    return view.Marked.value_or(view.Shown);
}

QString UnitPer(const QString& unit, QStringView per)
{
    return unit.isEmpty() ? QString() : QString(unit % per);
}

std::optional<double> NumberAt(const Pen& pen, Micros time)
{
    if (pen.Kind == PenKind::Texts) return std::nullopt;
    return pen.Values.At(time, pen.Kind == PenKind::Boolean ? Drawing::Step : pen.Settings.Drawn);
}

QString ValueAt(const Pen& pen, Micros time)
{
    if (pen.Kind == PenKind::Texts) return pen.Texts.At(time).value_or(Marks::Mark{0, NoValue}).Text;
    const auto value = NumberAt(pen, time);
    if (!value) return NoValue;
    if (pen.Kind == PenKind::Boolean) return *value != 0 ? QStringLiteral("True") : QStringLiteral("False");
    return FigureText(*value, pen.Settings.Unit);
}

/// How far it is from one cursor to the other, in all and a second.
QStringList DifferenceOf(const Pen& pen, Micros from, Micros to)
{
    const auto first = NumberAt(pen, from);
    const auto second = NumberAt(pen, to);
    if (!first || !second || pen.Kind != PenKind::Numbers) return {NoValue, NoValue};
    const double seconds = static_cast<double>(to - from) / static_cast<double>(MicrosASecond);
    const double difference = *second - *first;
    const QString& unit = pen.Settings.Unit;
    return {FigureText(difference, unit),
            seconds == 0 ? NoValue : FigureText(difference / seconds, UnitPer(unit, u"/s"))};
}

/// Nothing where it is only what rounding has left of values of this size.
double WithoutRounding(double value, const Extreme& values)
{
    const double size = std::max(std::abs(values.Smallest), std::abs(values.Largest));
    return std::abs(value) < 1e-13 * size ? 0 : value;
}

QStringList FiguresOf(const Pen& pen, const Span& span)
{
    const Drawing drawing = pen.Kind == PenKind::Boolean ? Drawing::Step : pen.Settings.Drawn;
    const auto figures = StatisticsOf(pen.Values, span, drawing);
    if (!figures) return {NoValue, NoValue, NoValue, NoValue, NoValue, NoValue, NoValue};
    const QString& unit = pen.Settings.Unit;
    const double covered = 100.0 * static_cast<double>(figures->Covered) / static_cast<double>(span.Length());
    return {FigureText(figures->Values.Smallest, unit),
            FigureText(figures->Values.Largest, unit),
            FigureText(figures->Mean, unit),
            FigureText(figures->Spread, unit),
            FigureText(figures->Integral, unit.isEmpty() ? QStringLiteral("s") : UnitPer(unit, u"·s")),
            FigureText(WithoutRounding(figures->Rate, figures->Values), UnitPer(unit, u"/s")),
            QString::number(covered, 'f', 1) % u" %"};
}

void AddCrossings(Readings& readings, std::size_t number, const Pen& pen, double limit, const Span& span)
{
    const QString text = FigureText(limit, pen.Settings.Unit);
    const std::vector<Micros> times = CrossingsOf(pen.Values, span, pen.Settings.Drawn, limit);
    if (times.empty()) readings.Rows.push_back({number, {text, QStringLiteral("not crossed"), {}, {}}});
    std::optional<Micros> before;
    for (const Micros time : times) {
        const double after = pen.Values.At(time + 1, pen.Settings.Drawn).value_or(limit);
        const QString way = after > limit ? QStringLiteral("rising") : QStringLiteral("falling");
        const QString since = before ? DurationText(time - *before) : QString();
        readings.Rows.push_back({number, {text, MomentText(time, DecimalsFor(span)), way, since}});
        before = time;
    }
}

} // namespace

QString FigureText(double value, const QString& unit)
{
    constexpr int Digits = 8;
    const QString number = QString::number(value == 0 ? 0.0 : value, 'g', Digits); // no -0
    return unit.isEmpty() ? number : QString(number % u' ' % unit);
}

Readings CursorReadings(const View& view, std::span<const Pen* const> pens)
{
    const auto& [first, second] = view.Cursors;
    Readings readings;
    const int decimals = DecimalsFor(view.Shown);
    if (first) readings.Columns += u"1: " % MomentText(*first, decimals);
    if (second) readings.Columns += u"2: " % MomentText(*second, decimals);
    if (first && second)
        readings.Columns += {QString(u"Difference in " % DurationText(*second - *first)), QStringLiteral("Per second")};
    for (std::size_t i = 0; i < pens.size() && !readings.Columns.isEmpty(); ++i) {
        if (!pens[i]->Settings.IsVisible) continue;
        QStringList cells;
        for (const auto& cursor : view.Cursors)
            if (cursor) cells += ValueAt(*pens[i], *cursor);
        if (first && second) cells += DifferenceOf(*pens[i], *first, *second);
        readings.Rows.push_back({i, cells});
    }
    return readings;
}

Readings SpanReadings(const View& view, std::span<const Pen* const> pens)
{
    Readings readings;
    readings.Columns = {QStringLiteral("Smallest"), QStringLiteral("Largest"),  QStringLiteral("Mean"),
                        QStringLiteral("Spread"),   QStringLiteral("Integral"), QStringLiteral("Rate"),
                        QStringLiteral("Covered")};
    for (std::size_t i = 0; i < pens.size(); ++i)
        if (pens[i]->Settings.IsVisible && pens[i]->Kind != PenKind::Texts)
            readings.Rows.push_back({i, FiguresOf(*pens[i], MeasuredSpan(view))});
    return readings;
}

Readings LimitReadings(const View& view, std::span<const Pen* const> pens)
{
    Readings readings;
    readings.Columns = {QStringLiteral("Limit"), QStringLiteral("Crossed at"), QStringLiteral("Direction"),
                        QStringLiteral("Since the one before")};
    for (std::size_t i = 0; i < pens.size(); ++i) {
        if (!pens[i]->Settings.IsVisible || pens[i]->Kind != PenKind::Numbers) continue;
        for (const double limit : pens[i]->Settings.Limits)
            AddCrossings(readings, i, *pens[i], limit, MeasuredSpan(view));
    }
    return readings;
}
