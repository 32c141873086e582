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

using Edit = WindowTest<QWidget>;

TEST_F(Edit, CutsCopiesAndPastesInEveryKindOfTextBoxUnlessItIsReadOnly)
{
    QLineEdit line;
    QPlainTextEdit plain;
    for (QWidget* box : QList<QWidget*>{&line, &plain, &m_Main.Log()}) {
        SCOPED_TRACE(box->metaObject()->className());
        const auto after = [&](const std::function<void()>& routine) { // what is in the box and on the clipboard
            routine();
            return box->property(box == &line ? "text" : "plainText").toString() + u'|' + Clipboard();
        };
        modMain::ActiveEditBox = box;
        QTest::keyClicks(box, u"one two"_s);
        QTest::keyClick(box, Qt::Key_Home);
        for (int i = 0; i < 3; ++i) QTest::keyClick(box, Qt::Key_Right, Qt::ShiftModifier);
        QApplication::clipboard()->setText(u"before"_s);
        box->setEnabled(false);
        EXPECT_EQ(after(modMain::EditPaste), u"one two|before"_s);
        box->setEnabled(true);
        box->setProperty("readOnly", true);
        EXPECT_EQ(after(modMain::EditPaste), u"one two|before"_s);
        EXPECT_EQ(after(modMain::EditCut), u"one two|one"_s);
        box->setProperty("readOnly", false);
        EXPECT_EQ(after(modMain::EditCut), u" two|one"_s);
        EXPECT_EQ(after(modMain::EditPaste), u"one two|one"_s);
        QApplication::clipboard()->clear();
        EXPECT_EQ(after(modMain::EditCopy), u"one two|"_s) << "nothing was selected";
        QMetaObject::invokeMethod(box, "selectAll");
        EXPECT_EQ(after(modMain::EditCopy), u"one two|one two"_s);
        QApplication::clipboard()->clear();
        EXPECT_EQ(after(modMain::EditPaste), u"|"_s) << "an empty clipboard takes the place of the selection";
    }
    modMain::ActiveEditBox = std::make_unique<QLineEdit>(u"gone"_s).get();
    for (const auto& routine : {modMain::EditCut, modMain::EditCopy, modMain::EditPaste}) routine();
    EXPECT_EQ(Clipboard(), QString());
}

TEST_F(Edit, TheLogIsCopiedAndPastedWithItsLineEnds)
{
    const QString lines = u"a\r\nb\nc\rd"_s;
    LogPane& log = m_Main.Log();
    log.Append(lines);
    modMain::ActiveEditBox = &log;
    log.ShowAppended();
    log.selectAll();
    modMain::EditCut();
    EXPECT_EQ(Clipboard(), lines);
    modMain::EditPaste();
    log.paste();
    EXPECT_EQ(log.Text(), lines + lines);

    log.moveCursor(QTextCursor::Start);
    log.moveCursor(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    modMain::EditPaste();
    log.SetCapacity(0);
    modMain::EditPaste();
    EXPECT_EQ(log.Text(), lines + lines.sliced(3) + lines) << "what does not fit changes nothing";
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
