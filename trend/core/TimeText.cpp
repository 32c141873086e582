#include "trend/core/TimeText.h"

#include <QDateTime>
#include <QStringBuilder>
#include <QStringList>

#include <array>

namespace {

constexpr Micros Minute = 60 * MicrosASecond;
constexpr Micros Hour = 60 * Minute;
constexpr Micros Day = 24 * Hour;

Micros FractionOf(Micros time)
{
    return (time % MicrosASecond + MicrosASecond) % MicrosASecond;
}

/// "3.25": seconds with as many decimals as they have.
QString SecondsText(Micros duration)
{
    QString text = QString::number(duration / MicrosASecond);
    if (const Micros fraction = duration % MicrosASecond) {
        text += u'.' + QString::number(fraction).rightJustified(6, u'0');
        while (text.endsWith(u'0')) text.chop(1);
    }
    return text % u" s";
}

} // namespace

QString MomentText(Micros time, int decimals)
{
    const Micros fraction = FractionOf(time);
    const auto local = QDateTime::fromSecsSinceEpoch((time - fraction) / MicrosASecond);
    const int needed = fraction == 0 ? 0 : fraction % 1000 == 0 ? 3 : 6;
    const int shown = std::max(decimals, needed);
    const QString text = local.toString(u"yyyy-MM-dd hh:mm:ss");
    return shown == 0 ? text : text + u'.' + QString::number(fraction).rightJustified(6, u'0').first(shown);
}

int DecimalsFor(const Span& shown)
{
    constexpr Micros Pixels = 1000;
    const Micros pixel = shown.Length() / Pixels;
    return pixel >= MicrosASecond ? 0 : pixel >= 1000 ? 3 : 6;
}

QString DurationText(Micros duration)
{
    if (duration < 0) return u'-' + DurationText(-duration);
    if (duration < 1000) return QString::number(duration) + QStringLiteral(" µs");
    if (duration < Minute) return SecondsText(duration);
    struct Unit
    {
        Micros Length;
        QStringView Name;
    };
    constexpr std::array<Unit, 3> Units = {{{Day, u" d"}, {Hour, u" h"}, {Minute, u" min"}}};
    QStringList parts;
    for (const Unit& unit : Units) {
        if (duration >= unit.Length) parts += QString::number(duration / unit.Length) % unit.Name;
        duration %= unit.Length;
    }
    if (duration > 0 && parts.size() < 3) parts += SecondsText(duration);
    return parts.join(u' ');
}

QString SpanText(const Span& span)
{
    const int decimals = DecimalsFor(span);
    constexpr int DateLength = 11; // "2026-11-22 "
    const QString from = MomentText(span.From, decimals);
    const QString to = MomentText(span.To, decimals);
    return from % u" - " % (from.first(DateLength) == to.first(DateLength) ? to.mid(DateLength) : to);
}
