#include "tests/additem/AddItemDialog.h"

namespace {

class AddItemChecks : public AddItemDialog
{
protected:
    /// Types a text and leaves the field as the Tab key does; what then stands there, none when it was refused.
    std::optional<QString> Left(QAnyStringView field, const QString& typed)
    {
        const QWidget* page = m_Form->findChild<QWidget*>(u"picFrame_0"_s);
        Control<QTabWidget>("sstbAddItem").setCurrentIndex(page->isAncestorOf(&Box(field)) ? 0 : 1);
        Box(field).setEnabled(true);
        Box(field).setFocus();
        Box(field).setText(typed);
        QTest::keyClick(&Box(field), Qt::Key_Tab);
        const QString left = Box(field).text();
        if (!Box(field).hasFocus()) return left;
        EXPECT_EQ(left, typed);
        EXPECT_EQ(Box(field).selectedText(), typed);
        Box(field).setText(u"0"_s); // lets the focus go
        return std::nullopt;
    }
};

} // namespace

TEST_F(AddItemChecks, ANameIsTrimmedAndHasToBeOne)
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
}

TEST_F(AddItemChecks, NumbersAreNormalizedAndOtherTextsTrimmedWithoutAMessage)
{
    const QStringList integers = {u"txtItem_0"_s, u"txtItem_6"_s};
    const QStringList singles = {u"txtItem_2"_s, u"txtItem_3"_s, u"txtItem_4"_s, u"txtItem_5"_s};
    const QStringList texts = {u"txtDesc"_s,      u"txtInitValue"_s, u"txtLinkItem"_s, u"txtObjName"_s,
                               u"txtObjOption"_s, u"txtOption"_s,    u"txtVarName"_s};
    const QString odd = u" \t1 \\#$:! "_s + QString(40'000, u'x') + u"  "_s;
    struct
    {
        QStringList Fields;
        QString Typed;
        std::optional<QString> Left;
    } const rows[] = {
        {integers + singles, u""_s, u"0"_s},
        {integers + singles, u" +12 "_s, u"12"_s},
        {integers + singles, u"12abc"_s, {}},
        {integers + singles, u"1E99"_s, u"0"_s},
        {integers, u"-2.5"_s, u"-2"_s},
        {integers, u"2147483647.5"_s, u"0"_s},
        {singles, u" -1.50 "_s, u"-1.5"_s},
        {singles, u"-0"_s, u"0"_s},
        {singles, u"16777217"_s, u"1.677722E+07"_s},
        {texts, odd, odd.trimmed()},
        {{u"txtItem_1"_s, u"txtItem_7"_s}, odd, odd}, // operands are left alone
    };
    Show();
    for (const auto& row : rows) {
        for (const QString& field : row.Fields) EXPECT_EQ(Left(field, row.Typed), row.Left) << field.toStdString();
    }
    EXPECT_EQ(TakeBoxes(), QStringList());
}

TEST_F(AddItemChecks, CancelClosesWithoutACheck)
{
    Show();
    Type("txtItemName", u"1"_s);
    QTest::mouseClick(&Control<QPushButton>("cmdCancel"), Qt::LeftButton);
    EXPECT_FALSE(m_Form->isVisible());
    EXPECT_EQ(TakeBoxes() + TakeLog() + TakeCalls(), QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    EXPECT_FALSE(m_Form->m_TreeNode);
}
