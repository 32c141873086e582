#pragma once

#include "core/automation/ItemChoices.h"

/// The definition of a new item is an array of 41 values: the add-item dialog sends it, and a server makes the item
/// from it.

/// The elements, numbered by their places in the array.
enum class Element : int
{
    Name,
    Variable,
    VariableName,
    VariableOption,
    ObjectClass,
    ObjectName,
    Description,
    Attribute,
    LinkItem,
    Initialize,
    InitialValue,
    InitialType,
    UseEmpty,
    UseHistory,
    OnChange,
    Force,
    Deadband,
    DeadbandMin,
    DeadbandMax,
    MinMax,
    Min,
    Max,
    Chattering,
    ChatteringMax,
    Masking,
    Mask,
    Bcd,
    Calculation,
    Operand,
    RequestRead,
    ReadType,
    RequestWrite,
    WriteType,
    CompareArrays,
    ExtractLinking,
    Deactivate,
    ItemType,
    LinkedProperty,
    Calculation2,
    Operand2,
    ObjectOption
};

/// What an element is: its name in messages, its form, and, for a VT_I2 (a position in a list), what the list offers.
struct ElementKind
{
    Element Place;
    QStringView Name;
    VarType Form;
    std::span<const QStringView> Choices = {};
};

inline constexpr std::array<ElementKind, 41> Elements = {{
    {Element::Name, u"Item Name", VT_BSTR},
    {Element::Variable, u"VelVariable", VT_BOOL},
    {Element::VariableName, u"Variable Name", VT_BSTR},
    {Element::VariableOption, u"Option", VT_BSTR},
    {Element::ObjectClass, u"Class", VT_I2, ClassChoices},
    {Element::ObjectName, u"Object Name", VT_BSTR},
    {Element::Description, u"Description", VT_BSTR},
    {Element::Attribute, u"Attribute", VT_I2, AttributeChoices},
    {Element::LinkItem, u"Link Item", VT_BSTR},
    {Element::Initialize, u"Initialize", VT_BOOL},
    {Element::InitialValue, u"initial value", VT_BSTR},
    {Element::InitialType, u"initial type", VT_I2, InitialTypeChoices},
    {Element::UseEmpty, u"Use VT_EMPTY", VT_BOOL},
    {Element::UseHistory, u"Use History", VT_BOOL},
    {Element::OnChange, u"OnChange event", VT_BOOL},
    {Element::Force, u"Force to change", VT_I2, ForceChoices},
    {Element::Deadband, u"Deadband", VT_BOOL},
    {Element::DeadbandMin, u"Deadband minimum", VT_BSTR},
    {Element::DeadbandMax, u"Deadband maximum", VT_BSTR},
    {Element::MinMax, u"Min-Max", VT_BOOL},
    {Element::Min, u"Min-Max minimum", VT_BSTR},
    {Element::Max, u"Min-Max maximum", VT_BSTR},
    {Element::Chattering, u"Chattering", VT_BOOL},
    {Element::ChatteringMax, u"Chattering maximum", VT_BSTR},
    {Element::Masking, u"Masking", VT_BOOL},
    {Element::Mask, u"mask data", VT_BSTR},
    {Element::Bcd, u"BCD", VT_BOOL},
    {Element::Calculation, u"Calculation", VT_I2, OperatorChoices},
    {Element::Operand, u"operand of the Calculation", VT_BSTR},
    {Element::RequestRead, u"Request Type (R)", VT_BOOL},
    {Element::ReadType, u"requested type for reading", VT_I2, TypeChoices},
    {Element::RequestWrite, u"Request Type (W)", VT_BOOL},
    {Element::WriteType, u"requested type for writing", VT_I2, TypeChoices},
    {Element::CompareArrays, u"Compare Arrays", VT_BOOL},
    {Element::ExtractLinking, u"Extract Linking", VT_BOOL},
    {Element::Deactivate, u"Deactivate", VT_BOOL},
    {Element::ItemType, u"Item Type", VT_I2, ItemTypeChoices},
    {Element::LinkedProperty, u"Property of Linked item", VT_I2, PropertyChoices},
    {Element::Calculation2, u"second Calculation", VT_I2, OperatorChoices},
    {Element::Operand2, u"operand of the second Calculation", VT_BSTR},
    {Element::ObjectOption, u"Object Option", VT_BSTR},
}};

constexpr bool ElementsStandAtTheirPlaces()
{
    for (std::size_t i = 0; i < Elements.size(); ++i)
        if (static_cast<std::size_t>(Elements[i].Place) != i) return false;
    return true;
}
static_assert(ElementsStandAtTheirPlaces());

constexpr const ElementKind& KindOf(Element element)
{
    return Elements[static_cast<std::size_t>(element)];
}

/// Characters that no item's name may contain.
inline constexpr QStringView ForbiddenInNames = u"\\#$:!";
