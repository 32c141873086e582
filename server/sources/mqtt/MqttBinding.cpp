#include "server/sources/mqtt/MqttBinding.h"

#include <mosquitto.h>
#include <QRegularExpression>

namespace {

using enum VariableError::Part;

struct Word
{
    QString Key; ///< empty for a word without "="
    QString Text;
};

/// Words between blanks; in double quotes a text may have blanks itself, and two quotes are one.
QList<Word> WordsOf(const QString& option)
{
    static const QRegularExpression word(QStringLiteral(R"((?:([a-z]+)=)?("(?:[^"]|"")*"|[^\s"]+)(?=\s|$))"));
    QList<Word> words;
    qsizetype end = 0;
    const auto isBlank = [&](qsizetype from, qsizetype to) {
        return QStringView(option).mid(from, to - from).trimmed().isEmpty();
    };
    for (const auto& match : word.globalMatch(option)) {
        if (!isBlank(end, match.capturedStart())) break;
        end = match.capturedEnd();
        QString text = match.captured(2);
        if (text.startsWith(u'"'))
            text = text.mid(1, text.size() - 2).replace(QStringLiteral("\"\""), QStringLiteral("\""));
        words.append({match.captured(1), text});
    }
    if (!isBlank(end, option.size()))
        throw VariableError(Option, QStringLiteral("\"%1\" cannot be read").arg(option.mid(end).trimmed()));
    return words;
}

QByteArray TopicToPublish(const QString& text)
{
    const QByteArray topic = text.toUtf8();
    if (!IsTopicToPublish(topic))
        throw VariableError(Option, QStringLiteral("\"%1\" is no topic that can be written").arg(text));
    return topic;
}

void ReadQos(const QString& text, MqttBinding& binding)
{
    bool isNumber = false;
    binding.Qos = text.toInt(&isNumber);
    if (!isNumber || binding.Qos < 0 || binding.Qos > 2)
        throw VariableError(Option, QStringLiteral("qos is 0, 1 or 2, not \"%1\"").arg(text));
}

void ReadPointer(const QString& text, MqttBinding& binding)
{
    if (binding.Form.Pointer) throw VariableError(Option, QStringLiteral("it has two JSON pointers"));
    binding.Form.Pointer = ParsePointer(text);
}

void ReadWord(const Word& word, MqttBinding& binding)
{
    if (word.Key.isEmpty() && word.Text.startsWith(u'/')) ReadPointer(word.Text, binding);
    else if (word.Key.isEmpty() && word.Text == QStringLiteral("json")) ReadPointer(QString(), binding);
    else if (word.Key.isEmpty() && word.Text == QStringLiteral("retain")) binding.Retains = true;
    else if (word.Key == QStringLiteral("qos")) ReadQos(word.Text, binding);
    else if (word.Key == QStringLiteral("true")) binding.Form.TrueWord = word.Text;
    else if (word.Key == QStringLiteral("false")) binding.Form.FalseWord = word.Text;
    else if (word.Key == QStringLiteral("set")) binding.SetTopic = TopicToPublish(word.Text);
    else
        throw VariableError(Option, QStringLiteral("\"%1\" is none of /<JSON pointer>, json, qos=, retain, true=, "
                                                   "false=, set=")
                                        .arg(word.Key.isEmpty() ? word.Text : word.Key + u'='));
}

void CheckWords(const PayloadForm& form)
{
    if (form.TrueWord.isEmpty() != form.FalseWord.isEmpty())
        throw VariableError(Option, QStringLiteral("true= and false= belong together"));
    if (!form.TrueWord.isEmpty() && form.Type != VT_BOOL && form.Type != VT_VARIANT)
        throw VariableError(Option, QStringLiteral("true= and false= are for items of type BOOL or VARIANT"));
    if (!form.TrueWord.isEmpty() && form.TrueWord.compare(form.FalseWord, Qt::CaseInsensitive) == 0)
        throw VariableError(Option, QStringLiteral("true= and false= are the same"));
}

} // namespace

MqttBinding ReadMqttBinding(const VariableText& text)
{
    MqttBinding binding{.Filter = text.Name.toUtf8(), .SetTopic = {}, .Form = {.Type = text.Type}};
    const auto size = static_cast<std::size_t>(binding.Filter.size());
    if (size == 0 || mosquitto_sub_topic_check2(binding.Filter.constData(), size) != MOSQ_ERR_SUCCESS ||
        binding.Filter.contains('\0') || HeardBy(binding.Filter).isEmpty())
        throw VariableError(Name,
                            QStringLiteral("\"%1\" is no topic such as plant/boiler/temperature or plant/+/temperature")
                                .arg(text.Name));
    if (!text.Unit.isEmpty()) throw VariableError(Unit, QStringLiteral("a broker has no units"));
    for (const Word& word : WordsOf(text.Option)) ReadWord(word, binding);
    CheckWords(binding.Form);
    if (binding.SetTopic.isEmpty() && !HasWildcards(binding.Filter)) binding.SetTopic = HeardBy(binding.Filter);
    return binding;
}

QByteArray HeardBy(const QByteArray& filter)
{
    if (!filter.startsWith("$share/")) return filter;
    const qsizetype end = filter.indexOf('/', 7);
    return end < 0 ? QByteArray() : filter.mid(end + 1);
}

bool HasWildcards(const QByteArray& filter)
{
    return filter.contains('+') || filter.contains('#');
}

bool Hears(const QByteArray& filter, const QByteArray& topic)
{
    const QByteArray heard = HeardBy(filter);
    bool hears = false;
    return mosquitto_topic_matches_sub(heard.constData(), topic.constData(), &hears) == MOSQ_ERR_SUCCESS && hears;
}

bool IsTopicToPublish(const QByteArray& topic)
{
    const auto size = static_cast<std::size_t>(topic.size());
    return size > 0 && !topic.contains('\0') && mosquitto_pub_topic_check2(topic.constData(), size) == MOSQ_ERR_SUCCESS;
}
