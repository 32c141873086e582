#include "tests/additem/DefinitionSample.h"

#include "core/automation/SafeArray.h"
#include "core/ListBox.h"
#include "tests/support/FakeConverter.h"

#include <QCheckBox>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

/// Every element's control, with what the test enters and the typed text that is to arrive (flags: as they begin).
struct Element
{
    QString Control;
    QString Entered;
    QString Sent;
};

const Element Elements[41] = {
    {u"txtItemName"_s, u"Name"_s, u"8,Name"_s},
    {u"chkVariable"_s, {}, u"11,False"_s},
    {u"txtVarName"_s, u"variable"_s, u"8,variable"_s},
    {u"txtOption"_s, u"option"_s, u"8,option"_s},
    {u"cmbClass"_s, u"Robot Class"_s, u"2,2"_s},
    {u"txtObjName"_s, u"object"_s, u"8,object"_s},
    {u"txtDesc"_s, u"Beschreibung, °C"_s, u"8,Beschreibung, °C"_s},
    {u"cmbAttr"_s, u"Write Only"_s, u"2,2"_s},
    {u"txtLinkItem"_s, u"PLC2\\link"_s, u"8,PLC2\\link"_s},
    {u"chkInit"_s, {}, u"11,False"_s},
    {u"txtInitValue"_s, u"initial"_s, u"8,initial"_s},
    {u"cmbInitType"_s, u"VT_CY"_s, u"2,11"_s},
    {u"chkEMPTY"_s, {}, u"11,False"_s},
    {u"chkHstry"_s, {}, u"11,False"_s},
    {u"chkOnChgEvt"_s, {}, u"11,False"_s},
    {u"cmbForce"_s, u"Reading"_s, u"2,1"_s},
    {u"chkDdbd"_s, {}, u"11,False"_s},
    {u"txtItem_2"_s, u"1"_s, u"8,1"_s},
    {u"txtItem_3"_s, u"5"_s, u"8,1"_s}, // the minimum again: servers expect it so
    {u"chkMM"_s, {}, u"11,False"_s},
    {u"txtItem_4"_s, u"40"_s, u"8,40"_s},
    {u"txtItem_5"_s, u"50"_s, u"8,50"_s},
    {u"chkChatter"_s, {}, u"11,False"_s},
    {u"txtItem_6"_s, u"60"_s, u"8,60"_s},
    {u"chkMask"_s, {}, u"11,False"_s},
    {u"txtItem_0"_s, u"255"_s, u"8,255"_s},
    {u"chkBCD"_s, {}, u"11,False"_s},
    {u"cmbCalc"_s, u"Left$"_s, u"2,29"_s},
    {u"txtItem_1"_s, u"first"_s, u"8,first"_s},
    {u"chkReqType"_s, {}, u"11,False"_s},
    {u"cmbReqType"_s, u"VT_R4"_s, u"2,7"_s},
    {u"chkReqTypeW"_s, {}, u"11,False"_s},
    {u"cmbReqTypeW"_s, u"VT_I1"_s, u"2,1"_s},
    {u"chkCompArrays"_s, {}, u"11,False"_s},
    {u"chkExtrLink"_s, {}, u"11,False"_s},
    {u"chkDeactivate"_s, {}, u"11,False"_s},
    {u"cmbItemType"_s, u"Array"_s, u"2,2"_s},
    {u"cmbLinkProp"_s, u"3:  LinkActivation"_s, u"2,3"_s},
    {u"cmbCalc2"_s, u"NEG"_s, u"2,24"_s},
    {u"txtItem_7"_s, u"second"_s, u"8,second"_s},
    {u"txtObjOption"_s, u"object option"_s, u"8,object option"_s},
};

} // namespace

QList<int> Flags()
{
    QList<int> flags;
    for (int i = 0; i < 41; ++i)
        if (Elements[i].Control.startsWith(u"chk")) flags << i;
    return flags;
}

void EnterSample(const QWidget& dialog, int tickedFlag)
{
    for (const auto& [name, entered, sent] : Elements) {
        if (auto* box = dialog.findChild<QLineEdit*>(name)) box->setText(entered);
        if (auto* list = dialog.findChild<ListBox*>(name)) list->SetListIndex(list->findText(entered));
    }
    for (const int flag : Flags()) dialog.findChild<QCheckBox*>(Elements[flag].Control)->setChecked(flag == tickedFlag);
}

QStringList SampleDefinition(int tickedFlag)
{
    QStringList texts;
    for (const Element& element : Elements) texts << element.Sent;
    if (tickedFlag >= 0) texts[tickedFlag] = u"11,True"_s;
    return texts;
}

QStringList TypedTexts(const Variant& definition)
{
    QStringList texts;
    for (const Variant& element : definition.Array().Of<Variant>()) texts << FakeConverter().ValueToText(element, 0);
    return texts;
}
