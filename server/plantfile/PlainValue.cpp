#include "server/plantfile/PlainValue.h"

#include "core/automation/NumberText.h"
#include "velsqllib/DateText.h"

#include <cmath>
#include <limits>
#include <QDateTime>

namespace {

QString Spelled(const toml::date& date)
{
    return QStringLiteral("%1-%2-%3")
        .arg(date.year, 4, 10, QChar(u'0'))
        .arg(date.month, 2, 10, QChar(u'0'))
        .arg(date.day, 2, 10, QChar(u'0'));
}

QString Spelled(const toml::time& time)
{
    const QTime second(time.hour, time.minute, time.second);
    return second.toString(u"hh:mm:ss.") + QString::number(time.nanosecond).rightJustified(9, u'0');
}

/// In local time, as the server's dates are.
QString Spelled(const toml::date_time& time)
{
    if (!time.offset) return Spelled(time.date) + u' ' + Spelled(time.time);
    const QDateTime utc(QDate(time.date.year, time.date.month, time.date.day),
                        QTime(time.time.hour, time.time.minute, time.time.second), Qt::UTC);
    const QDateTime local = utc.addSecs(-60 * time.offset->minutes).toLocalTime();
    return local.toString(u"yyyy-MM-dd ") +
           Spelled(toml::time{static_cast<uint8_t>(local.time().hour()), static_cast<uint8_t>(local.time().minute()),
                              static_cast<uint8_t>(local.time().second()), time.time.nanosecond});
}

} // namespace

Variant IntegerToVariant(std::int64_t number)
{
    const bool fits = number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    return fits ? Variant(static_cast<qint32>(number)) : Variant(static_cast<double>(number));
}

Variant TimeToVariant(const toml::node& node)
{
    if (const auto* date = node.as_date()) return ReadDate(Spelled(date->get()));
    if (const auto* time = node.as_time()) return ReadDate(Spelled(time->get()));
    return ReadDate(Spelled(node.as_date_time()->get()));
}

std::optional<Variant> NumberInCell(const QString& text)
{
    bool isInteger = false;
    const qint64 integer = text.toLongLong(&isInteger);
    if (isInteger && QString::number(integer) == text) return IntegerToVariant(integer);
    const auto number = ParseNumber(text);
    if (number && std::isfinite(*number) && FormatDouble(*number) == text) return *number;
    return std::nullopt;
}

template <>
std::optional<bool> ParseCell(const QString& text)
{
    for (const bool flag : {false, true}) {
        if (text.compare(flag ? u"true" : u"false", Qt::CaseInsensitive) == 0) return flag;
    }
    return std::nullopt;
}

template <>
std::optional<std::int64_t> ParseCell(const QString& text)
{
    bool isInteger = false;
    const std::int64_t integer = text.toLongLong(&isInteger);
    return isInteger ? std::optional(integer) : std::nullopt;
}

template <>
std::optional<double> ParseCell(const QString& text)
{
    return ParseNumber(text);
}
