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
             {m_Form->findChild<QWidget*>(u"picFrame_0"_s), m_Form->findChild<QWidget*>(u"picFrame_1"_s)}) {
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
    for (const ListBox* list : m_Form->findChildren<ListBox*>())
        selected << list->objectName() + u'=' + list->currentText();
    for (const QLineEdit* box : m_Form->findChildren<QLineEdit*>())
        if (!box->text().isEmpty()) texts << box->objectName() + u'=' + box->text();
    for (const QCheckBox* box : m_Form->findChildren<QCheckBox*>())
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
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLController:AddItem"_s);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList()) << "opening it asks and says nothing";
}

TEST_F(AddItemRules, ShowsCaptionsListsAndTipsLiterally)
{
    Open();
    QStringList captions;
    for (const QLabel* label : m_Form->findChildren<QLabel*>())
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
    const auto& tabs = Control<QTabWidget>("sstbAddItem");
    EXPECT_EQ(QStringList({Check("chkVariable").text(), Check("chkDeactivate").text(), tabs.tabText(0), tabs.tabText(1),
                           Control<QPushButton>("cmdOK").text(), Control<QPushButton>("cmdCancel").text(),
                           Control<QGroupBox>("fraConversion").title(), Control<QGroupBox>("fraFiltering").title(),
                           Control<QGroupBox>("Frame1").title()}),
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
    EXPECT_EQ(Box("txtLinkItem").toolTip(), Link);
    EXPECT_FALSE(Qt::mightBeRichText(Link));
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
        {u"cmbItemType=2 cmbItemType=1"_s, alias},
        {u"cmbClass=2 cmbItemType=1"_s, alias},
        {u"cmbItemType=2"_s, array},
        {u"cmbClass=2 cmbItemType=2"_s, array},
        {u"cmbItemType=2 cmbItemType=-1"_s, array},
        {u"cmbItemType=2 cmbItemType=0"_s, u""_s},
        {u"cmbClass=1 cmbItemType=2 cmbItemType=0"_s, object},
        {u"chkVariable=off cmbItemType=0"_s, u""_s},
        {u"chkVariable=off"_s, noVariable},
        {u"chkVariable=gray"_s, noVariable},
        {u"cmbClass=1 chkVariable=off"_s, noVariable},
        {u"cmbClass=1 chkVariable=off chkVariable=on"_s, object},
        {u"cmbClass=4"_s, object},
        {u"cmbClass=4 cmbClass=0"_s, u""_s},
        {u"cmbClass=4 cmbClass=-1"_s, object},
        {u"chkVariable=off cmbClass=-1 chkVariable=on"_s, object}, // no class counts as one of an object
        {u"chkInit=on cmbAttr=1"_s, u"-chkInit"_s},                // read only
        {u"chkInit=on cmbAttr=1 cmbAttr=0"_s, initialValue},
        {u"cmbAttr=1 cmbAttr=2"_s, u""_s},
        {u"cmbAttr=1 cmbAttr=-1"_s, u"-chkInit"_s},
        {u"chkEMPTY=on chkHstry=on chkOnChgEvt=on chkDeactivate=on chkBCD=on chkExtrLink=on chkCompArrays=on"_s, u""_s},
        {u"cmbForce=2 cmbInitType=1 cmbReqType=1 cmbReqTypeW=1 cmbLinkProp=2"_s, u""_s},
    };
    for (const auto& [box, fields] : {std::pair(u"chkInit"_s, initialValue),
                                      {u"chkMask"_s, u"+txtItem_0"_s},
                                      {u"chkDdbd"_s, u"+txtItem_2 +txtItem_3"_s},
                                      {u"chkMM"_s, u"+txtItem_4 +txtItem_5"_s},
                                      {u"chkChatter"_s, u"+txtItem_6"_s},
                                      {u"chkReqType"_s, u"+cmbReqType"_s},
                                      {u"chkReqTypeW"_s, u"+cmbReqTypeW"_s}}) {
        rows.append({box + u"=on"_s, fields});
        rows.append({u"%1=on %1=off"_s.arg(box), u""_s});
        rows.append({u"%1=on %1=gray"_s.arg(box), u""_s});
    }
    Open();
    const QStringList start = Enabled();
    for (const auto& [steps, changes] : rows) {
        SCOPED_TRACE(steps.toStdString());
        Open();
        Run(steps);
        EXPECT_EQ(Enabled(), Changed(start, changes));
        if (!steps.contains(u"chkVariable")) {
            EXPECT_EQ(Check("chkVariable").isChecked(), List("cmbItemType").ListIndex() == 0);
        }
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

TEST_F(AddItemRules, TabReachesTheFieldsOfTheShownPageOnly)
{
    const QString pages[] = {
        u"txtItemName cmbItemType cmbAttr txtDesc txtLinkItem chkInit cmbForce chkEMPTY chkHstry chkOnChgEvt "
        u"chkDeactivate chkVariable cmbClass txtVarName txtOption cmdOK cmdCancel qt_tabwidget_tabbar txtItemName"_s,
        u"chkReqType chkReqTypeW chkBCD chkMask cmbCalc cmbCalc2 chkDdbd chkMM chkChatter cmbLinkProp chkExtrLink "
        u"chkCompArrays cmdOK cmdCancel qt_tabwidget_tabbar chkReqType"_s};
    Show();
    EXPECT_TRUE(Box("txtItemName").hasFocus()) << "where an operator begins";
    for (const int page : {0, 1, 0}) {
        SCOPED_TRACE(page);
        ClickPage(page);
        EXPECT_EQ(Control<QWidget>("picFrame_0").isEnabled(), page == 0);
        EXPECT_EQ(Control<QWidget>("picFrame_1").isEnabled(), page == 1);
        QStringList reached{QApplication::focusWidget()->objectName()};
        for (qsizetype i = pages[page].count(u' '); i > 0; --i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            reached << QApplication::focusWidget()->objectName();
        }
        EXPECT_EQ(reached.join(u' '), pages[page]);
    }
}
