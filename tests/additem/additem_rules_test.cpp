#include "tests/additem/AddItemDialog.h"

#include <QLabel>
#include <QRegularExpression>

namespace {

class AddItemRules : public AddItemDialog
{
protected:
    /// The controls that the operator could use if their page were shown, by name.
    QStringList Enabled() const
    {
        QStringList enabled;
        for (const QString& name : {u"picFrame_0"_s, u"picFrame_1"_s}) {
            const auto* page = m_Form->findChild<QWidget*>(name);
            for (const QWidget* control : page->findChildren<QWidget*>(QRegularExpression(u"^(txt|chk|cmb)"_s)))
                if (control->isEnabledTo(page)) enabled << control->objectName();
        }
        enabled.sort();
        return enabled;
    }

    /// "cmbClass=1" selects, "chkInit=2" ticks (0: unticks, 1: grays); steps are separated by blanks.
    void Run(const QString& steps)
    {
        for (const QString& step : steps.split(u' ')) {
            const QString name = step.section(u'=', 0, 0);
            const int state = step.section(u'=', 1).toInt();
            if (name.startsWith(u"cmb")) List(name).SetListIndex(state);
            else Check(name).setCheckState(static_cast<Qt::CheckState>(state));
        }
    }
};

/// `names` without those marked "-" in `changes`, with those marked "+".
QStringList Changed(QStringList names, const QString& changes)
{
    for (const QString& change : changes.split(u' ', Qt::SkipEmptyParts)) {
        if (change.startsWith(u'+')) names << change.sliced(1);
        else EXPECT_TRUE(names.removeOne(change.sliced(1))) << change.toStdString();
    }
    names.sort();
    return names;
}

} // namespace

TEST_F(AddItemRules, ListsHoldTheServersCodesAndCaptionsAreSpelledAsOperatorsKnowThem)
{
    const QString types = u"VT_BOOL;VT_I1;VT_UI1;VT_I2;VT_UI2;VT_I4;VT_UI4;VT_R4;VT_R8;VT_BSTR;VT_DATE;VT_CY"_s;
    const QString operators = u"(NOP);+;-;*;/;MOD;AND;OR;XOR;<<;>>;=;<>;<=;<;>=;>;CAT;IDIV;IMP;POW;ABS;FIX;INT;NEG;NOT;"
                              u"RAD2DEG;DEG2RAD;LEN;Left$;Right$"_s;
    const std::pair<const char*, QString> lists[] = {
        {"cmbItemType", u"Normal;Alias;Array"_s},
        {"cmbClass", u"Controller Class;Task Class;Robot Class;Extension Class;File Class"_s},
        {"cmbAttr", u"Read / Write;Read Only;Write Only"_s},
        {"cmbInitType", types},
        {"cmbForce", u"n/a;Reading;Writing"_s},
        {"cmbCalc", operators},
        {"cmbCalc2", operators},
        {"cmbReqType", types + u";VT_VARIANT"_s},
        {"cmbReqTypeW", types + u";VT_VARIANT"_s},
        {"cmbLinkProp", u"0:  Value;1:  ID;2:  Activation;3:  LinkActivation"_s}}; // two blanks, on purpose
    Open();
    for (const auto& [name, entries] : lists) {
        QStringList shown;
        for (int i = 0; i < List(name).ListCount(); ++i) shown << List(name).List(i);
        EXPECT_EQ(shown.join(u';'), entries) << name;
    }
    QStringList captions;
    for (const QLabel* label : m_Form->findChildren<QLabel*>()) captions << label->text();
    EXPECT_TRUE(captions.contains(u"Force to change  : ")) << "two blanks in the middle, one at the end";
    EXPECT_EQ(Box("txtItem_5").toolTip(), u"Max. (VT_R4)"_s);
    EXPECT_EQ(Box("txtItem_6").toolTip(), u"Max (VT_I4)"_s) << "without the dot";
    EXPECT_EQ(Box("txtLinkItem").toolTip(), u"[<Controller Name>\\]<Item Name>"_s) << "shown as plain text";
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLController:AddItem"_s);
}

