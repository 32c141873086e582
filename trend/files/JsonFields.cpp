#include "trend/files/JsonFields.h"

#include "core/automation/Errors.h"
#include "trend/files/UtcText.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QStringBuilder>

#include <cmath>

JsonFields::JsonFields(const QJsonValue& value, QString where)
    : m_Object(value.toObject())
    , m_Where(std::move(where))
{
    if (!value.isObject()) throw DescribedError(m_Where % u" must be an object.");
}

QJsonValue JsonFields::Value(const QString& key)
{
    m_Asked.insert(key);
    const QJsonValue value = m_Object.value(key);
    return value.isNull() ? QJsonValue(QJsonValue::Undefined) : value;
}

QString JsonFields::Text(const QString& key, const QString& otherwise)
{
    const QJsonValue value = Value(key);
    if (!value.isUndefined() && !value.isString()) Refuse(key, QStringLiteral("must be a text"));
    return value.toString(otherwise);
}

QString JsonFields::NeededText(const QString& key)
{
    const QString text = Text(key, {});
    if (text.isEmpty()) Refuse(key, QStringLiteral("is missing"));
    return text;
}

bool JsonFields::Flag(const QString& key, bool otherwise)
{
    const QJsonValue value = Value(key);
    if (!value.isUndefined() && !value.isBool()) Refuse(key, QStringLiteral("must be true or false"));
    return value.toBool(otherwise);
}

bool JsonFields::IsSecond(const QString& key, const QString& first, const QString& second)
{
    const QString word = Text(key, first);
    if (word != first && word != second) Refuse(key, QStringLiteral("must be \"%1\" or \"%2\"").arg(first, second));
    return word == second;
}

quint32 JsonFields::Colour(const QString& key, quint32 otherwise)
{
    static const QRegularExpression Form(QStringLiteral("^#[0-9A-Fa-f]{6}$"));
    const QString text = Text(key, {});
    if (text.isEmpty()) return otherwise;
    if (!Form.match(text).hasMatch()) Refuse(key, QStringLiteral("must be a colour such as \"#0072B2\""));
    return text.mid(1).toUInt(nullptr, 16);
}

std::vector<double> JsonFields::Numbers(const QString& key, qsizetype most)
{
    std::vector<double> numbers;
    for (const QJsonValue& value : List(key, most)) {
        if (!value.isDouble() || !std::isfinite(value.toDouble())) Refuse(key, QStringLiteral("must be numbers"));
        numbers.push_back(value.toDouble());
    }
    return numbers;
}

std::optional<ValueRange> JsonFields::Range(const QString& key)
{
    const std::vector<double> ends = Numbers(key, 2);
    if (ends.empty()) return std::nullopt;
    if (ends.size() < 2 || ends[0] >= ends[1])
        Refuse(key, QStringLiteral("must be two numbers, the smaller one first"));
    return ValueRange{ends[0], ends[1]};
}

std::vector<std::optional<Micros>> JsonFields::Moments(const QString& key, qsizetype most)
{
    std::vector<std::optional<Micros>> moments;
    for (const QJsonValue& value : List(key, most))
        moments.push_back(value.isNull() ? std::nullopt : std::optional(MomentOf(key, value)));
    return moments;
}

Micros JsonFields::NeededMoment(const QString& key)
{
    return MomentOf(key, Value(key));
}

void JsonFields::RefuseUnknown() const
{
    for (const QString& key : m_Object.keys())
        if (!m_Asked.contains(key)) Refuse(key, QStringLiteral("is not known"));
}

void JsonFields::Refuse(const QString& key, const QString& what) const
{
    const QString place = m_Where.isEmpty() ? QString() : QString(m_Where % u": ");
    throw DescribedError(place % u'"' % key % u"\" " % what % u'.');
}

QList<QJsonValue> JsonFields::List(const QString& key, qsizetype most)
{
    const QJsonValue value = Value(key);
    if (!value.isUndefined() && !value.isArray()) Refuse(key, QStringLiteral("must be a list"));
    const QJsonArray list = value.toArray();
    if (list.size() > most) Refuse(key, QStringLiteral("has more than %1 entries").arg(most));
    return {list.begin(), list.end()};
}

Micros JsonFields::MomentOf(const QString& key, const QJsonValue& value) const
{
    const auto moment = MomentFromUtc(value.toString());
    if (!moment) Refuse(key, QStringLiteral("must be a time such as \"2026-01-31T12:30:00Z\""));
    return *moment;
}
