#include "core/modAPI.h"
#include "core/modFields.h"
#include "tests/support/WindowTest.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QVBoxLayout>

namespace {

QString Clipboard()
{
    return QApplication::clipboard()->text();
}

/// Every kind of text box that a window has.
class Edit : public WindowTest<QWidget>
{
protected:
    /// Each box holds "one two" with "one" selected.
    Edit()
    {
        m_Line.setText(u"one two"_s);
        m_Line.setSelection(0, 3);
        for (QPlainTextEdit* box : QList<QPlainTextEdit*>{&m_Plain, &m_Log}) {
            box->setPlainText(u"one two"_s);
            box->moveCursor(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        }
    }
    /// What is in the box and on the clipboard when a routine has worked on it.
    QString After(const std::function<void()>& routine, QWidget* box)
    {
        modMain::ActiveEditBox = box;
        routine();
        return box->property(box == &m_Line ? "text" : "plainText").toString() + u'|' + Clipboard();
    }

    QLineEdit m_Line;
    QPlainTextEdit m_Plain;
    LogPane& m_Log = m_Main.Log();
    const QList<QWidget*> m_TextBoxes = {&m_Line, &m_Plain, &m_Log};
};

TEST_F(Edit, CutsCopiesAndPastesInEveryKindOfTextBoxUnlessItIsReadOnly)
{
    for (QWidget* box : m_TextBoxes) {
        SCOPED_TRACE(box->metaObject()->className());
        QApplication::clipboard()->setText(u"before"_s);
        box->setEnabled(false);
        EXPECT_EQ(After(modMain::EditPaste, box), u"one two|before"_s);
        box->setEnabled(true);
        box->setProperty("readOnly", true);
        EXPECT_EQ(After(modMain::EditPaste, box), u"one two|before"_s);
        EXPECT_EQ(After(modMain::EditCut, box), u"one two|one"_s);
        box->setProperty("readOnly", false);
        EXPECT_EQ(After(modMain::EditCut, box), u" two|one"_s);
        EXPECT_EQ(After(modMain::EditPaste, box), u"one two|one"_s);
        QApplication::clipboard()->clear();
        EXPECT_EQ(After(modMain::EditCopy, box), u"one two|"_s) << "nothing was selected";
        QMetaObject::invokeMethod(box, "selectAll");
        EXPECT_EQ(After(modMain::EditCopy, box), u"one two|one two"_s);
        QApplication::clipboard()->clear();
        EXPECT_EQ(After(modMain::EditPaste, box), u"|"_s) << "an empty clipboard takes the place of the selection";
    }
    modMain::ActiveEditBox = std::make_unique<QLineEdit>(u"gone"_s).get();
    for (const auto& routine : {modMain::EditCut, modMain::EditCopy, modMain::EditPaste}) routine();
    EXPECT_EQ(Clipboard(), QString());
}

TEST_F(Edit, TheLogIsCopiedAndPastedWithItsLineEnds)
{
    const QString lines = u"a\r\nb\nc\rd"_s;
    m_Log.clear();
    m_Log.Append(lines);
    modMain::ActiveEditBox = &m_Log;
    m_Log.ShowAppended();
    m_Log.selectAll();
    modMain::EditCut();
    EXPECT_EQ(Clipboard(), lines);
    modMain::EditPaste();
    m_Log.paste();
    EXPECT_EQ(m_Log.Text(), lines + lines);

    m_Log.moveCursor(QTextCursor::Start);
    m_Log.moveCursor(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    modMain::EditPaste();
    m_Log.SetCapacity(0);
    modMain::EditPaste();
    EXPECT_EQ(m_Log.Text(), lines + lines.sliced(3) + lines) << "what does not fit changes nothing";
}

TEST(Fields, AreLockedAndUnlockedByStateAndColour)
{
    const QPalette light(Qt::lightGray, Qt::white), dark(Qt::darkGray, Qt::black);
    QWidget window;
    QVBoxLayout layout(&window);
    QLineEdit line(u"12"_s);
    ListBox list;
    layout.addWidget(&line);
    layout.addWidget(&list);
    window.resize(400, 300);
    window.setPalette(dark);
    window.show();
    EXPECT_EQ(list.palette().color(QPalette::Button), Qt::black) << "a field from the start";
    for (const bool enable : {true, false, true})
        for (const QPalette& colours : {light, dark}) { // the desktop's colours change while the window is open
            modMain::EnableFields(enable, {&line, &list});
            window.setPalette(colours);
            const QColor expected = colours.color(enable ? QPalette::Base : QPalette::Button);
            EXPECT_EQ(line.isEnabled() && list.isEnabled(), enable);
            EXPECT_EQ(line.grab().toImage().pixelColor(line.rect().center()), expected);
            EXPECT_EQ(list.palette().color(QPalette::Button), expected);
        }
}

TEST(Fields, NumberOnlyTakesTypedDigitsAndAnythingPasted)
{
    QLineEdit field;
    modAPI::SetNumberOnly(&field);
    QTest::keyClicks(&field, u"1a-2.b3 e"_s);
    QKeyEvent arabicDigit(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, u"\u0663"_s);
    QCoreApplication::sendEvent(&field, &arabicDigit);
    QTest::keyClick(&field, Qt::Key_Backspace);
    QApplication::clipboard()->setText(u"x1"_s);
    QTest::keyClick(&field, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(field.text(), u"12x1"_s);
}

void PickInPopup(ListBox& list, int index)
{
    list.showPopup();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(list.view()->window()));
    list.view()->setCurrentIndex(list.model()->index(index, 0));
    QTest::keyClick(list.view(), Qt::Key_Return);
}

// What is done, the index afterwards (1 was selected before), and how often the rule runs.
const std::tuple<const char*, void (*)(ListBox&), int, int> Acts[] = {
    {"select another", [](ListBox& l) { l.SetListIndex(2); }, 2, 1},
    {"select the same", [](ListBox& l) { l.SetListIndex(1); }, 1, 1},
    {"select none", [](ListBox& l) { l.SetListIndex(-1); }, -1, 1},
    {"select what is not there", [](ListBox& l) { EXPECT_THROW(l.SetListIndex(3), ValueError); }, 1, 0},
    {"remove the selected", [](ListBox& l) { l.RemoveItem(1); }, -1, 0},
    {"remove what is not there", [](ListBox& l) { EXPECT_THROW(l.RemoveItem(3), ValueError); }, 1, 0},
    {"clear", [](ListBox& l) { l.Clear(); }, -1, 0},
    {"arrow", [](ListBox& l) { QTest::keyClick(&l, Qt::Key_Down); }, 2, 1},
    {"pick another", [](ListBox& l) { PickInPopup(l, 2); }, 2, 1},
    {"pick the same", [](ListBox& l) { PickInPopup(l, 1); }, 1, 1},
    {"wheel with focus", [](ListBox& l) { TurnWheel(l); }, 2, 1},
};

TEST(ListBox, RunsTheRuleWhenSomethingIsPicked)
{
    for (const auto& [name, run, index, expectedClicks] : Acts) {
        SCOPED_TRACE(name);
        ListBox list;
        list.AddItems({u"zero"_s, u"one"_s, u"two"_s});
        EXPECT_EQ(list.ListIndex(), -1);
        list.SetListIndex(1);
        list.show();
        list.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&list));
        list.setFocus();
        int clicks = 0;
        QObject::connect(&list, &ListBox::Click, &list, [&] { ++clicks; });
        run(list);
        EXPECT_EQ(list.ListIndex(), index);
        EXPECT_EQ(clicks, expectedClicks);
        list.clearFocus();
        TurnWheel(list);
        EXPECT_TRUE(!list.hasFocus() && list.ListIndex() == index) << "a list is not changed by scrolling over it";
    }
}

} // namespace