TEST_F(AddItemRules, EnablesWhatEachChoiceNeeds)
{
    const QString noVariable = u"-txtVarName -txtOption -cmbClass"_s;
    const QString alias = u"-chkVariable -txtOption -cmbClass"_s; // it keeps the variable's name
    const QString array = u"-chkVariable -txtVarName -txtOption -cmbClass -cmbLinkProp"_s;
    const QString object = u"+txtObjName +txtObjOption"_s;
    const QString initialValue = u"+txtInitValue +cmbInitType"_s;
    QList<std::pair<QString, QString>> rows = {
        // steps, and the changes that they make to the enabled controls of a new dialog
        {u"cmbItemType=1"_s, alias},
        {u"cmbClass=2 cmbItemType=1"_s, alias},
        {u"cmbItemType=2"_s, array},
        {u"cmbItemType=2 cmbItemType=-1"_s, array},
        {u"cmbItemType=2 cmbItemType=0"_s, u""_s},
        {u"cmbClass=1 cmbItemType=2 cmbItemType=0"_s, object},
        {u"chkVariable=0"_s, noVariable},
        {u"chkVariable=1"_s, noVariable},
        {u"cmbClass=1 chkVariable=0"_s, noVariable},
        {u"cmbClass=1 chkVariable=0 chkVariable=2"_s, object},
        {u"cmbClass=4"_s, object},
        {u"cmbClass=4 cmbClass=0"_s, u""_s},
        {u"cmbClass=4 cmbClass=-1"_s, object},
        {u"chkVariable=0 cmbClass=-1 chkVariable=2"_s, object}, // no class counts as one of an object
        {u"chkInit=2 cmbAttr=1"_s, u"-chkInit"_s},              // read only
        {u"chkInit=2 cmbAttr=1 cmbAttr=0"_s, initialValue},
        {u"cmbAttr=1 cmbAttr=2"_s, u""_s},
    };
    const QString boxes = u"chkInit +txtInitValue +cmbInitType;chkMask +txtItem_0;chkDdbd +txtItem_2 +txtItem_3;"
                          u"chkMM +txtItem_4 +txtItem_5;chkChatter +txtItem_6;chkReqType +cmbReqType;"
                          u"chkReqTypeW +cmbReqTypeW"_s;
    for (const QString& box : boxes.split(u';')) {
        rows.append({box.section(u' ', 0, 0) + u"=2"_s, box.section(u' ', 1)});
        rows.append({u"%1=2 %1=0"_s.arg(box.section(u' ', 0, 0)), u""_s});
    }
    for (int calculation = 0; calculation < 31; ++calculation) {
        const bool takesOperand = calculation > 0 && (calculation < 21 || calculation > 28); // not (NOP), ABS to LEN
        rows.append({u"cmbCalc=%1"_s.arg(calculation), takesOperand ? u"+txtItem_1"_s : u""_s});
        rows.append({u"cmbCalc2=%1"_s.arg(calculation), takesOperand ? u"+txtItem_7"_s : u""_s});
    }
    Open();
    const QStringList start = Enabled();
    EXPECT_EQ(start.join(u' '),
              u"chkBCD chkChatter chkCompArrays chkDdbd chkDeactivate chkEMPTY chkExtrLink chkHstry chkInit chkMM "
              u"chkMask chkOnChgEvt chkReqType chkReqTypeW chkVariable cmbAttr cmbCalc cmbCalc2 cmbClass cmbForce "
              u"cmbItemType cmbLinkProp txtDesc txtItemName txtLinkItem txtOption txtVarName"_s);
    for (const auto& [steps, changes] : rows) {
        SCOPED_TRACE(steps.toStdString());
        Open();
        Run(steps);
        EXPECT_EQ(Enabled(), Changed(start, changes));
        EXPECT_EQ(List("cmbCalc").toolTip(), List("cmbCalc").currentText());
        if (!steps.contains(u"chkVariable")) {
            EXPECT_EQ(Check("chkVariable").isChecked(), List("cmbItemType").ListIndex() == 0);
        }
    }
}

