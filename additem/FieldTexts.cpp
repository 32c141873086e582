#include "additem/FieldTexts.h"

#include "core/automation/Errors.h"
#include "core/automation/ItemDefinition.h"
#include "core/automation/NumberText.h"
#include "core/modFields.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

QString NameComplaint(const QString& name)
{
    const auto isForbidden = [](QChar c) { return ForbiddenInNames.contains(c); };
    if (std::any_of(name.begin(), name.end(), isForbidden))
        return u"Those characters \"%1\" cannot be used as an item name or a controller name."_s.arg(ForbiddenInNames);
    if (IsNumeric(name)) return u"The name only of the numerical value cannot be used."_s;
    return {};
}

std::optional<QString> Int32Text(const QString& text)
{
    QString normalized = text.isEmpty() ? u"0"_s : text;
    try {
        return modMain::NormalizeIntegerText(normalized) ? std::optional(normalized) : std::nullopt;
    } catch (const ValueError&) {
        return u"0"_s; // beyond 32 bits
    }
}

std::optional<QString> SingleText(const QString& text)
{
    if (text.isEmpty()) return u"0"_s;
    const std::optional<float> number = ParseSingle(text);
    if (!number) return std::nullopt;
    return std::isfinite(*number) ? FormatSingle(*number + 0.0F) : u"0"_s; // turns -0 into 0
}
