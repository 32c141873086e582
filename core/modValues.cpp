#include "core/modValues.h"

#include "core/automation/SafeArray.h"
#include "core/automation/ValueTypes.h"
#include "core/ConsoleServices.h"
#include "core/ListBox.h"
#include "core/modMain.h"

#include <QStringBuilder>

#include <algorithm>
#include <array>

namespace modMain {

namespace {

constexpr qint32 LongestShownArray = 8;
constexpr std::array<VarType, UnknownTypeIndex> TypesByIndex = {VT_EMPTY,
                                                                VT_NULL,
                                                                VT_BOOL,
                                                                VT_UI1,
                                                                VT_I2,
                                                                VT_I4,
                                                                VT_R4,
                                                                VT_R8,
                                                                VT_CY,
                                                                VT_DATE,
                                                                VT_BSTR,
                                                                ArrayOf(VT_BOOL),
                                                                ArrayOf(VT_UI1),
                                                                ArrayOf(VT_I2),
                                                                ArrayOf(VT_I4),
                                                                ArrayOf(VT_R4),
                                                                ArrayOf(VT_R8),
                                                                ArrayOf(VT_CY),
                                                                ArrayOf(VT_DATE),
                                                                ArrayOf(VT_BSTR),
                                                                ArrayOf(VT_VARIANT)};

/// The value's own type code; all references to objects have the same code.
QString CodeText(VarType type)
{
    return QString::number(type);
}

bool HasNestedArray(const SafeArray& array)
{
    const auto* elements = std::get_if<QList<Variant>>(&array.Data());
    return elements &&
           std::any_of(elements->begin(), elements->end(), [](const Variant& element) { return element.IsArray(); });
}

/// Up to eight elements are shown whole and larger arrays only as "...": on purpose.
QString ArrayToTypedText(const Variant& value)
{
    const SafeArray& array = value.Array();
    const bool tooLong = qint64{array.UpperBound()} - array.LowerBound() >= LongestShownArray;
    if (tooLong || HasNestedArray(array)) return CodeText(value.Type()) % u",...";
    return Converter().ValueToText(value, 0);
}

/// A signed byte is labelled as an unsigned one, and an object has no label: both on purpose.
QStringView TypeLabel(VarType type)
{
    const QStringView name = BareTypeName(type == VT_I1 ? VT_UI1 : type);
    return name.isEmpty() || type == VT_DISPATCH ? u"?" : name;
}

} // namespace

const QStringList& TypeList()
{
    static const QStringList Captions =
        QStringLiteral("EMPTY,NULL,BOOL,UI1,I2,I4,R4,R8,CY,DATE,BSTR,ARRAY | BOOL,ARRAY | UI1,ARRAY | I2,ARRAY | I4,"
                       "ARRAY | R4,ARRAY | R8,ARRAY | CY,ARRAY | DATE,ARRAY | BSTR,ARRAY | VARIANT,(Unknown)")
            .split(u',');
    return Captions;
}

VarType TypeIndexToVarType(qint16 index)
{
    return index >= 0 && index < UnknownTypeIndex ? TypesByIndex[static_cast<std::size_t>(index)] : VarType{-1};
}

qint16 VarTypeToTypeIndex(VarType type)
{
    return static_cast<qint16>(std::find(TypesByIndex.begin(), TypesByIndex.end(), type) - TypesByIndex.begin());
}

void FillTypeList(ListBox* list)
{
    list->Clear();
    list->AddItems(TypeList());
    list->SetListIndex(0);
}

ValueConverter& Converter()
{
    static const ValueConverterRef converter = GetMainWindow()->Services().Library.CreateValueConverter();
    return *converter;
}

QString BuildTypedText(int typeIndex, const QString& text)
{
    const VarType type = TypeIndexToVarType(static_cast<qint16>(typeIndex));
    const bool bare = type == VT_EMPTY || type == VT_NULL;
    return bare ? CodeText(type) : CodeText(type) % u',' % text;
}

Variant ToValue(int typeIndex, const QString& text)
{
    return Converter().TextToValue(BuildTypedText(typeIndex, text));
}

QString ValueToTypedText(const Variant& value)
{
    const VarType type = value.Type();
    try {
        if (value.IsObject()) return CodeText(VT_DISPATCH) % u",...";
        if (type == VT_EMPTY || type == VT_NULL) return CodeText(type) + u',';
        return value.IsArray() ? ArrayToTypedText(value) : Converter().ValueToText(value, 0);
    } catch (...) {
        return CodeText(type) % u",???";
    }
}

QString ValueTextOf(const QString& typedText)
{
    return typedText.mid(typedText.indexOf(u',') + 1);
}

QString ValueToDisplayText(const Variant& value)
{
    QString text;
    ReportErrors([&] {
        if (value.IsEmpty()) text = QStringLiteral("(EMPTY)");
        else if (value.IsNull()) text = QStringLiteral("(NULL)");
        else
            text = ValueTextOf(ValueToTypedText(value)) % QStringView(value.IsArray() ? u" (ARRAY | " : u" (") %
                   TypeLabel(ElementOf(value.Type())) % u')';
    });
    return text;
}

} // namespace modMain