TEST_F(AddItemRules, OnlyTheFieldsOfTheShownPageTakeTheFocus)
{
    Show();
    EXPECT_TRUE(Box("txtItemName").hasFocus()) << "where an operator begins";
    QTabBar* bar = Control<QTabWidget>("sstbAddItem").tabBar();
    for (const int page : {1, 0}) {
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(page).center());
        EXPECT_EQ(IsEnabled("picFrame_0"), page == 0);
        EXPECT_EQ(IsEnabled("picFrame_1"), page == 1);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), page == 0 ? u"txtItemName"_s : u"chkReqType"_s);
    }
}

TEST_F(AddItemRules, ANameIsTrimmedAndHasToBeOne)
{
    const QString badCharacters =
        u"2 Those characters \"\\#$:!\" cannot be used as an item name or a controller name."_s;
    const QString onlyANumber = u"2 The name only of the numerical value cannot be used."_s;
    const std::pair<QStringList, QStringList> rows[] = {
        {{}, {u" \t Abc d "_s, u""_s, u"   "_s, u"12abc"_s, u"1,5"_s, u"0x10"_s, u"<b>Süd & 日本</b>"_s}},
        {{badCharacters}, {u"Item!1"_s, u" a\\b "_s, u"#1"_s, u"a$"_s, u"a:b"_s}},
        {{onlyANumber}, {u"123"_s, u" 4.5 "_s, u"-3"_s, u"1E3"_s, u"1e999"_s}},
    };
    Show();
    for (const auto& [boxes, names] : rows) {
        for (const QString& name : names) {
            EXPECT_EQ(Left("txtItemName", name), boxes.isEmpty() ? std::optional(name.trimmed()) : std::nullopt);
            EXPECT_EQ(TakeBoxes(), boxes) << name.toStdString();
            Type("txtItemName", QString());
        }
    }
    Type("txtItemName", u"1"_s);
    QTest::mouseClick(&Control<QPushButton>("cmdCancel"), Qt::LeftButton);
    EXPECT_FALSE(m_Form->isVisible() || m_Form->m_TreeNode);
    EXPECT_EQ(TakeBoxes() + TakeLog() + TakeCalls(), QStringList()) << "closes without a check";
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(AddItemRules, NumbersAreNormalizedAndOtherTextsTrimmedWithoutAMessage)
{
    const QString integers = u"txtItem_0 txtItem_6"_s;
    const QString singles = u"txtItem_2 txtItem_3 txtItem_4 txtItem_5"_s;
    const QString numbers = integers + u' ' + singles;
    const QString texts = u"txtDesc txtInitValue txtLinkItem txtObjName txtObjOption txtOption txtVarName"_s;
    const QString odd = u" \t1 \\#$:! "_s + QString(40'000, u'x') + u"  "_s;
    const std::tuple<QString, QString, std::optional<QString>> rows[] = {
        {numbers, u""_s, u"0"_s},
        {numbers, u" +12 "_s, u"12"_s},
        {numbers, u"12abc"_s, {}},
        {numbers, u"1E99"_s, u"0"_s},
        {integers, u"-2.5"_s, u"-2"_s},
        {integers, u"2147483647.5"_s, u"0"_s},
        {singles, u" -1.50 "_s, u"-1.5"_s},
        {singles, u"-0"_s, u"0"_s},
        {singles, u"16777217"_s, u"1.677722E+07"_s},
        {texts, odd, odd.trimmed()},
        {u"txtItem_1 txtItem_7"_s, odd, odd}, // operands are left alone
    };
    Show();
    for (const auto& [fields, typed, left] : rows)
        for (const QString& field : fields.split(u' ')) EXPECT_EQ(Left(field, typed), left) << field.toStdString();
    EXPECT_EQ(TakeBoxes(), QStringList());
}
