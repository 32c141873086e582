#include "server/publishing/PublishedValue.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "resulttext/JsonText.h"
#include "velsqllib/TypeCode.h"

#include <QDateTime>
#include <QTimeZone>

namespace {

QString WithoutMeanings(QString name)
{
    for (const QChar character : {QChar(u'+'), QChar(u'#'), QChar(u'\0')}) name.replace(character, u'_');
    return name;
}

/// In UTC, with microseconds.
QString TimeText(TimeStamp time)
{
    using namespace std::chrono;
    const auto milliseconds = floor<std::chrono::milliseconds>(time);
    const auto rest = duration_cast<microseconds>(time - milliseconds).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds.time_since_epoch().count(), Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) +
           QStringLiteral("%1Z").arg(rest, 3, 10, QChar(u'0'));
}

} // namespace

QByteArray TopicFor(const QString& pattern, const QString& controller, const QString& item)
{
    const qsizetype at = pattern.indexOf(QStringLiteral("{controller}"));
    // One after the other would look for "{item}" in the controller's name, too.
    if (at >= 0)
        return TopicFor(pattern.left(at), {}, item) + WithoutMeanings(controller).toUtf8() +
               TopicFor(pattern.mid(at + 12), controller, item);
    return QString(pattern).replace(QStringLiteral("{item}"), WithoutMeanings(item)).toUtf8();
}

QByteArray JsonOf(const RecordedValue& value)
{
    QString out = QStringLiteral("{\"controller\":");
    AppendJsonString(out, value.Controller);
    AppendJsonString(out += QStringLiteral(",\"item\":"), value.Item);
    AppendNestedJson(out += QStringLiteral(",\"value\":"), value.Value);
    AppendJsonString(out += QStringLiteral(",\"type\":"), TypeName(value.Value.Type()).remove(QStringLiteral("VT_")));
    AppendJsonString(out += QStringLiteral(",\"time\":"), TimeText(value.Time));
    out += QStringLiteral(",\"state\":%1}").arg(value.State);
    return out.toUtf8();
}
