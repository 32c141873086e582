#include "server/reading/ReadRequest.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "server/plant/DurationText.h"
#include "server/plant/Plant.h"

#include <QRegularExpression>

namespace {

constexpr qsizetype MostShown = 5;

template <typename Action>
auto Argument(const char16_t* name, Action action)
{
    try {
        return action();
    } catch (const ValueError& error) {
        throw ValueError(QStringLiteral("%1: %2").arg(QStringView(name), error.Description()));
    }
}

QStringList TextsOf(const Variant& value)
{
    if (const QString* text = value.GetIf<QString>()) return {*text};
    QStringList texts;
    for (qsizetype i = 0; i < value.Array().Count(); ++i) texts.append(value.Array().At(i).Get<QString>());
    return texts;
}

/// Names may contain backslashes: the plant says which one is meant, the first one if it knows none of them.
ItemPath PathOf(const Plant& plant, const QString& text)
{
    std::optional<ItemPath> path;
    for (qsizetype at = text.indexOf(u'\\'); at >= 0; at = text.indexOf(u'\\', at + 1)) {
        const ItemPath candidate{text.left(at), text.mid(at + 1)};
        const PlantControllerRef controller = plant.Find(candidate.Controller);
        if (controller && controller->Find(candidate.Item)) return candidate;
        if (!path) path = candidate;
    }
    if (!path) throw ValueError(QStringLiteral("\"%1\" is not an item such as PLC1\\D100").arg(text));
    return *path;
}

QList<ItemPath> PathsOf(const Plant& plant, const Variant& items)
{
    QList<ItemPath> paths;
    for (const QString& text : TextsOf(items)) paths.append(PathOf(plant, text));
    if (!paths.isEmpty() && paths.size() <= ReadRequest::MostItems) return paths;
    throw ValueError(
        QStringLiteral("1 to %1 can be read together, not %2").arg(ReadRequest::MostItems).arg(paths.size()));
}

Micros IntervalOf(const Variant& interval, Micros span)
{
    const QString* text = interval.GetIf<QString>();
    const Micros length = text ? ReadDuration(*text).count() : ToMicros(interval).value_or(0);
    if (length < 0) throw ValueError(QStringLiteral("it must not be negative"));
    if (length == 0 || length > span) return span;
    if ((span - 1) / length + 1 <= ProcessedRequest::MostIntervals) return length;
    throw ValueError(QStringLiteral("the span has more than %1 of them").arg(ProcessedRequest::MostIntervals));
}

QList<const Aggregate*> AggregatesOf(const Variant& names)
{
    QList<const Aggregate*> aggregates;
    const QStringList asked = TextsOf(names);
    for (const QString& name : asked == QStringList(QStringLiteral("All")) ? AggregateNames() : asked) {
        const Aggregate* aggregate = FindAggregate(name);
        if (!aggregate)
            throw ValueError(
                QStringLiteral("\"%1\" is none of All, %2").arg(name, AggregateNames().join(QStringLiteral(", "))));
        aggregates.append(aggregate);
    }
    if (aggregates.isEmpty()) throw ValueError(QStringLiteral("none is named"));
    return aggregates;
}

} // namespace

ReadRequest::ReadRequest(const Plant& plant, const Variant& items, const Variant& from, const Variant& to)
    : Items(Argument(u"items", [&] { return PathsOf(plant, items); }))
    , From(Argument(u"from", [&] { return ToMicros(from); }))
    , To(Argument(u"to", [&] { return ToMicros(to); }))
{
}

QString ReadRequest::Text(QStringView operation) const
{
    QStringList names;
    for (const ItemPath& item : Items.first(std::min(Items.size(), MostShown))) names.append(item.Text());
    if (Items.size() > MostShown) names.append(QStringLiteral("..."));
    return QStringLiteral("%1 %2").arg(operation, names.join(QStringLiteral(", ")));
}

RawRequest::RawRequest(ReadRequest read, bool bounds, qint32 atMost, const QString& continuing)
    : ReadRequest(std::move(read))
    , Bounds(bounds)
    , AtMost(atMost)
{
    if (AtMost < 0) throw ValueError(QStringLiteral("atMost: it must not be negative"));
    if (continuing.isEmpty()) return;
    static const QRegularExpression form(QStringLiteral("^(-?\\d{1,17})\\+(\\d{1,9})$"));
    const auto match = form.match(continuing);
    if (!match.hasMatch() || Items.size() != 1)
        throw ValueError(QStringLiteral("continuing: it is what the answer for this one item ended with"));
    const bool isBackwards = IsBackwards();
    From = match.captured(1).toLongLong();
    Skipped = match.captured(2).toLongLong();
    IsContinued = true;
    if (isBackwards && !To) To = std::numeric_limits<Micros>::min();
}

ProcessedRequest::ProcessedRequest(ReadRequest read, const Variant& interval, const Variant& aggregates)
    : ReadRequest(std::move(read))
{
    using namespace std::chrono;
    if (!To) To = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    if (!From) throw ValueError(QStringLiteral("from: it is missing"));
    if (*From >= *To) throw ValueError(QStringLiteral("to: it must lie behind the beginning"));
    Interval = Argument(u"interval", [&] { return IntervalOf(interval, *To - *From); });
    Aggregates = Argument(u"aggregates", [&] { return AggregatesOf(aggregates); });
}
