#include "trend/data/Reading.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/ValueTypes.h"
#include "velsqllib/ValueText.h"

#include <cmath>

namespace {

constexpr qsizetype LongestText = 200;
constexpr qsizetype LongestUnit = 12;

QString Shown(QString text)
{
    if (text.size() > LongestText) text = text.left(LongestText) + QChar(u'\x2026');
    for (QChar& character : text) {
        if (character.category() == QChar::Other_Control) character = u' ';
    }
    return text;
}

QString TextOf(const Variant& value)
{
    try {
        if (value.IsEmpty()) return QStringLiteral("(EMPTY)");
        if (value.IsNull()) return QStringLiteral("(NULL)");
        return Shown(value.IsArray() ? WriteValueText(value) : ToPlainText(value));
    } catch (const ValueError&) {
        return QStringLiteral("(object)");
    }
}

} // namespace

Reading ReadingOf(const Variant& value)
{
    Reading reading;
    if (const bool* isOn = value.GetIf<bool>()) {
        reading.Kind = PenKind::Boolean;
        reading.Number = *isOn ? 1 : 0; // as the history has it, and not automation's -1
    } else if (const auto number = value.GetIf<Date>() ? std::nullopt : NumberIn(value)) {
        reading.Kind = PenKind::Numbers;
        if (std::isfinite(*number)) reading.Number = *number;
    } else if (!value.IsEmpty() && !value.IsNull()) {
        reading.Kind = PenKind::Texts;
    }
    reading.Text = TextOf(value);
    return reading;
}

QString UnitOf(const Variant& tag, const QString& item)
{
    const QString* text = tag.GetIf<QString>();
    if (!text || text->size() > LongestUnit || item.endsWith(*text)) return {};
    QString dotted = item;
    return *text == dotted.replace(u'\\', u'.') ? QString() : Shown(*text).trimmed();
}

std::optional<PenSettings> PenOf(const QString& name)
{
    const qsizetype end = name.indexOf(u'\\');
    if (end <= 0 || end + 1 == name.size()) return std::nullopt;
    PenSettings settings;
    settings.Controller = name.left(end);
    settings.Item = name.mid(end + 1);
    return settings;
}

Micros AsIfUtc(Date date)
{
    constexpr double DaysUntil1970 = 25569;
    constexpr double SecondsADay = 86400;
    if (!(std::abs(date.Days) < 3e6)) return 0;
    return std::llround((date.Days - DaysUntil1970) * SecondsADay) * MicrosASecond;
}
