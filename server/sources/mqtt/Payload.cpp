#include "server/sources/mqtt/Payload.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "resulttext/JsonText.h"
#include "server/plant/Convert.h"
#include "velsqllib/ValueText.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <cmath>

namespace {

constexpr VarType Bytes = static_cast<VarType>(VT_ARRAY | VT_UI1);

/// From here on a double no longer tells one whole number from the next.
constexpr double MostExactWhole = 9'007'199'254'740'992.0;

const QStringList s_TrueWords = {QStringLiteral("true"), QStringLiteral("on"), QStringLiteral("yes"),
                                 QStringLiteral("1")};
const QStringList s_FalseWords = {QStringLiteral("false"), QStringLiteral("off"), QStringLiteral("no"),
                                  QStringLiteral("0")};

/// Whole numbers as I4, beyond it as R8, and as the text that `textOf` makes where that would not be exact.
template <typename TextOf>
Variant Natural(double number, TextOf textOf)
{
    if (std::trunc(number) != number) return number;
    if (std::abs(number) <= 2147483647.0) return static_cast<qint32>(number);
    return std::abs(number) < MostExactWhole ? Variant(number) : Variant(textOf());
}

/// A text for an item that takes every type: numbers and truth values are what they look like. "007" stays a text.
Variant Natural(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed == s_TrueWords[0] || trimmed == s_FalseWords[0]) return trimmed == s_TrueWords[0];
    const auto number = ParseNumber(trimmed);
    if (!number || !std::isfinite(*number)) return text;
    const bool isPadded = trimmed.size() > 1 && trimmed[0] == u'0' && trimmed[1].isDigit();
    return isPadded ? Variant(text) : Natural(*number, [&] { return trimmed; });
}

Variant FromJson(const QJsonValue& value, int depth);

Variant FromJson(const QJsonArray& array, int depth)
{
    QList<Variant> elements;
    elements.reserve(array.size());
    for (const QJsonValue& element : array) elements.append(FromJson(element, depth + 1));
    return SafeArray(std::move(elements));
}

QString CompactText(const QJsonValue& value)
{
    return QString::fromUtf8((value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject()))
                                 .toJson(QJsonDocument::Compact));
}

/// Objects, and arrays within too many others, have no value of their own: they are their JSON text.
Variant FromJson(const QJsonValue& value, int depth)
{
    switch (value.type()) {
    case QJsonValue::Null: return Null();
    case QJsonValue::Bool: return value.toBool();
    case QJsonValue::Double:
        return Natural(value.toDouble(), [&] { return value.toVariant().toString(); }); // all digits of a whole number
    case QJsonValue::String: return value.toString();
    case QJsonValue::Array:
        if (depth < MaxArrayDepth) return FromJson(value.toArray(), depth);
        [[fallthrough]];
    default: return CompactText(value);
    }
}

/// The value at the pointer; undefined when there is none.
QJsonValue At(QJsonValue value, const QStringList& pointer)
{
    for (const QString& name : pointer) {
        bool isNumber = false;
        const qsizetype at = name.toLongLong(&isNumber);
        if (value.isObject()) value = value.toObject().value(name);
        else if (value.isArray() && isNumber) value = value.toArray().at(at);
        else return QJsonValue(QJsonValue::Undefined);
    }
    return value;
}

QString PointerText(const QStringList& pointer)
{
    QString text;
    for (QString name : pointer)
        text += u'/' + name.replace(u'~', QStringLiteral("~0")).replace(u'/', QStringLiteral("~1"));
    return text;
}

bool HasWords(const PayloadForm& form)
{
    return !form.TrueWord.isEmpty();
}

std::optional<bool> FindWord(const QString& text, const PayloadForm& form)
{
    const QString word = text.trimmed();
    if ((HasWords(form) ? QStringList(form.TrueWord) : s_TrueWords).contains(word, Qt::CaseInsensitive)) return true;
    if ((HasWords(form) ? QStringList(form.FalseWord) : s_FalseWords).contains(word, Qt::CaseInsensitive)) return false;
    return std::nullopt;
}

Variant BoolOf(const QString& text, const PayloadForm& form)
{
    if (const auto word = FindWord(text, form)) return *word;
    if (const auto number = ParseNumber(text.trimmed()); number && !HasWords(form)) return *number != 0.0;
    throw ValueError(QStringLiteral("%1 is neither \"%2\" nor \"%3\"")
                         .arg(Quoted(text), HasWords(form) ? form.TrueWord : s_TrueWords.join(u'/'),
                              HasWords(form) ? form.FalseWord : s_FalseWords.join(u'/')));
}

/// Many devices send times with their offset; dates here are local.
Variant DateOf(const QString& text)
{
    const QDateTime time = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    if (time.isValid() && time.timeSpec() != Qt::LocalTime) return FromDateTime(time.toLocalTime());
    return ReadValueText(VT_DATE, text.trimmed());
}

Variant Typed(const Variant& value, const PayloadForm& form)
{
    const QString* text = value.GetIf<QString>();
    const bool isPlain = !text && !value.IsArray() && !value.IsNull() && !value.GetIf<bool>();
    if (form.Type == VT_BOOL && HasWords(form) && isPlain) return BoolOf(ToPlainText(value), form); // such as a 1
    if (text && form.Type == VT_VARIANT && HasWords(form) && FindWord(*text, form)) return *FindWord(*text, form);
    if (!text || form.Type == VT_VARIANT || form.Type == VT_BSTR) return ConvertTo(value, form.Type);
    if (form.Type == VT_BOOL) return BoolOf(*text, form);
    return form.Type == VT_DATE ? DateOf(*text) : ReadValueText(form.Type, text->trimmed());
}

