#include "server/definition/Definition.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/TypeCode.h"

#include <array>
#include <cmath>

namespace {

constexpr int Operators = 31;
constexpr int Types = 12;

constexpr std::array<VarType, Types + 1> TypeChoices = {VT_BOOL, VT_I1, VT_UI1,  VT_I2,   VT_UI2, VT_I4,     VT_UI4,
                                                        VT_R4,   VT_R8, VT_BSTR, VT_DATE, VT_CY,  VT_VARIANT};

/// What stands at a place: its name in the dialog, its form, and how many entries the list has for a choice.
struct Place
{
    const char16_t* Name;
    VarType Form;
    int Choices = 0;
};

constexpr std::array<Place, Definition::Count> Places = {{{u"Item Name", VT_BSTR},
                                                          {u"VelVariable", VT_BOOL},
                                                          {u"Variable Name", VT_BSTR},
                                                          {u"Option", VT_BSTR},
                                                          {u"Class", VT_I2, 5},
                                                          {u"Object Name", VT_BSTR},
                                                          {u"Description", VT_BSTR},
                                                          {u"Attribute", VT_I2, 3},
                                                          {u"Link Item", VT_BSTR},
                                                          {u"Initialize", VT_BOOL},
                                                          {u"initial value", VT_BSTR},
                                                          {u"initial type", VT_I2, Types},
                                                          {u"Use VT_EMPTY", VT_BOOL},
                                                          {u"Use History", VT_BOOL},
                                                          {u"OnChange event", VT_BOOL},
                                                          {u"Force to change", VT_I2, 3},
                                                          {u"Deadband", VT_BOOL},
                                                          {u"Deadband minimum", VT_BSTR},
                                                          {u"Deadband maximum", VT_BSTR},
                                                          {u"Min-Max", VT_BOOL},
                                                          {u"Min-Max minimum", VT_BSTR},
                                                          {u"Min-Max maximum", VT_BSTR},
                                                          {u"Chattering", VT_BOOL},
                                                          {u"Chattering maximum", VT_BSTR},
                                                          {u"Masking", VT_BOOL},
                                                          {u"mask data", VT_BSTR},
                                                          {u"BCD", VT_BOOL},
                                                          {u"Calculation", VT_I2, Operators},
                                                          {u"operand of the Calculation", VT_BSTR},
                                                          {u"Request Type (R)", VT_BOOL},
                                                          {u"requested type for reading", VT_I2, Types + 1},
                                                          {u"Request Type (W)", VT_BOOL},
                                                          {u"requested type for writing", VT_I2, Types + 1},
                                                          {u"Compare Arrays", VT_BOOL},
                                                          {u"Extract Linking", VT_BOOL},
                                                          {u"Deactivate", VT_BOOL},
                                                          {u"Item Type", VT_I2, 3},
                                                          {u"Property of Linked item", VT_I2, 4},
                                                          {u"second Calculation", VT_I2, Operators},
                                                          {u"operand of the second Calculation", VT_BSTR},
                                                          {u"Object Option", VT_BSTR}}};

const Place& PlaceOf(Element element)
{
    return Places[static_cast<std::size_t>(element)];
}

void CheckForm(Element element, const Variant& value)
{
    const Place& place = PlaceOf(element);
    if (value.Type() != place.Form)
        Definition::Refuse(element,
                           QStringLiteral("it must be %1, not %2").arg(TypeName(place.Form), TypeName(value.Type())));
    if (place.Form != VT_I2) return;
    const int choice = value.Get<qint16>();
    if (choice < 0) Definition::Refuse(element, QStringLiteral("nothing is selected"));
    if (choice >= place.Choices)
        Definition::Refuse(element,
                           QStringLiteral("there are the choices 0 to %1, not %2").arg(place.Choices - 1).arg(choice));
}

} // namespace

Definition::Definition(const Variant& definition)
{
    if (definition.Type() != ArrayOf(VT_VARIANT) || definition.Array().Count() != Count)
        throw ServerError(QStringLiteral("An item definition is an array of %1 variants.").arg(Count));
    m_Elements = definition.Array().Of<Variant>();
    for (int i = 0; i < Count; ++i) CheckForm(static_cast<Element>(i), m_Elements[i]);
}

const QString& Definition::Text(Element element) const
{
    return Sent(element).Get<QString>();
}

bool Definition::Flag(Element element) const
{
    return Sent(element).Get<bool>();
}

int Definition::Choice(Element element) const
{
    return Sent(element).Get<qint16>();
}

VarType Definition::Type(Element element) const
{
    return TypeChoices[static_cast<std::size_t>(Choice(element))];
}

double Definition::Number(Element element) const
{
    const auto number = ParseNumber(Text(element));
    if (!number || !std::isfinite(*number))
        Refuse(element, QStringLiteral("\"%1\" is not a number").arg(Text(element)));
    return *number;
}

qint32 Definition::Integer(Element element) const
{
    try {
        return RoundToInt32(Number(element));
    } catch (const ValueError&) {
        Refuse(element, QStringLiteral("%1 is beyond 32 bits").arg(Text(element)));
    }
}

void Definition::Refuse(Element element, const QString& reason)
{
    throw ServerError(QStringLiteral("Element %1 (%2): %3.")
                          .arg(static_cast<int>(element))
                          .arg(QStringView(PlaceOf(element).Name), reason));
}
