#include "tests/additem/AddItemDialog.h"

#include <QLabel>
#include <QRegularExpression>
#include <QSet>

namespace {

const QString Link = u"[<Controller Name>\\]<Item Name>"_s;

class AddItemRules : public AddItemDialog
{
protected:
    /// The controls that the operator could use if their page were shown, by name.
    QStringList Enabled() const
    {
        QStringList enabled;
        for (const QWidget* page :
             {m_Dialog->findChild<QWidget*>(u"picFrame_0"_s), m_Dialog->findChild<QWidget*>(u"picFrame_1"_s)}) {
            for (const QWidget* control : page->findChildren<QWidget*>(QRegularExpression(u"^(txt|chk|cmb)"_s)))
                if (control->isEnabledTo(page)) enabled << control->objectName();
        }
        enabled.sort();
        return enabled;
    }

    /// "cmbClass=1" selects, "chkInit=on" ticks ("off", "gray"); steps are separated by blanks.
    void Run(const QString& steps)
    {
        static const QHash<QString, Qt::CheckState> States = {
            {u"on"_s, Qt::Checked}, {u"off"_s, Qt::Unchecked}, {u"gray"_s, Qt::PartiallyChecked}};
        for (const QString& step : steps.split(u' ', Qt::SkipEmptyParts)) {
            const QString name = step.section(u'=', 0, 0);
            const QString state = step.section(u'=', 1);
            if (name.startsWith(u"cmb")) List(name).SetListIndex(state.toInt());
            else Check(name).setCheckState(States[state]);
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

TEST_F(AddItemRules, StartsWithItsFirstSelectionsAndFields)
{
    Open();
    QStringList selected, texts, ticked;
    for (const ListBox* list : m_Dialog->findChildren<ListBox*>())
        selected << list->objectName() + u'=' + list->currentText();
    for (const QLineEdit* box : m_Dialog->findChildren<QLineEdit*>())
        if (!box->text().isEmpty()) texts << box->objectName() + u'=' + box->text();
    for (const QCheckBox* box : m_Dialog->findChildren<QCheckBox*>())
        if (box->checkState() != Qt::Unchecked) ticked << box->objectName();
    selected.sort();
    texts.sort();
    EXPECT_EQ(selected.join(u"; "),
              u"cmbAttr=Read / Write; cmbCalc2=(NOP); cmbCalc=(NOP); cmbClass=Controller Class; cmbForce=n/a; "
              u"cmbInitType=VT_I2; cmbItemType=Normal; cmbLinkProp=0:  Value; cmbReqType=VT_VARIANT; "
              u"cmbReqTypeW=VT_VARIANT"_s);
    EXPECT_EQ(texts.join(u' '), u"txtItem_0=0 txtItem_2=0 txtItem_3=0 txtItem_4=0 txtItem_5=0 txtItem_6=0"_s);
    EXPECT_EQ(ticked, QStringList{u"chkVariable"_s});
    EXPECT_EQ(Enabled().join(u' '),
              u"chkBCD chkChatter chkCompArrays chkDdbd chkDeactivate chkEMPTY chkExtrLink chkHstry chkInit chkMM "
              u"chkMask chkOnChgEvt chkReqType chkReqTypeW chkVariable cmbAttr cmbCalc cmbCalc2 cmbClass cmbForce "
              u"cmbItemType cmbLinkProp txtDesc txtItemName txtLinkItem txtOption txtVarName"_s);
    EXPECT_EQ(m_Dialog->windowTitle(), u"VelSQLController:AddItem"_s);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList()) << "opening it asks and says nothing";
}

TEST_F(AddItemRules, ShowsCaptionsListsAndTipsLiterally)
{
    Open();
    QStringList captions;
    for (const QLabel* label : m_Dialog->findChildren<QLabel*>())
        if (label->buddy()) captions << label->buddy()->objectName() + u'=' + label->text() + u'|';
    captions.sort();
    // "Force to change  : " has two blanks in the middle, all have one at the end.
    EXPECT_EQ(captions.join(QString()),
              u"chkBCD=BCD : |chkChatter=Chattering : |chkCompArrays=Compare Arrays : |chkDdbd=Deadband : |"
              u"chkEMPTY=Use VT_EMPTY : |chkExtrLink=Extract Linking : |chkHstry=Use History : |"
              u"chkInit=Initialize : |chkMM=Min-Max : |chkMask=Masking : |chkOnChgEvt=OnChange event : |"
              u"chkReqType=Request Type (R) : |chkReqTypeW=Request Type (W) : |cmbAttr=Attribute : |"
              u"cmbCalc=Calculation : |cmbClass=Class : |cmbForce=Force to change  : |cmbItemType=Item Type : |"
              u"cmbLinkProp=Property of Linked item : |txtDesc=Description : |txtItemName=Item Name : |"
              u"txtLinkItem=Link Item : |txtObjName=Object Name : |txtObjOption=Object Option : |"
              u"txtOption=Option : |txtVarName=Variable Name : |"_s);
    const auto& tabs = Control<QTabWidget>(u"sstbAddItem"_s);
    EXPECT_EQ(QStringList({Check(u"chkVariable"_s).text(), Check(u"chkDeactivate"_s).text(), tabs.tabText(0),
                           tabs.tabText(1), Control<QPushButton>(u"cmdOK"_s).text(),
                           Control<QPushButton>(u"cmdCancel"_s).text(), Control<QGroupBox>(u"fraConversion"_s).title(),
                           Control<QGroupBox>(u"fraFiltering"_s).title(), Control<QGroupBox>(u"Frame1"_s).title()}),
              QStringList({u"VelVariable"_s, u"Deactivate"_s, u"&General"_s, u"&Details"_s, u"&OK"_s, u"&Cancel"_s,
                           u"Data Conversion"_s, u"Data Filtering"_s, u"Misc."_s}));

    const QString types = u"VT_BOOL VT_I1 VT_UI1 VT_I2 VT_UI2 VT_I4 VT_UI4 VT_R4 VT_R8 VT_BSTR VT_DATE VT_CY"_s;
    const QString operators = u"(NOP) + - * / MOD AND OR XOR << >> = <> <= < >= > CAT IDIV IMP POW ABS FIX INT NEG NOT "
                              u"RAD2DEG DEG2RAD LEN Left$ Right$"_s;
    const std::pair<QString, QStringList> lists[] = {
        {u"cmbItemType"_s, {u"Normal"_s, u"Alias"_s, u"Array"_s}},
        {u"cmbClass"_s,
         {u"Controller Class"_s, u"Task Class"_s, u"Robot Class"_s, u"Extension Class"_s, u"File Class"_s}},
        {u"cmbAttr"_s, {u"Read / Write"_s, u"Read Only"_s, u"Write Only"_s}},
        {u"cmbInitType"_s, types.split(u' ')},
        {u"cmbForce"_s, {u"n/a"_s, u"Reading"_s, u"Writing"_s}},
        {u"cmbCalc"_s, operators.split(u' ')},
        {u"cmbCalc2"_s, operators.split(u' ')},
        {u"cmbReqType"_s, (types + u" VT_VARIANT"_s).split(u' ')},
        {u"cmbReqTypeW"_s, (types + u" VT_VARIANT"_s).split(u' ')},
        {u"cmbLinkProp"_s, {u"0:  Value"_s, u"1:  ID"_s, u"2:  Activation"_s, u"3:  LinkActivation"_s}},
    };
    for (const auto& [name, entries] : lists) {
        QStringList shown;
        for (int i = 0; i < List(name).ListCount(); ++i) shown << List(name).List(i);
        EXPECT_EQ(shown, entries) << name.toStdString();
    }

    QStringList tips;
    for (int i = 0; i < 8; ++i) tips << Box(u"txtItem_%1"_s.arg(i)).toolTip();
    EXPECT_EQ(tips, QStringList({u"Mask Data (VT_I4)"_s, Link, u"Min. (VT_R4)"_s, u"Max. (VT_R4)"_s, u"Min. (VT_R4)"_s,
                                 u"Max. (VT_R4)"_s, u"Max (VT_I4)"_s, Link}));
    EXPECT_EQ(Box(u"txtLinkItem"_s).toolTip(), Link);
    EXPECT_FALSE(Qt::mightBeRichText(Link));
}

TEST_F(AddItemRules, EnablesWhatEachChoiceNeeds)
{
    const struct
    {
        const char* Title;
        QString Steps;
        /// Against the enabled controls of a new dialog.
        QString Changes;
    } rows[] = {
        {"an alias keeps the variable's name", u"cmbItemType=1"_s, u"-chkVariable -txtOption -cmbClass"_s},
        {"an alias after an array", u"cmbItemType=2 cmbItemType=1"_s, u"-chkVariable -txtOption -cmbClass"_s},
        {"an alias of an object", u"cmbClass=2 cmbItemType=1"_s, u"-chkVariable -txtOption -cmbClass"_s},
        {"an array has no variable and no linked property", u"cmbItemType=2"_s,
         u"-chkVariable -txtVarName -txtOption -cmbClass -cmbLinkProp"_s},
        {"an array of an object", u"cmbClass=2 cmbItemType=2"_s,
         u"-chkVariable -txtVarName -txtOption -cmbClass -cmbLinkProp"_s},
        {"normal again", u"cmbItemType=2 cmbItemType=0"_s, u""_s},
        {"normal again, with an object", u"cmbClass=1 cmbItemType=2 cmbItemType=0"_s, u"+txtObjName +txtObjOption"_s},
        {"normal again, with the box unticked before", u"chkVariable=off cmbItemType=0"_s, u""_s},
        {"no item type", u"cmbItemType=2 cmbItemType=-1"_s,
         u"-chkVariable -txtVarName -txtOption -cmbClass -cmbLinkProp"_s},
        {"no variable", u"chkVariable=off"_s, u"-txtVarName -txtOption -cmbClass"_s},
        {"half a variable is none", u"chkVariable=gray"_s, u"-txtVarName -txtOption -cmbClass"_s},
        {"no variable of an object", u"cmbClass=1 chkVariable=off"_s, u"-txtVarName -txtOption -cmbClass"_s},
        {"a variable again, of an object", u"cmbClass=1 chkVariable=off chkVariable=on"_s,
         u"+txtObjName +txtObjOption"_s},
        {"an object", u"cmbClass=4"_s, u"+txtObjName +txtObjOption"_s},
        {"the controller again", u"cmbClass=4 cmbClass=0"_s, u""_s},
        {"no class", u"cmbClass=4 cmbClass=-1"_s, u"+txtObjName +txtObjOption"_s},
        {"a variable without a class counts as one of an object", u"chkVariable=off cmbClass=-1 chkVariable=on"_s,
         u"+txtObjName +txtObjOption"_s},
        {"an initial value", u"chkInit=on"_s, u"+txtInitValue +cmbInitType"_s},
        {"half an initial value is none", u"chkInit=on chkInit=gray"_s, u""_s},
        {"read only", u"chkInit=on cmbAttr=1"_s, u"-chkInit"_s},
        {"writable again", u"chkInit=on cmbAttr=1 cmbAttr=0"_s, u"+txtInitValue +cmbInitType"_s},
        {"write only, not initialized", u"cmbAttr=1 cmbAttr=2"_s, u""_s},
        {"no attribute", u"cmbAttr=1 cmbAttr=-1"_s, u"-chkInit"_s},
        {"mask", u"chkMask=on"_s, u"+txtItem_0"_s},
        {"mask off", u"chkMask=on chkMask=off"_s, u""_s},
        {"deadband", u"chkDdbd=on"_s, u"+txtItem_2 +txtItem_3"_s},
        {"deadband off", u"chkDdbd=on chkDdbd=off"_s, u""_s},
        {"min-max", u"chkMM=on"_s, u"+txtItem_4 +txtItem_5"_s},
        {"min-max off", u"chkMM=on chkMM=gray"_s, u""_s},
        {"chattering", u"chkChatter=on"_s, u"+txtItem_6"_s},
        {"chattering off", u"chkChatter=on chkChatter=off"_s, u""_s},
        {"type when reading", u"chkReqType=on"_s, u"+cmbReqType"_s},
        {"type when reading off", u"chkReqType=on chkReqType=off"_s, u""_s},
        {"type when writing", u"chkReqTypeW=on"_s, u"+cmbReqTypeW"_s},
        {"type when writing off", u"chkReqTypeW=on chkReqTypeW=off"_s, u""_s},
        {"flags without a rule",
         u"chkEMPTY=on chkHstry=on chkOnChgEvt=on chkDeactivate=on chkBCD=on chkExtrLink=on chkCompArrays=on"_s, u""_s},
        {"lists without a rule", u"cmbForce=2 cmbInitType=1 cmbReqType=1 cmbReqTypeW=1 cmbLinkProp=2"_s, u""_s},
    };
    Open();
    const QStringList start = Enabled();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        Open();
        Run(row.Steps);
        EXPECT_EQ(Enabled(), Changed(start, row.Changes));
    }
}

TEST_F(AddItemRules, TicksAndUnticksTheVariableWithTheItemType)
{
    Open();
    for (const auto& [steps, ticked] : {std::pair(u"cmbItemType=1"_s, false),
                                        {u"cmbItemType=0"_s, true},
                                        {u"cmbItemType=2"_s, false},
                                        {u"cmbItemType=0"_s, true}}) {
        Run(steps);
        EXPECT_EQ(Check(u"chkVariable"_s).isChecked(), ticked) << steps.toStdString();
    }
}

TEST_F(AddItemRules, CalculationsThatTakeAnOperandEnableIt)
{
    const QSet<QString> without = {u"(NOP)"_s, u"ABS"_s, u"FIX"_s,     u"INT"_s,    u"NEG"_s,
                                   u"NOT"_s,   u"LEN"_s, u"RAD2DEG"_s, u"DEG2RAD"_s};
    Open();
    const QStringList start = Enabled();
    for (const auto& [list, operand] :
         {std::pair(u"cmbCalc"_s, u"txtItem_1"_s), std::pair(u"cmbCalc2"_s, u"txtItem_7"_s)}) {
        for (int position = 30; position >= 0; --position) {
            SCOPED_TRACE(list.toStdString() + std::to_string(position));
            List(list).SetListIndex(position);
            const QString calculation = List(list).currentText();
            EXPECT_EQ(Enabled(), Changed(start, without.contains(calculation) ? QString() : u'+' + operand));
            EXPECT_EQ(List(list).toolTip(), calculation);
            EXPECT_FALSE(Qt::mightBeRichText(calculation));
        }
    }
}

TEST_F(AddItemRules, DisabledFieldsKeepTheirTextAndLookDisabled)
{
    Open();
    const auto looksDisabled = [](const QLineEdit& box) {
        const QPalette palette = box.palette();
        return palette.color(QPalette::Active, QPalette::Base) == palette.color(QPalette::Active, QPalette::Button);
    };
    for (const auto& [field, tick] : {std::pair(u"txtItem_0"_s, u"chkMask"_s), {u"txtInitValue"_s, u"chkInit"_s}}) {
        EXPECT_TRUE(looksDisabled(Box(field)));
        Check(tick).setChecked(true);
        EXPECT_FALSE(looksDisabled(Box(field)));
        Box(field).setText(u"12"_s);
        Check(tick).setChecked(false);
        EXPECT_TRUE(looksDisabled(Box(field)));
        EXPECT_EQ(Box(field).text(), u"12"_s);
    }
}

TEST_F(AddItemRules, TabReachesTheFieldsOfTheShownPageOnly)
{
    const QString pages[] = {
        u"txtItemName cmbItemType cmbAttr txtDesc txtLinkItem chkInit cmbForce chkEMPTY chkHstry chkOnChgEvt "
        u"chkDeactivate chkVariable cmbClass txtVarName txtOption cmdOK cmdCancel qt_tabwidget_tabbar txtItemName"_s,
        u"chkReqType chkReqTypeW chkBCD chkMask cmbCalc cmbCalc2 chkDdbd chkMM chkChatter cmbLinkProp chkExtrLink "
        u"chkCompArrays cmdOK cmdCancel qt_tabwidget_tabbar chkReqType"_s};
    Show();
    EXPECT_TRUE(Box(u"txtItemName"_s).hasFocus()) << "where an operator begins";
    for (const int page : {0, 1, 0}) {
        SCOPED_TRACE(page);
        ClickPage(page);
        EXPECT_EQ(Control<QWidget>(u"picFrame_0"_s).isEnabled(), page == 0);
        EXPECT_EQ(Control<QWidget>(u"picFrame_1"_s).isEnabled(), page == 1);
        QStringList reached{QApplication::focusWidget()->objectName()};
        for (qsizetype i = pages[page].count(u' '); i > 0; --i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached << QApplication::focusWidget()->objectName();
        }
        EXPECT_EQ(reached.join(u' '), pages[page]);
    }
}