SafeArray ArrayOfBytes(const QByteArray& bytes)
{
    return SafeArray(QList<quint8>(bytes.begin(), bytes.end()));
}

} // namespace

std::optional<QStringList> ParsePointer(const QString& text)
{
    if (text.isEmpty()) return QStringList();
    if (!text.startsWith(u'/')) return std::nullopt;
    QStringList names = text.mid(1).split(u'/');
    for (QString& name : names)
        name.replace(QStringLiteral("~1"), QStringLiteral("/")).replace(QStringLiteral("~0"), QStringLiteral("~"));
    return names;
}

Variant Payload::Read(const PayloadForm& form)
{
    if (m_Size > MostBytes)
        throw ValueError(QStringLiteral("the message has %1 bytes, more than %2").arg(m_Size).arg(MostBytes));
    if (!form.Pointer) return ReadPlain(form);
    const QJsonValue found = At(Json(), *form.Pointer);
    if (found.isUndefined())
        throw ValueError(QStringLiteral("the message has nothing at %1").arg(PointerText(*form.Pointer)));
    return Typed(FromJson(found, 0), form);
}

Variant Payload::ReadPlain(const PayloadForm& form)
{
    if (form.Type == Bytes) return ArrayOfBytes(m_Bytes);
    if (form.Type == VT_VARIANT) {
        try {
            const auto word = HasWords(form) ? FindWord(Text(), form) : std::nullopt;
            return word ? Variant(*word) : Natural(Text());
        } catch (const ValueError&) {
            return ArrayOfBytes(m_Bytes);
        }
    }
    if (form.Type == VT_BSTR) return Text();
    if (m_Bytes.trimmed().isEmpty()) throw ValueError(QStringLiteral("the message is empty"));
    if (form.Type & VT_ARRAY && m_Bytes.trimmed().startsWith('[')) return Typed(FromJson(Json(), 0), form);
    return Typed(Text(), form);
}

const QString& Payload::Text()
{
    if (m_Text) return *m_Text;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(m_Bytes);
    if (decoder.hasError()) throw ValueError(QStringLiteral("the message is no text in UTF-8"));
    return m_Text.emplace(std::move(text));
}

/// Qt reads documents that are an array or an object: within brackets every value is one.
const QJsonValue& Payload::Json()
{
    if (!m_Document) {
        QJsonParseError error;
        const QJsonArray root = QJsonDocument::fromJson('[' + m_Bytes + ']', &error).array();
        m_Document.emplace();
        if (error.error != QJsonParseError::NoError)
            m_Document->Failure = QStringLiteral("the message is not JSON: %1 at byte %2")
                                      .arg(error.errorString())
                                      .arg(std::min<qsizetype>(error.offset - 1, m_Bytes.size()));
        else if (root.size() != 1) m_Document->Failure = QStringLiteral("the message is not one JSON value");
        else m_Document->Root = root.first();
    }
    if (!m_Document->Failure.isEmpty()) throw ValueError(m_Document->Failure);
    return m_Document->Root;
}

namespace {

QString WordOf(bool value, const PayloadForm& form)
{
    if (!HasWords(form)) return value ? s_TrueWords[0] : s_FalseWords[0];
    return value ? form.TrueWord : form.FalseWord;
}

QString PlainPayload(const Variant& value, const PayloadForm& form)
{
    if (const bool* flag = value.GetIf<bool>()) return WordOf(*flag, form);
    if (value.IsEmpty()) return QString();
    if (value.IsNull() || value.IsObject()) throw ValueError(QStringLiteral("%1 cannot be sent").arg(Quoted(value)));
    const QString text = WriteValueText(value);
    // A list's text that is empty, has blanks around it, or looks like JSON would not be read as the list that it is.
    const bool isRead = !text.isEmpty() && text.trimmed() == text && !text.startsWith(u'[');
    if (!value.IsArray() || isRead) return text;
    QString json;
    AppendNestedJson(json, value);
    return json;
}

/// {"data":{"temp":<value>}}. What a list holds besides is not known, so its elements cannot be sent.
QString JsonPayload(const Variant& value, const PayloadForm& form)
{
    QString out;
    for (const QString& name : *form.Pointer) {
        bool isNumber = false;
        name.toLongLong(&isNumber);
        if (isNumber) throw ValueError(QStringLiteral("an element of a list cannot be sent alone"));
        AppendJsonString(out += u'{', name);
        out += u':';
    }
    const bool* flag = value.GetIf<bool>();
    const QString word = flag && HasWords(form) ? WordOf(*flag, form) : QString();
    if (word.isEmpty()) AppendNestedJson(out, value);
    else if (IsNumeric(word)) out += word;
    else AppendJsonString(out, word);
    return out + QString(form.Pointer->size(), u'}');
}

} // namespace

QByteArray WritePayload(const Variant& value, const PayloadForm& form)
{
    if (form.Pointer) return JsonPayload(value, form).toUtf8();
    if (value.Type() != Bytes) return PlainPayload(value, form).toUtf8();
    const QList<quint8>& bytes = value.Array().Of<quint8>();
    return QByteArray(reinterpret_cast<const char*>(bytes.constData()), bytes.size());
}
