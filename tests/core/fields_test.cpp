#include "core/modFields.h"
#include "tests/support/WindowTest.h"

#include <QAbstractItemView>
#include <QClipboard>

namespace {

QString Clipboard()
{
    return QApplication::clipboard()->text();
}

using Edit = WindowTest<QWidget>;

TEST_F(Edit, CutsCopiesAndPastesUnlessTheBoxIsReadOnly)
{
    QLineEdit box(u"one two"_s);
    const auto after = [&](const std::function<void()>& routine) { // what is in the box and on the clipboard
        routine();
        return box.text() + u'|' + Clipboard();
    };
    modMain::ActiveEditBox = &box;
    QApplication::clipboard()->setText(u"before"_s);
    box.setSelection(0, 3);
    box.setReadOnly(true);
    EXPECT_EQ(after(modMain::EditPaste), u"one two|before"_s);
    EXPECT_EQ(after(modMain::EditCut), u"one two|one"_s);
    box.setReadOnly(false);
    EXPECT_EQ(after(modMain::EditCut), u" two|one"_s);
    EXPECT_EQ(after(modMain::EditPaste), u"one two|one"_s);
    EXPECT_EQ(after(modMain::EditCopy), u"one two|one"_s) << "nothing was selected";
    box.selectAll();
    QApplication::clipboard()->clear();
    EXPECT_EQ(after(modMain::EditPaste), u"|"_s) << "an empty clipboard takes the place of the selection";
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
    const QPalette colours(Qt::darkGray, Qt::black);
    QWidget window;
    QLineEdit line(&window);
    ListBox list(&window);
    window.setPalette(colours);
    for (const bool enable : {true, false, true}) {
        modMain::EnableFields(enable, {&line, &list});
        EXPECT_TRUE(line.isEnabled() == enable && list.isEnabled() == enable);
        const QColor fill = colours.color(enable ? QPalette::Base : QPalette::Button);
        EXPECT_EQ(line.palette().color(QPalette::Base), fill);
        EXPECT_EQ(list.palette().color(QPalette::Button), fill);
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
