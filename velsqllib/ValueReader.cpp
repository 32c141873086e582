#include "velsqllib/ValueReader.h"

#include "core/automation/ValueTypes.h"
#include "velsqllib/ScalarText.h"
#include "velsqllib/TextErrors.h"
#include "velsqllib/TypeCode.h"

namespace {

Variant ReadNothing(QStringView text, const Variant& value)
{
    if (!text.isEmpty()) throw ValueError(QStringLiteral("takes no value text, not even ") + Quote(text));
    return value;
}

} // namespace

ValueReader::ValueReader(QStringView text)
    : m_Cursor(text)
{
}

Variant ValueReader::ReadTyped()
{
    const VarType type = ReadTypeCode(m_Cursor.TakePlain());
    if (m_Cursor.TakeIf(u',')) return ReadValue(type);
    if (type == VT_EMPTY || type == VT_NULL) return ReadValue(type);
    throw ValueError(TypeName(type) + QStringLiteral(": a comma and the value text are missing after the type code"));
}

Variant ValueReader::ReadValue(VarType type)
{
    RequireText(type);
    try {
        return ReadPayload(type);
    } catch (const ValueError& error) {
        throw ValueError(TypeName(type) + QStringLiteral(": ") + error.Description());
    }
}

Variant ValueReader::ReadPayload(VarType type)
{
    if (ElementOf(type) != type) return ReadArray(ElementOf(type));
    // Inside braces a text ends with them, so it follows the rules of an element; elsewhere it is everything that is
    // left, unchanged.
    if (type == VT_BSTR) return m_Cursor.InBraces() ? m_Cursor.TakeText() : m_Cursor.TakeRest().toString();
    const QStringView text = m_Cursor.InBraces() ? m_Cursor.TakePlain() : m_Cursor.TakeRest();
    if (type == VT_EMPTY) return ReadNothing(text, Variant());
    if (type == VT_NULL) return ReadNothing(text, Null());
    return VisitType(type, [text]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, Currency> || std::is_same_v<T, Date>)
            return ReadScalar<T>(text);
        else throw ValueError::TypeMismatch();
    });
}

template <typename T>
T ValueReader::ReadElement()
{
    if constexpr (std::is_same_v<T, QString>) return m_Cursor.TakeText();
    else if constexpr (std::is_same_v<T, Variant>) return ReadBraced();
    else return ReadScalar<T>(m_Cursor.TakePlain());
}

template <typename T>
SafeArray ValueReader::ReadElements()
{
    const qint32 lowerBound = m_Cursor.TakeLowerBound().value_or(0);
    QList<T> elements;
    if (m_Cursor.AtEnd()) return SafeArray(elements, lowerBound);
    try {
        do elements.append(ReadElement<T>());
        while (TakeComma());
    } catch (const ValueError& error) {
        throw ValueError(QStringLiteral("element %1: ").arg(elements.size() + 1) + error.Description());
    }
    return SafeArray(std::move(elements), lowerBound);
}

Variant ValueReader::ReadArray(VarType elementType)
{
    if (m_Depth == MaxArrayDepth) throw NestedTooDeep();
    ++m_Depth;
    Variant array = VisitType(elementType, [this]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (IsElementType<T> && !std::is_same_v<T, ObjectRef>) return ReadElements<T>();
        else throw ValueError::TypeMismatch();
    });
    --m_Depth;
    return array;
}

bool ValueReader::TakeComma()
{
    if (m_Cursor.AtEnd()) return false;
    m_Cursor.Take(u',');
    return true;
}

Variant ValueReader::ReadBraced()
{
    m_Cursor.EnterBraces();
    Variant value = ReadTyped();
    m_Cursor.LeaveBraces();
    return value;
}
