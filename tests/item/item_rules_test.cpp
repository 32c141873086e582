#include "core/modValues.h"
#include "tests/item/ItemWindow.h"

using ItemRules = ItemWindow;

TEST_F(ItemRules, EnableWhatAPropertyNeedsAndKeepTheDelayBox)
{
    const std::tuple<bool, QString, QString> rows[] = {
        {false, {}, u"chkDelay cmdGet "_s},
        {true, {}, u"chkDelay txtDelay "_s},
        {true, u"Tag"_s, u"cmdGet "_s},
        {true, u"ID"_s, u"cmdGet "_s},
        {true, u"Elements"_s, u"txtElements cmdGet "_s},
        {true, u"Elements Value"_s, u"chkDelay txtDelay "_s},
        {false, u"Tag Value"_s, u"chkDelay cmdGet "_s},
        // Each choice of another property remembers anew, also of the same one: meant.
        {true, u"Tag ID Value"_s, u"chkDelay cmdGet "_s},
        {true, u"ID ID Value"_s, u"chkDelay cmdGet "_s},
        // What is restored then is what was remembered at load.
        {true, u"Value"_s, u"chkDelay cmdGet "_s}};
    for (const auto& [ticked, chosen, fields] : rows) {
        SCOPED_TRACE(chosen.toStdString());
        Open();
        Tick("chkDelay", ticked);
        for (const QString& property : chosen.split(u' ', Qt::SkipEmptyParts)) Choose("cmbProperty", property);
        EXPECT_EQ(Enabled(),
                  u"cmbProperty cmbType %1cmdPut chkActv cmdSnapshot cmdPerfchk cmdHide fgItem"_s.arg(fields));
        EXPECT_EQ(Check("chkDelay").isChecked(), fields.contains(u"txtDelay"));
    }
}

TEST_F(ItemRules, EnableWhatATypeNeeds)
{
    Open();
    for (int index = 0; index < modMain::TypeList().size(); ++index) {
        List("cmbType").SetListIndex(index);
        EXPECT_EQ(IsEnabled("txtValue"), index > 1) << index;                        // neither EMPTY nor NULL
        EXPECT_EQ(IsEnabled("cmdPut"), index != modMain::UnknownTypeIndex) << index; // "(Unknown)"
    }
}

TEST_F(ItemRules, CheckTheDelayWhenItIsLeft)
{
    const std::tuple<QString, QString, bool, QStringList> rows[] = {
        {u""_s, u"0"_s, false, {}},
        {u"-5"_s, u"5"_s, false, {}},
        {u" 2.5 "_s, u"2"_s, false, {}},
        {u"12abc"_s, u"12abc"_s, true, {}},
        {u"-2147483648"_s, u"-2147483648"_s, true, {u"2 Overflow"_s}}};
    m_Main.Widget()->show();
    Open().ShowForm();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.Widget()));
    Tick("chkDelay");
    for (const auto& [typed, left, refused, boxes] : rows) {
        Type("txtDelay", typed);
        Box("txtDelay").setFocus();
        QTest::keyClick(&Box("txtDelay"), Qt::Key_Tab);
        EXPECT_EQ(Text("txtDelay"), left);
        EXPECT_EQ(Box("txtDelay").hasFocus(), refused) << typed.toStdString();
        EXPECT_EQ(Box("txtDelay").selectedText(), refused ? left : QString());
        EXPECT_EQ(TakeBoxes(), boxes);
        Type("txtDelay", u"0"_s);
    }
}
