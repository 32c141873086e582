#include "trend/files/UtcText.h"

#include <QDateTime>
#include <QRegularExpression>

#include <algorithm>

QString MomentToUtc(Micros time)
{
    const Micros shown = std::clamp(time, Span::Earliest, Span::Latest - 1);
    const Micros fraction = (shown % MicrosASecond + MicrosASecond) % MicrosASecond;
    const auto utc = QDateTime::fromSecsSinceEpoch((shown - fraction) / MicrosASecond, Qt::UTC);
    return utc.toString(u"yyyy-MM-ddThh:mm:ss.") + QString::number(fraction).rightJustified(6, u'0') + u'Z';
}

std::optional<Micros> MomentFromUtc(const QString& text)
{
    static const QRegularExpression Form(QStringLiteral("^([^.]{19})(?:\\.(\\d{1,6}))?(Z|[+-]\\d\\d:\\d\\d)$"));
    const auto match = Form.match(text);
    if (!match.hasMatch()) return std::nullopt;
    const auto whole = QDateTime::fromString(QString(match.captured(1) + match.captured(3)), Qt::ISODate);
    const Micros fraction = match.captured(2).leftJustified(6, u'0').toLongLong();
    const Micros time = whole.toSecsSinceEpoch() * MicrosASecond + fraction;
    if (!whole.isValid() || time < Span::Earliest || time >= Span::Latest) return std::nullopt;
    return time;
}
