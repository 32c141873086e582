#include "tests/additem/AddItemDialog.h"
#include "tests/additem/DefinitionSample.h"

#include <QLabel>
#include <QRegularExpression>

TEST_F(AddItemDialog, ListsHoldTheServersCodesAndCaptionsAreSpelledAsOperatorsKnowThem)
{
    const QString types = u"VT_BOOL;VT_I1;VT_UI1;VT_I2;VT_UI2;VT_I4;VT_UI4;VT_R4;VT_R8;VT_BSTR;VT_DATE;VT_CY;"_s;
    const QString operators = u"(NOP);+;-;*;/;MOD;AND;OR;XOR;<<;>>;=;<>;<=;<;>=;>;CAT;IDIV;IMP;POW;ABS;FIX;INT;NEG;NOT;"
                              u"RAD2DEG;DEG2RAD;LEN;Left$;Right$;"_s;
    Open();
    QStringList lists;
    for (const QString& name :
         u"ItemType Class Attr InitType Force Calc Calc2 ReqType ReqTypeW LinkProp"_s.split(u' ')) {
        lists << QString();
        for (int i = 0; i < List(u"cmb"_s + name).ListCount(); ++i)
            lists.last() += List(u"cmb"_s + name).List(i) + u';';
    }
    EXPECT_EQ(lists, QStringList({u"Normal;Alias;Array;"_s,
                                  u"Controller Class;Task Class;Robot Class;Extension Class;File Class;"_s,
                                  u"Read / Write;Read Only;Write Only;"_s, types, u"n/a;Reading;Writing;"_s, operators,
                                  operators, types + u"VT_VARIANT;"_s, types + u"VT_VARIANT;"_s,
                                  u"0:  Value;1:  ID;2:  Activation;3:  LinkActivation;"_s})); // on purpose two blanks
    QString captions;
    for (const QLabel* label : m_Form->findChildren<QLabel*>()) captions += label->text() + u';';
    EXPECT_TRUE(captions.contains(u";Force to change  : ;")) << "two blanks in the middle, one at the end";
    EXPECT_EQ(Box("txtItem_5").toolTip(), u"Max. (VT_R4)"_s);
    EXPECT_EQ(Box("txtItem_6").toolTip(), u"Max (VT_I4)"_s) << "without the dot";
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLController:AddItem"_s);
}

TEST_F(AddItemDialog, EnablesWhatEachChoiceNeeds)
{
    const QString alias = u"-chkVariable -txtOption -cmbClass"_s; // it keeps the variable's name
    const QString array = alias + u" -txtVarName -cmbLinkProp"_s;
    const QString noVariable = u"-txtVarName -txtOption -cmbClass"_s;
    const QString object = u"+txtObjName +txtObjOption"_s;
    QList<std::pair<QString, QString>> rows = {
        // steps, and the changes that they make to the enabled fields of a new dialog
        {u"cmbClass=2;cmbItemType=1"_s, alias},
        {u"cmbItemType=2"_s, array},
        {u"cmbClass=1;cmbItemType=2;cmbItemType=0"_s, object},
        {u"cmbClass=1;chkVariable=1"_s, noVariable}, // grayed
        {u"cmbClass=1;chkVariable=0;chkVariable=2"_s, object},
        {u"cmbClass=4;cmbClass=0"_s, u""_s},
        {u"chkVariable=0;cmbClass=-1;chkVariable=2"_s, object}, // no class counts as one of an object
        {u"chkInit=2;cmbAttr=1"_s, u"-chkInit"_s},              // read only
        {u"chkInit=2;cmbAttr=1;cmbAttr=2"_s, u"+txtInitValue +cmbInitType"_s},
    };
    const QString boxes = u"chkInit +txtInitValue +cmbInitType;chkMask +txtItem_0;chkDdbd +txtItem_2 +txtItem_3;"
                          u"chkMM +txtItem_4 +txtItem_5;chkChatter +txtItem_6;chkReqType +cmbReqType;"
                          u"chkReqTypeW +cmbReqTypeW"_s;
    for (const QString& box : boxes.split(u';')) {
        rows.append({box.section(u' ', 0, 0) + u"=2"_s, box.section(u' ', 1)});
        rows.append({u"%1=2;%1=0"_s.arg(box.section(u' ', 0, 0)), u""_s});
    }
    for (int calculation = 0; calculation < 31; ++calculation) {
        const bool takesOperand = calculation > 0 && (calculation < 21 || calculation > 28); // not (NOP), ABS to LEN
        rows.append({u"cmbCalc=%1;cmbCalc2=%1"_s.arg(calculation), takesOperand ? u"+txtItem_1 +txtItem_7"_s : u""_s});
    }
    const auto enabled = [this] { // what the operator could use if its page were shown
        QSet<QString> names;
        for (const QWidget* field : m_Form->findChildren<QWidget*>(QRegularExpression(u"^(txt|chk|cmb)"_s)))
            if (field->isEnabledTo(field->parentWidget())) names << field->objectName();
        return names;
    };
    const QStringList start =
        u"chkBCD chkChatter chkCompArrays chkDdbd chkDeactivate chkEMPTY chkExtrLink chkHstry chkInit chkMM chkMask "
        u"chkOnChgEvt chkReqType chkReqTypeW chkVariable cmbAttr cmbCalc cmbCalc2 cmbClass cmbForce cmbItemType "
        u"cmbLinkProp txtDesc txtItemName txtLinkItem txtOption txtVarName"_s.split(u' ');
    for (const auto& [steps, changes] : rows) {
        SCOPED_TRACE(steps.toStdString());
        QSet<QString> expected(start.begin(), start.end());
        for (const QString& change : changes.split(u' ', Qt::SkipEmptyParts)) {
            if (change.startsWith(u'+')) expected << change.sliced(1);
            else expected.remove(change.sliced(1));
        }
        Open();
        for (const QString& step : steps.split(u';')) Enter(*m_Form, step);
        EXPECT_EQ(enabled(), expected);
        if (!steps.contains(u"chkVariable")) {
            EXPECT_EQ(Check("chkVariable").isChecked(), List("cmbItemType").ListIndex() == 0);
        }
    }
}

