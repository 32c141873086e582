#include "core/modValues.h"
#include "tests/item/ItemWindow.h"

namespace {

class ItemRules : public ItemWindow
{
protected:
    /// Leaves a field as the Tab key does.
    void Leave(const char* name)
    {
        Box(name).setFocus();
        QTest::keyClick(&Box(name), Qt::Key_Tab);
    }
    void ShowForm()
    {
        m_Main.Widget()->show();
        Open().ShowForm();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.Widget()));
    }
};

} // namespace

TEST_F(ItemRules, KeepsTheDelayBoxOverChangesOfTheProperty)
{
    const struct
    {
        bool TickedFirst;
        QStringList Chosen;
        bool TickedThen;
    } rows[] = {
        {true, {u"Elements"_s, u"Value"_s}, true},
        {false, {u"Tag"_s, u"Value"_s}, false},
        // Each choice of another property remembers anew, also of the same one: meant.
        {true, {u"Tag"_s, u"ID"_s, u"Value"_s}, false},
        {true, {u"ID"_s, u"ID"_s, u"Value"_s}, false},
        // What is restored then is what was remembered at load.
        {true, {u"Value"_s}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Chosen.join(u' ').toStdString());
        Open();
        Tick("chkDelay", row.TickedFirst);
        for (const QString& property : row.Chosen) Choose("cmbProperty", property);
        EXPECT_EQ(Check("chkDelay").isChecked(), row.TickedThen);
        EXPECT_EQ(IsEnabled("txtDelay"), row.TickedThen);
        EXPECT_EQ(IsEnabled("cmdGet"), !row.TickedThen);
    }
}

TEST_F(ItemRules, EnablesWhatAPropertyNeeds)
{
    const QString always = u"cmbProperty cmbType %1cmdPut chkActv cmdSnapshot cmdPerfchk cmdHide fgItem"_s;
    const struct
    {
        QString Property;
        bool Delay;
        QString Fields;
    } rows[] = {{u"Value"_s, false, u"chkDelay cmdGet "_s},
                {u"Value"_s, true, u"chkDelay txtDelay "_s},
                {u"Tag"_s, true, u"cmdGet "_s},
                {u"ID"_s, true, u"cmdGet "_s},
                {u"Elements"_s, true, u"txtElements cmdGet "_s}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Property.toStdString());
        Open();
        if (row.Property != u"Value") Tick("chkDelay", row.Delay);
        Choose("cmbProperty", row.Property);
        if (row.Property == u"Value") Tick("chkDelay", row.Delay);
        EXPECT_EQ(Enabled(), always.arg(row.Fields));
    }
}

TEST_F(ItemRules, EnablesWhatATypeNeeds)
{
    Open();
    for (int index = 0; index < modMain::TypeList().size(); ++index) {
        SCOPED_TRACE(index);
        List("cmbType").SetListIndex(index);
        EXPECT_EQ(IsEnabled("txtValue"), index > 1); // neither EMPTY nor NULL
        EXPECT_EQ(IsEnabled("cmdPut"), index < 21);  // not (Unknown)
    }
}

TEST_F(ItemRules, ChecksTheDelayWhenItIsLeft)
{
    const struct
    {
        QString Typed, Left;
        bool Refused;
        QStringList Boxes;
    } rows[] = {{u""_s, u"0"_s, false, {}},
                {u"-5"_s, u"5"_s, false, {}},
                {u" 2.5 "_s, u"2"_s, false, {}},
                {u"12abc"_s, u"12abc"_s, true, {}},
                {u"2147483648"_s, u"2147483648"_s, true, {u"2 Overflow"_s}},
                {u"-2147483648"_s, u"-2147483648"_s, true, {u"2 Overflow"_s}}};
    ShowForm();
    Tick("chkDelay");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Typed.toStdString());
        Type("txtDelay", row.Typed);
        Leave("txtDelay");
        EXPECT_EQ(Text("txtDelay"), row.Left);
        EXPECT_EQ(Box("txtDelay").hasFocus(), row.Refused);
        EXPECT_EQ(Box("txtDelay").selectedText(), row.Refused ? row.Left : QString());
        EXPECT_EQ(TakeBoxes(), row.Boxes);
        Type("txtDelay", u"0"_s);
    }
}

TEST_F(ItemRules, ARefusedDelayKeepsPutFromBeingPressed)
{
    ShowForm();
    Tick("chkDelay");
    Type("txtDelay", u"soon"_s);
    Box("txtDelay").setFocus();
    QTest::mouseClick(&Control<QPushButton>("cmdPut"), Qt::LeftButton);
    QTest::keyClick(&Box("txtDelay"), Qt::Key_P, Qt::AltModifier);
    EXPECT_TRUE(Box("txtDelay").hasFocus());
    EXPECT_EQ(TakeLog(), QStringList());
    EXPECT_FALSE(TakeCalls().join(u' ').contains(u"put_"));
}

TEST_F(ItemRules, TabReachesEveryControl)
{
    ShowForm();
    Control<QPushButton>("cmdRemove").setEnabled(true);
    Choose("cmbType", u"I4"_s);
    QStringList reached;
    Control<QWidget>("fgItem").setFocus();
    for (int i = 0; i < 13; ++i) {
        QWidget* focus = QApplication::focusWidget();
        reached << focus->objectName();
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    EXPECT_EQ(
        reached.join(u' '),
        u"fgItem cmbProperty cmbType txtValue chkDelay cmdGet cmdPut chkActv cmdSnapshot cmdRemove cmdPerfchk cmdHide "
        u"fgItem"_s);
}
