#include "tests/additem/AddItemDialog.h"

namespace {

const QString BadCharacters = u"2 Those characters \"\\#$:!\" cannot be used as an item name or a controller name."_s;
const QString OnlyANumber = u"2 The name only of the numerical value cannot be used."_s;

class AddItemChecks : public AddItemDialog
{
protected:
    /// Brings the page of a control up and its boxes into use.
    void Uncover(const QString& field)
    {
        const QWidget* page = m_Dialog->findChild<QWidget*>(u"picFrame_0"_s);
        Control<QTabWidget>(u"sstbAddItem"_s).setCurrentIndex(page->isAncestorOf(&Box(field)) ? 0 : 1);
        Box(field).setEnabled(true);
    }
    /// Types a text and leaves the field as the Tab key does.
    void TypeAndLeave(const QString& field, const QString& text)
    {
        Box(field).setFocus();
        Box(field).setText(text);
        QTest::keyClick(&Box(field), Qt::Key_Tab);
    }
    void ExpectRefused(const QString& field, bool refused)
    {
        EXPECT_EQ(Box(field).hasFocus(), refused);
        EXPECT_TRUE(!refused || Box(field).selectedText() == Box(field).text());
    }
};

} // namespace

TEST_F(AddItemChecks, ANameIsTrimmedAndHasToBeOne)
{
    const struct
    {
        QString Typed;
        QString Left;
        QStringList Boxes;
    } rows[] = {
        {u" \t Abc d "_s, u"Abc d"_s, {}},
        {u""_s, u""_s, {}},
        {u"   "_s, u""_s, {}},
        {u"Item!1"_s, u"Item!1"_s, {BadCharacters}},
        {u" a\\b "_s, u" a\\b "_s, {BadCharacters}},
        {u"#1"_s, u"#1"_s, {BadCharacters}},
        {u"a$"_s, u"a$"_s, {BadCharacters}},
        {u"a:b"_s, u"a:b"_s, {BadCharacters}},
        {u"123"_s, u"123"_s, {OnlyANumber}},
        {u" 4.5 "_s, u" 4.5 "_s, {OnlyANumber}},
        {u"-3"_s, u"-3"_s, {OnlyANumber}},
        {u"+.5"_s, u"+.5"_s, {OnlyANumber}},
        {u"1E3"_s, u"1E3"_s, {OnlyANumber}},
        {u"1e999"_s, u"1e999"_s, {OnlyANumber}},
        {u"12abc"_s, u"12abc"_s, {}},
        {u"1,5"_s, u"1,5"_s, {}},
        {u"0x10"_s, u"0x10"_s, {}},
        {u"١٢٣"_s, u"١٢٣"_s, {}}, // digits of another script
        {u"<b>Süd & 日本</b>"_s, u"<b>Süd & 日本</b>"_s, {}},
    };
    Show();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Typed.toStdString());
        TypeAndLeave(u"txtItemName"_s, row.Typed);
        EXPECT_EQ(Box(u"txtItemName"_s).text(), row.Left);
        EXPECT_EQ(TakeBoxes(), row.Boxes);
        ExpectRefused(u"txtItemName"_s, !row.Boxes.isEmpty());
    }
}

