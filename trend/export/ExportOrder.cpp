#include "trend/export/ExportOrder.h"

#include "core/automation/ValueTypes.h"

#include <algorithm>

namespace {

void TakeNumbers(ExportedPen& to, const Pen& pen, const Span& heard)
{
    const Series& values = pen.Values;
    const auto cell = [&](std::size_t i) { return CellOf(Variant(values.ValueAt(i)), true, pen.Kind); };
    const std::size_t begin = values.Find(heard.From);
    if (begin > 0) to.Held = cell(begin - 1);
    for (std::size_t i = begin; i < values.Find(heard.To, i); ++i) to.Heard.push_back({values.TimeAt(i), cell(i)});
}

void TakeTexts(ExportedPen& to, const Pen& pen, const Span& heard)
{
    if (const auto held = pen.Texts.At(heard.From - 1)) to.Held = Variant(held->Text);
    for (const Marks::Mark& mark : pen.Texts.Within(heard)) to.Heard.push_back({mark.Time, Variant(mark.Text)});
}

ExportedPen Exported(const Pen& pen, const Span& known, const Span& of)
{
    ExportedPen exported{.Settings = pen.Settings, .Kind = pen.Kind};
    const Span heard{std::max(known.From, of.From), std::min(known.To, of.To)};
    if (heard.Length() <= 0) return exported;
    if (pen.Kind == PenKind::Texts) TakeTexts(exported, pen, heard);
    else TakeNumbers(exported, pen, heard);
    if (known.From >= of.From) exported.Held = Variant();
    return exported;
}

} // namespace

Variant CellOf(const Variant& value, bool isGood, PenKind kind)
{
    if (!isGood || value.IsEmpty() || value.IsNull()) return Variant(std::numeric_limits<double>::quiet_NaN());
    const auto number = NumberIn(value);
    return kind == PenKind::Boolean && number && *number == *number ? Variant(*number != 0) : value;
}

ExportOrder OrderOf(const TrendData& data, const Span& shown, const QString& path)
{
    ExportOrder order{.Path = path, .Of = shown, .Now = data.Now()};
    order.Of.To = std::max(order.Of.From, std::min(shown.To, order.Now));
    for (const auto& pen : data.Pens())
        if (pen->Settings.IsVisible) order.Pens.push_back(Exported(*pen, data.Heard(*pen), order.Of));
    return order;
}
