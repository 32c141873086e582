#include "velsqllib/ValueReader.h"

#include "velsqllib/ScalarText.h"
#include "velsqllib/TextErrors.h"
#include "velsqllib/TypeCode.h"
#include "velsqllib/ValueText.h"

namespace {

/// Calls `visitor` with std::type_identity of the type in which the value, or the array's element, is held.
template <typename Visitor>
auto VisitType(VarType type, Visitor visitor)
{
    switch (type) {
    case VT_BOOL: return visitor(std::type_identity<bool>());
    case VT_I1: return visitor(std::type_identity<qint8>());
    case VT_UI1: return visitor(std::type_identity<quint8>());
    case VT_I2: return visitor(std::type_identity<qint16>());
    case VT_UI2: return visitor(std::type_identity<quint16>());
    case VT_I4: return visitor(std::type_identity<qint32>());
    case VT_UI4: return visitor(std::type_identity<quint32>());
    case VT_R4: return visitor(std::type_identity<float>());
    case VT_R8: return visitor(std::type_identity<double>());
    case VT_CY: return visitor(std::type_identity<Currency>());
    case VT_DATE: return visitor(std::type_identity<Date>());
    case VT_BSTR: return visitor(std::type_identity<QString>());
    default: return visitor(std::type_identity<Variant>());
    }
}

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
    throw ValueError(TypeName(type) + QStringLiteral(": a comma and the value text are missing behind the type code"));
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
    // Inside braces a text ends with them, so it keeps the rules of an element; elsewhere it is all that is left, as it stands.
    if (type == VT_BSTR) return m_Cursor.InBraces() ? m_Cursor.TakeText() : m_Cursor.TakeRest().toString();
    const QStringView text = m_Cursor.InBraces() ? m_Cursor.TakePlain() : m_Cursor.TakeRest();
    if (type == VT_EMPTY) return ReadNothing(text, Variant());
    if (type == VT_NULL) return ReadNothing(text, Null());
    return VisitType(type, [text]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (std::is_same_v<T, QString> || std::is_same_v<T, Variant>) throw ValueError::TypeMismatch();
        else return ReadScalar<T>(text);
    });
}

Variant ValueReader::ReadArray(VarType elementType)
{
    if (m_Depth == MaxArrayDepth) throw NestedTooDeep();
    ++m_Depth;
    Variant array =
        VisitType(elementType, [this]<typename T>(std::type_identity<T>) { return Variant(ReadElements<T>()); });
    --m_Depth;
    return array;
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

template <typename T>
T ValueReader::ReadElement()
{
    if constexpr (std::is_same_v<T, QString>) return m_Cursor.TakeText();
    else if constexpr (std::is_same_v<T, Variant>) return ReadBraced();
    else return ReadScalar<T>(m_Cursor.TakePlain());
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