TEST_F(AddItemChecks, NumbersAreNormalizedOrRefusedWithoutAMessage)
{
    const QStringList integers = {u"txtItem_0"_s, u"txtItem_6"_s};
    const QStringList singles = {u"txtItem_2"_s, u"txtItem_3"_s, u"txtItem_4"_s, u"txtItem_5"_s};
    const struct
    {
        QStringList Fields;
        QString Typed;
        QString Left; ///< null: refused
    } rows[] = {
        {integers, u""_s, u"0"_s},
        {integers, u" 12 "_s, u"12"_s},
        {integers, u"2.5"_s, u"2"_s},
        {integers, u"3.5"_s, u"4"_s},
        {integers, u"-2.5"_s, u"-2"_s},
        {integers, u"-0.2"_s, u"0"_s},
        {integers, u"+1e3"_s, u"1000"_s},
        {integers, u"2147483647.4"_s, u"2147483647"_s},
        {integers, u"2147483647.5"_s, u"0"_s},
        {integers, u"-2147483648"_s, u"-2147483648"_s},
        {integers, u"1E20"_s, u"0"_s},
        {{u"txtItem_0"_s}, QString(1'000'000, u'9'), u"0"_s},
        {integers, u"12abc"_s, {}},
        {integers, u" "_s, {}},
        {integers, u"1 2"_s, {}},
        {integers, u"&H10"_s, {}},
        {integers, u"٣"_s, {}},
        {integers, u"1\n2"_s, {}},
        {singles, u""_s, u"0"_s},
        {singles, u"0.1"_s, u"0.1"_s},
        {singles, u" -1.50 "_s, u"-1.5"_s},
        {singles, u"-0"_s, u"0"_s},
        {singles, u"16777217"_s, u"1.677722E+07"_s},
        {singles, u"1234567"_s, u"1234567"_s},
        {singles, u"0.333333333"_s, u"0.3333333"_s},
        {singles, u"0.00001"_s, u"1E-05"_s},
        {singles, u"3.4028234E38"_s, u"3.402823E+38"_s},
        {singles, u"1E40"_s, u"0"_s},
        {singles, u"-1E999"_s, u"0"_s},
        {singles, u"1E-60"_s, u"0"_s},
        {singles, u"inf"_s, {}},
        {singles, u"nan"_s, {}},
        {singles, u"1,5"_s, {}},
        {singles, u"."_s, {}},
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
    Uncover(u"txtDesc"_s);
    TypeAndLeave(u"txtDesc"_s, large);
    EXPECT_TRUE(Box(u"txtDesc"_s).text() == large.trimmed());
    EXPECT_EQ(TakeBoxes(), QStringList());
}

TEST_F(AddItemChecks, ARefusedFieldVetoesWhatWouldLeaveIt)
{
    const std::pair<const char*, std::function<void(QLineEdit*)>> actions[] = {
        {"click on OK", [this](QLineEdit*) { QTest::mouseClick(&Control<QPushButton>(u"cmdOK"_s), Qt::LeftButton); }},
        {"Alt+O", [](QLineEdit* field) { QTest::keyClick(field, Qt::Key_O, Qt::AltModifier); }},
        {"Enter", [](QLineEdit* field) { QTest::keyClick(field, Qt::Key_Return); }},
        {"click on the other page", [this](QLineEdit*) { ClickPage(1); }},
        {"Alt+D", [](QLineEdit* field) { QTest::keyClick(field, Qt::Key_D, Qt::AltModifier); }},
        {"click on a check box",
         [this](QLineEdit*) {
             QTest::mouseClick(&Check(u"chkEMPTY"_s), Qt::LeftButton, {}, {6, 6});
         }},
    };
    Show();
    for (const auto& [name, leave] : actions) {
        SCOPED_TRACE(name);
        Box(u"txtItemName"_s).setFocus();
        Box(u"txtItemName"_s).setText(u"1"_s);
        leave(&Box(u"txtItemName"_s));
        QTest::qWait(150); // a button pressed by its letter would be released by now
        EXPECT_EQ(TakeBoxes(), QStringList{OnlyANumber});
        ExpectRefused(u"txtItemName"_s, true);
        EXPECT_EQ(TakeCalls(), QStringList());
        EXPECT_EQ(Control<QTabWidget>(u"sstbAddItem"_s).currentIndex(), 0);
        EXPECT_FALSE(Check(u"chkEMPTY"_s).isChecked());
    }
}

TEST_F(AddItemChecks, CancelEscapeAndTheFrameCloseWithoutACheck)
{
    const std::function<void()> ways[] = {
        [this] { QTest::mouseClick(&Control<QPushButton>(u"cmdCancel"_s), Qt::LeftButton); },
        [this] { QTest::keyClick(&Box(u"txtItemName"_s), Qt::Key_C, Qt::AltModifier); },
        [this] { QTest::keyClick(&Box(u"txtItemName"_s), Qt::Key_Escape); },
        [this] { m_Dialog->close(); },
    };
    for (const auto& close : ways) {
        Show();
        Box(u"txtItemName"_s).setText(u"1"_s);
        close();
        EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Dialog->isVisible(); }));
        EXPECT_EQ(TakeBoxes() + TakeLog() + TakeCalls(), QStringList());
        EXPECT_FALSE(m_Dialog->m_csCtrl);
        EXPECT_FALSE(m_Dialog->m_TreeNode);
        EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    }
}
