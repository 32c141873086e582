#include "item/ItemAccess.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"

#include <optional>

Variant GetElements(VelSQLItem& item, QStringView indexes)
{
    std::array<qint32, 4> parts = {};
    std::size_t given = 0;
    for (const QStringView part : indexes.tokenize(u',')) {
        if (given == parts.size()) throw ValueError::SubscriptOutOfRange();
        parts[given++] = RoundToInt32(ParseLeadingNumber(part));
    }
    return item.get_Elements(parts[0], parts[1], parts[2]);
}

void PutDelayed(VelSQLItem& item, const QString& milliseconds, const Variant& value)
{
    const std::optional<double> number = ParseNumber(milliseconds);
    if (!number) throw ValueError::TypeMismatch();
    item.put_ValueEx(RoundToInt32(*number), value);
}
