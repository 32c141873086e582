#pragma once

#include "core/automation/SafeArray.h"
#include "core/ListBox.h"
#include "velsqllib/TypedTextConverter.h"

#include <QCheckBox>
#include <QLineEdit>

using namespace Qt::StringLiterals;

/// An item definition that shows which control became which element: all texts differ, all choices are off their first
/// ones. Here is the control of each element with what is entered there: a text, or the position of an entry. The
/// minimum stands twice: servers expect it so.
inline const QStringList SampleElements =
    u"txtItemName=Name;chkVariable;txtVarName=variable;txtOption=option;cmbClass=2;txtObjName=object;"
    u"txtDesc=Beschreibung, °C;cmbAttr=2;txtLinkItem=PLC2\\link;chkInit;txtInitValue=initial;cmbInitType=11;chkEMPTY;"
    u"chkHstry;chkOnChgEvt;cmbForce=1;chkDdbd;txtItem_2=1;txtItem_2=1;chkMM;txtItem_4=40;txtItem_5=50;chkChatter;"
    u"txtItem_6=60;chkMask;txtItem_0=255;chkBCD;cmbCalc=29;txtItem_1=first;chkReqType;cmbReqType=7;chkReqTypeW;"
    u"cmbReqTypeW=1;chkCompArrays;chkExtrLink;chkDeactivate;cmbItemType=2;cmbLinkProp=3;cmbCalc2=24;txtItem_7=second;"
    u"txtObjOption=object option"_s.split(u';');

/// The elements that are flags.
inline QList<int> Flags()
{
    QList<int> flags;
    for (int i = 0; i < SampleElements.size(); ++i)
        if (SampleElements[i].startsWith(u"chk")) flags << i;
    return flags;
}

/// "cmbClass=1" selects, "chkInit=2" ticks (0: unticks, 1: grays), "txtDesc=text" types.
inline void Enter(const QWidget& dialog, const QString& step)
{
    const QString name = step.section(u'=', 0, 0);
    const QString entered = step.section(u'=', 1);
    if (auto* box = dialog.findChild<QLineEdit*>(name)) box->setText(entered);
    if (auto* list = dialog.findChild<ListBox*>(name)) list->SetListIndex(entered.toInt());
    if (auto* flag = dialog.findChild<QCheckBox*>(name)) flag->setCheckState(Qt::CheckState(entered.toInt()));
}

/// Enters the sample into an add-item dialog, enabled or not, with one flag ticked, or none (-1).
inline void EnterSample(const QWidget& dialog, int tickedFlag)
{
    Enter(dialog, u"txtItem_3=5"_s); // the maximum that is not sent
    for (const QString& element : SampleElements) Enter(dialog, element);
    for (const int flag : Flags()) // after the lists, whose choices tick and untick
        Enter(dialog, SampleElements[flag] + (flag == tickedFlag ? u"=2"_s : u"=0"_s));
}

/// Its elements as typed texts.
inline QStringList SampleDefinition(int tickedFlag)
{
    QStringList texts;
    for (const QString& element : SampleElements) {
        const QString code = element.startsWith(u"cmb") ? u"2,"_s : u"8,"_s;
        texts << (element.startsWith(u"chk") ? u"11,False"_s : code + element.section(u'=', 1));
    }
    if (tickedFlag >= 0) texts[tickedFlag] = u"11,True"_s;
    return texts;
}

inline QStringList TypedTexts(const Variant& definition)
{
    QStringList texts;
    for (const Variant& element : definition.Array().Of<Variant>())
        texts << TypedTextConverter().ValueToText(element, 0);
    return texts;
}