TEST_F(AddItemDialog, FieldsThatAreLeftAreTrimmedNormalizedOrRefused)
{
    const QString integers = u"txtItem_0 txtItem_6"_s;
    const QString singles = u"txtItem_2 txtItem_3 txtItem_4 txtItem_5"_s;
    const QString numbers = integers + u' ' + singles;
    const QString texts = u"txtDesc txtInitValue txtLinkItem txtObjName txtObjOption txtOption txtVarName"_s;
    const QString odd = u" \t1 \\#$:! "_s + QString(40'000, u'x') + u"  "_s;
    const QString badCharacters =
        u"2 Those characters \"\\#$:!\" cannot be used as an item name or a controller name."_s;
    const QString onlyANumber = u"2 The name only of the numerical value cannot be used."_s;
    const std::tuple<QString, QStringList, std::optional<QString>, QString> rows[] = {
        // fields, what is typed, what is left of it unless it is refused, and the message box
        {u"txtItemName"_s, {u" \t Abc d "_s}, u"Abc d"_s, {}},
        {u"txtItemName"_s, {u"<b>1 Süd & 日本</b>"_s}, u"<b>1 Süd & 日本</b>"_s, {}},
        {u"txtItemName"_s, {u"Item!1"_s, u" a\\b "_s, u"#1"_s, u"a$"_s, u"a:b"_s}, {}, badCharacters},
        {u"txtItemName"_s, {u"123"_s, u" 4.5 "_s, u"1e999"_s}, {}, onlyANumber},
        {numbers, {u""_s, u"1E99"_s}, u"0"_s, {}},
        {numbers, {u"12abc"_s}, {}, {}}, // without a word, on purpose
        {integers, {u"-2.5"_s}, u"-2"_s, {}},
        {integers, {u"2147483647.5"_s}, u"0"_s, {}},
        {singles, {u" -1.50 "_s}, u"-1.5"_s, {}},
        {singles, {u"16777217"_s}, u"1.677722E+07"_s, {}},
        {texts, {odd}, odd.trimmed(), {}},
        {u"txtItem_1 txtItem_7"_s, {odd}, odd, {}}, // operands are left alone
    };
    Show();
    for (const auto& [fields, entries, left, box] : rows) {
        for (const QString& field : fields.split(u' ')) {
            for (const QString& typed : entries) {
                EXPECT_EQ(Left(field, typed), left) << field.toStdString() << ": " << typed.toStdString();
                EXPECT_EQ(TakeBoxes().join(u' '), box);
            }
        }
    }
    Type("txtItemName", u"1"_s);
    QTest::mouseClick(&Control<QPushButton>("cmdCancel"), Qt::LeftButton);
    EXPECT_FALSE(m_Form->isVisible() || m_Form->m_TreeNode);
    EXPECT_EQ(TakeBoxes() + TakeLog() + TakeCalls(), QStringList()) << "closes without a check";
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}
