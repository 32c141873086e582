#include "additem/ItemDefinition.h"

#include "core/automation/SafeArray.h"
#include "core/modFields.h"
#include "ui_frmAddItem.h"

namespace {

using Form = Ui_frmAddItem;

/// Which control is the element; the control's type says which form the element takes.
using Control = std::variant<QLineEdit * Form::*, QCheckBox * Form::*, ListBox * Form::*>;

const Control Definition[] = {
    &Form::txtItemName,  &Form::chkVariable,   &Form::txtVarName,  &Form::txtOption,   &Form::cmbClass,
    &Form::txtObjName,   &Form::txtDesc,       &Form::cmbAttr,     &Form::txtLinkItem, &Form::chkInit,
    &Form::txtInitValue, &Form::cmbInitType,   &Form::chkEMPTY,    &Form::chkHstry,    &Form::chkOnChgEvt,
    &Form::cmbForce,     &Form::chkDdbd,       &Form::txtItem_2,
    &Form::txtItem_2, // The minimum once more, where the maximum would be: servers expect exactly this, it is meant.
    &Form::chkMM,        &Form::txtItem_4,     &Form::txtItem_5,   &Form::chkChatter,  &Form::txtItem_6,
    &Form::chkMask,      &Form::txtItem_0,     &Form::chkBCD,      &Form::cmbCalc,     &Form::txtItem_1,
    &Form::chkReqType,   &Form::cmbReqType,    &Form::chkReqTypeW, &Form::cmbReqTypeW, &Form::chkCompArrays,
    &Form::chkExtrLink,  &Form::chkDeactivate, &Form::cmbItemType, &Form::cmbLinkProp, &Form::cmbCalc2,
    &Form::txtItem_7,    &Form::txtObjOption,
};
static_assert(std::size(Definition) == 41);

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

Variant ComposeDefinition(const Ui_frmAddItem& form)
{
    QList<Variant> elements;
    for (const Control& control : Definition)
        elements << std::visit([&form](auto member) { return ToElement(form.*member); }, control);
    return Variant(SafeArray(std::move(elements)));
}
