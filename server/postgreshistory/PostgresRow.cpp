#include "server/postgreshistory/PostgresRow.h"

#include "server/database/SqlValue.h"
#include "server/postgreshistory/LocalTime.h"

#include <cmath>
#include <QLocale>

namespace {

std::optional<double> NumberSaidBy(const QString& text)
{
    const QString trimmed = text.trimmed();
    const bool canBe = !trimmed.isEmpty() && (trimmed.back().isDigit() || trimmed.back() == u'.');
    bool isNumber = false;
    const double number = canBe ? trimmed.toDouble(&isNumber) : 0.0;
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<double> NumberOf(const QVariant& value)
{
    if (value.typeId() == QMetaType::QString) return NumberSaidBy(value.toString());
    const double number = value.toDouble();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

} // namespace

PostgresRow::PostgresRow(const RecordedValue& value, qint64 local)
    : Controller(value.Controller)
    , Item(value.Item)
    , Local(local)
    , Utc(LocalTime::Microseconds(value.Time))
    , State(value.State)
{
    const QVariant recorded = ToSql(value.Value);
    if (recorded.isNull()) return;
    Value = recorded.toString();
    Number = NumberOf(recorded);
}

QString SpelledNumber(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}
