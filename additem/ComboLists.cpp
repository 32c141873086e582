#include "additem/ComboLists.h"

#include "ui_frmAddItem.h"

using namespace Qt::StringLiterals;

void InitComboLists(const Ui_frmAddItem& form)
{
    const QStringList types = {u"VT_BOOL"_s, u"VT_I1"_s, u"VT_UI1"_s, u"VT_I2"_s,   u"VT_UI2"_s,  u"VT_I4"_s,
                               u"VT_UI4"_s,  u"VT_R4"_s, u"VT_R8"_s,  u"VT_BSTR"_s, u"VT_DATE"_s, u"VT_CY"_s};
    const QStringList requestTypes = types + QStringList{u"VT_VARIANT"_s};
    const QStringList operators = {u"(NOP)"_s, u"+"_s,     u"-"_s,     u"*"_s,   u"/"_s,    u"MOD"_s,     u"AND"_s,
                                   u"OR"_s,    u"XOR"_s,   u"<<"_s,    u">>"_s,  u"="_s,    u"<>"_s,      u"<="_s,
                                   u"<"_s,     u">="_s,    u">"_s,     u"CAT"_s, u"IDIV"_s, u"IMP"_s,     u"POW"_s,
                                   u"ABS"_s,   u"FIX"_s,   u"INT"_s,   u"NEG"_s, u"NOT"_s,  u"RAD2DEG"_s, u"DEG2RAD"_s,
                                   u"LEN"_s,   u"Left$"_s, u"Right$"_s};
    form.cmbItemType->AddItems({u"Normal"_s, u"Alias"_s, u"Array"_s});
    form.cmbClass->AddItems(
        {u"Controller Class"_s, u"Task Class"_s, u"Robot Class"_s, u"Extension Class"_s, u"File Class"_s});
    form.cmbAttr->AddItems({u"Read / Write"_s, u"Read Only"_s, u"Write Only"_s});
    form.cmbInitType->AddItems(types);
    form.cmbForce->AddItems({u"n/a"_s, u"Reading"_s, u"Writing"_s});
    form.cmbCalc->AddItems(operators);
    form.cmbCalc2->AddItems(operators);
    form.cmbReqType->AddItems(requestTypes);
    form.cmbReqTypeW->AddItems(requestTypes);
    form.cmbLinkProp->AddItems({u"0:  Value"_s, u"1:  ID"_s, u"2:  Activation"_s, u"3:  LinkActivation"_s});
}
