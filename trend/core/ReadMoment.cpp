#include "trend/core/ReadMoment.h"

#include <QDateTime>
#include <QRegularExpression>

#include <array>
#include <cmath>

namespace {

struct Unit
{
    QStringView Name;
    Micros Length;
};

/// A month is 30 days here, a year 365.
constexpr std::array Units = {Unit{u"years", 365 * 86'400 * MicrosASecond},
                              Unit{u"d", 86'400 * MicrosASecond},
                              Unit{u"h", 3600 * MicrosASecond},
                              Unit{u"min", 60 * MicrosASecond},
                              Unit{u"s", MicrosASecond},
                              Unit{u"ms", 1000}};

std::optional<Micros> Bounded(double time)
{
    if (!(time >= static_cast<double>(Span::Earliest) && time <= static_cast<double>(Span::Latest)))
        return std::nullopt;
    return std::llround(time);
}

std::optional<Micros> ReadBefore(const QString& text, Micros now)
{
    static const QRegularExpression Form(QStringLiteral("^([+-])\\s*(\\d{1,9}(?:\\.\\d{1,6})?)\\s*([a-z]+)$"));
    const auto match = Form.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const QString name = match.captured(3);
    const auto unit = std::find_if(Units.begin(), Units.end(), [&](const Unit& candidate) {
        return name == candidate.Name ||
               (name.size() == 1 && candidate.Name != u"ms" && candidate.Name.startsWith(name)) ||
               (candidate.Length > 3600 * MicrosASecond && name == QStringLiteral("days") && candidate.Name == u"d");
    });
    if (unit == Units.end()) return std::nullopt;
    const double length = match.captured(2).toDouble() * static_cast<double>(unit->Length);
    return Bounded(static_cast<double>(now) + (match.captured(1) == QStringLiteral("-") ? -length : length));
}

/// Up to microseconds, which QTime does not know.
std::optional<Micros> ReadClock(const QRegularExpressionMatch& match, QDate date)
{
    const QTime clock(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    if (!date.isValid() || (!clock.isValid() && !match.captured(1).isEmpty())) return std::nullopt;
    const bool isUtc = match.captured(5).compare(u'Z', Qt::CaseInsensitive) == 0;
    const QDateTime moment(date, match.captured(1).isEmpty() ? QTime(0, 0) : clock, isUtc ? Qt::UTC : Qt::LocalTime);
    const double fraction = QStringLiteral("0.%1").arg(match.captured(4)).toDouble();
    return Bounded(static_cast<double>(moment.toSecsSinceEpoch() * MicrosASecond) + fraction * MicrosASecond);
}

} // namespace

std::optional<Micros> ReadMoment(const QString& text, Micros now, Micros reference)
{
    const QString trimmed = text.trimmed().toLower();
    if (trimmed == QStringLiteral("now")) return now;
    if (const auto before = ReadBefore(trimmed, now)) return before;
    const QString clock = QStringLiteral("(\\d{1,2}):(\\d{2})(?::(\\d{2})(?:\\.(\\d{1,6}))?)?\\s*(z)?");
    static const QRegularExpression Clock(u'^' + clock + u'$');
    static const QRegularExpression Date(QStringLiteral("^(?:(?:%1)|)$").arg(clock));
    if (const auto match = Clock.match(trimmed); match.hasMatch())
        return ReadClock(match, QDateTime::fromMSecsSinceEpoch(reference / 1000).date());
    static const QRegularExpression Day(QStringLiteral("^(\\d{3,4})-(\\d{1,2})-(\\d{1,2})(?:[t\\s]\\s*|$)"));
    const auto day = Day.match(trimmed);
    if (!day.hasMatch()) return std::nullopt;
    const QDate date(day.captured(1).toInt(), day.captured(2).toInt(), day.captured(3).toInt());
    const auto match = Date.match(trimmed.mid(day.capturedLength()));
    return match.hasMatch() ? ReadClock(match, date) : std::nullopt;
}
