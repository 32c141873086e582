#include "additem/DefinitionControls.h"

#include "core/automation/ItemDefinition.h"
#include "core/automation/SafeArray.h"
#include "core/modFields.h"
#include "ui_frmAddItem.h"

namespace {

using Form = Ui_frmAddItem;

/// The type of a control decides the form of its element.
using Control = std::variant<QLineEdit * Form::*, QCheckBox * Form::*, ListBox * Form::*>;

const std::pair<Element, Control> Controls[] = {
    {Element::Name, &Form::txtItemName},
    {Element::Variable, &Form::chkVariable},
    {Element::VariableName, &Form::txtVarName},
    {Element::VariableOption, &Form::txtOption},
    {Element::ObjectClass, &Form::cmbClass},
    {Element::ObjectName, &Form::txtObjName},
    {Element::Description, &Form::txtDesc},
    {Element::Attribute, &Form::cmbAttr},
    {Element::LinkItem, &Form::txtLinkItem},
    {Element::Initialize, &Form::chkInit},
    {Element::InitialValue, &Form::txtInitValue},
    {Element::InitialType, &Form::cmbInitType},
    {Element::UseEmpty, &Form::chkEMPTY},
    {Element::UseHistory, &Form::chkHstry},
    {Element::OnChange, &Form::chkOnChgEvt},
    {Element::Force, &Form::cmbForce},
    {Element::Deadband, &Form::chkDdbd},
    {Element::DeadbandMin, &Form::txtItem_2},
    // On purpose the minimum again: servers expect exactly this.
    {Element::DeadbandMax, &Form::txtItem_2},
    {Element::MinMax, &Form::chkMM},
    {Element::Min, &Form::txtItem_4},
    {Element::Max, &Form::txtItem_5},
    {Element::Chattering, &Form::chkChatter},
    {Element::ChatteringMax, &Form::txtItem_6},
    {Element::Masking, &Form::chkMask},
    {Element::Mask, &Form::txtItem_0},
    {Element::Bcd, &Form::chkBCD},
    {Element::Calculation, &Form::cmbCalc},
    {Element::Operand, &Form::txtItem_1},
    {Element::RequestRead, &Form::chkReqType},
    {Element::ReadType, &Form::cmbReqType},
    {Element::RequestWrite, &Form::chkReqTypeW},
    {Element::WriteType, &Form::cmbReqTypeW},
    {Element::CompareArrays, &Form::chkCompArrays},
    {Element::ExtractLinking, &Form::chkExtrLink},
    {Element::Deactivate, &Form::chkDeactivate},
    {Element::ItemType, &Form::cmbItemType},
    {Element::LinkedProperty, &Form::cmbLinkProp},
    {Element::Calculation2, &Form::cmbCalc2},
    {Element::Operand2, &Form::txtItem_7},
    {Element::ObjectOption, &Form::txtObjOption},
};
static_assert(std::size(Controls) == Elements.size());

Variant ToElement(const QLineEdit* box)
{
    return Variant(box->text());
}

Variant ToElement(const QCheckBox* box)
{
    return Variant(modMain::CheckToBool(box));
}

Variant ToElement(const ListBox* list)
{
    return Variant(static_cast<qint16>(list->ListIndex()));
}

} // namespace

void FillLists(const Ui_frmAddItem& form)
{
    for (const auto& [element, control] : Controls) {
        const auto* list = std::get_if<ListBox * Form::*>(&control);
        if (!list) continue;
        for (const QStringView choice : KindOf(element).Choices) (form.**list)->AddItem(choice.toString());
    }
}

Variant ComposeDefinition(const Ui_frmAddItem& form)
{
    QList<Variant> values(std::size(Controls));
    for (const auto& [element, control] : Controls)
        values[static_cast<qsizetype>(element)] =
            std::visit([&form](auto member) { return ToElement(form.*member); }, control);
    return Variant(SafeArray(std::move(values)));
}
