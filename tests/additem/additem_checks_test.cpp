#include "tests/additem/AddItemDialog.h"

namespace {

const QString BadCharacters = u"2 Those characters \"\\#$:!\" cannot be used as an item name or a controller name."_s;
const QString OnlyANumber = u"2 The name only of the numerical value cannot be used."_s;

class AddItemChecks : public AddItemDialog
{
protected:
    /// Brings the page of a control up and its boxes into use.
    void Uncover(QAnyStringView field)
    {
        const QWidget* page = m_Form->findChild<QWidget*>(u"picFrame_0"_s);
        Control<QTabWidget>("sstbAddItem").setCurrentIndex(page->isAncestorOf(&Box(field)) ? 0 : 1);
        Box(field).setEnabled(true);
    }
    /// Types a text and leaves the field as the Tab key does.
    void TypeAndLeave(QAnyStringView field, const QString& text)
    {
        Box(field).setFocus();
        Box(field).setText(text);
        QTest::keyClick(&Box(field), Qt::Key_Tab);
    }
    void ExpectRefused(QAnyStringView field, bool refused)
    {
        EXPECT_EQ(Box(field).hasFocus(), refused);
        EXPECT_TRUE(!refused || Box(field).selectedText() == Box(field).text());
    }
};

} // namespace

TEST_F(AddItemChecks, ANameIsTrimmedAndHasToBeOne)
{
    struct
    {
        QStringList Boxes;
        QStringList Names;
    } const rows[] = {
        {{},
         {u" \t Abc d "_s, u""_s, u"   "_s, u"12abc"_s, u"1,5"_s, u"0x10"_s, u"\u0661\u0662"_s,
          u"<b>Süd & 日本</b>"_s}},
        {{BadCharacters}, {u"Item!1"_s, u" a\\b "_s, u"#1"_s, u"a$"_s, u"a:b"_s}},
        {{OnlyANumber}, {u"123"_s, u" 4.5 "_s, u"-3"_s, u"1E3"_s, u"1e999"_s}},
    };
    Show();
    for (const auto& [boxes, names] : rows) {
        for (const QString& name : names) {
            SCOPED_TRACE(name.toStdString());
            TypeAndLeave("txtItemName", name);
            EXPECT_EQ(Text("txtItemName"), boxes.isEmpty() ? name.trimmed() : name);
            EXPECT_EQ(TakeBoxes(), boxes);
            ExpectRefused("txtItemName", !boxes.isEmpty());
        }
    }
}

TEST_F(AddItemChecks, NumbersAreNormalizedOrRefusedWithoutAMessage)
{
    const QStringList integers = {u"txtItem_0"_s, u"txtItem_6"_s};
    const QStringList singles = {u"txtItem_2"_s, u"txtItem_3"_s, u"txtItem_4"_s, u"txtItem_5"_s};
    struct
    {
        QStringList Fields;
        QString Typed;
        QString Left; ///< null: refused
    } const rows[] = {
        {integers + singles, u""_s, u"0"_s},
        {integers + singles, u" +12 "_s, u"12"_s},
        {integers + singles, u"12abc"_s, {}},
        {integers + singles, u" "_s, {}},
        {integers + singles, u"1E99"_s, u"0"_s},
        {integers, u"-2.5"_s, u"-2"_s},
        {integers, u"2147483647.5"_s, u"0"_s},
        {integers, u"-2147483648"_s, u"-2147483648"_s},
        {{u"txtItem_0"_s}, QString(1'000'000, u'9'), u"0"_s},
        {singles, u" -1.50 "_s, u"-1.5"_s},
        {singles, u"-0"_s, u"0"_s},
        {singles, u"16777217"_s, u"1.677722E+07"_s},
        {singles, u"1E-60"_s, u"0"_s},
        {singles, u"1,5"_s, {}},
        {{u"txtItem_2"_s}, QString(1'000'000, u'x'), {}},
    };
    Show();
    for (const auto& row : rows) {
        for (const QString& field : row.Fields) {
            SCOPED_TRACE((field + u' ' + row.Typed.left(30)).toStdString());
            Uncover(field);
            TypeAndLeave(field, row.Typed);
            EXPECT_TRUE(Box(field).text() == (row.Left.isNull() ? row.Typed : row.Left))
                << Box(field).text().left(30).toStdString();
            ExpectRefused(field, row.Left.isNull());
            Box(field).setText(u"0"_s);
        }
    }
    EXPECT_EQ(TakeBoxes(), QStringList());
}

TEST_F(AddItemChecks, OtherTextsAreTrimmedAndOperandsLeftAlone)
{
    const QString typed = u" \t1 \\#$:! x\ny  "_s;
    const QString large = typed + QString(1'000'000, u'y') + typed;
    Show();
    for (const char16_t* name : {u"txtDesc", u"txtInitValue", u"txtLinkItem", u"txtObjName", u"txtObjOption",
                                 u"txtOption", u"txtVarName", u"txtItem_1", u"txtItem_7"}) {
        const QString field = QString::fromUtf16(name);
        Uncover(field);
        TypeAndLeave(field, typed);
        EXPECT_EQ(Box(field).text(), field.startsWith(u"txtItem_") ? typed : typed.trimmed()) << field.toStdString();
        ExpectRefused(field, false);
    }
    Uncover("txtDesc");
    TypeAndLeave("txtDesc", large);
    EXPECT_TRUE(Box("txtDesc").text() == large.trimmed());
    EXPECT_EQ(TakeBoxes(), QStringList());
}

TEST_F(AddItemChecks, ARefusedFieldVetoesWhatWouldLeaveIt)
{
    Show();
    auto* const ok = &Control<QPushButton>("cmdOK");
    const std::pair<const char*, std::function<void()>> actions[] = {
        {"click on OK", [=] { QTest::mouseClick(ok, Qt::LeftButton); }},
        {"Enter", [this] { QTest::keyClick(&Box("txtItemName"), Qt::Key_Return); }},
        {"click on the other page", [this] { ClickPage(1); }},
        {"click on a check box",
         [this] {
             QTest::mouseClick(&Check("chkEMPTY"), Qt::LeftButton, {}, {6, 6});
         }},
    };
    for (const auto& [name, leave] : actions) {
        SCOPED_TRACE(name);
        Box("txtItemName").setFocus();
        Box("txtItemName").setText(u"1"_s);
        leave();
        EXPECT_EQ(TakeBoxes(), QStringList{OnlyANumber});
        ExpectRefused("txtItemName", true);
        EXPECT_EQ(TakeCalls(), QStringList());
        EXPECT_EQ(Control<QTabWidget>("sstbAddItem").currentIndex(), 0);
        EXPECT_FALSE(Check("chkEMPTY").isChecked());
    }
}

TEST_F(AddItemChecks, CancelEscapeAndTheFrameCloseWithoutACheck)
{
    const std::function<void()> ways[] = {
        [this] { QTest::mouseClick(&Control<QPushButton>("cmdCancel"), Qt::LeftButton); },
        [this] { QTest::keyClick(&Box("txtItemName"), Qt::Key_Escape); },
        [this] { m_Form->close(); },
    };
    for (const auto& close : ways) {
        Show();
        Box("txtItemName").setText(u"1"_s);
        close();
        EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Form->isVisible(); }));
        EXPECT_EQ(TakeBoxes() + TakeLog() + TakeCalls(), QStringList());
        EXPECT_FALSE(m_Form->m_csCtrl);
        EXPECT_FALSE(m_Form->m_TreeNode);
        EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    }
}
