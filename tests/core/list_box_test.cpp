#include "core/automation/Errors.h"
#include "core/ListBox.h"

#include <QAbstractItemView>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

void TurnWheel(QWidget* control)
{
    const QPointF place = control->rect().center();
    QWheelEvent event(place, control->mapToGlobal(place), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event); // as if the operator had turned it
    qApp->notify(control, &event);
}

void PickInPopup(ListBox& list, int index)
{
    list.showPopup();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(list.view()->window()));
    list.view()->setCurrentIndex(list.model()->index(index, 0));
    QTest::keyClick(list.view(), Qt::Key_Return);
}

struct Act
{
    const char* Name;
    void (*Run)(ListBox&);
    int Index; ///< afterwards; 1 was selected before
    int Clicks;
};

const Act Acts[] = {
    {"fill_more",
     [](ListBox& l) {
         l.AddItems({u"a"_s, u"b"_s});
     },
     1, 0},
    {"select_other", [](ListBox& l) { l.SetListIndex(2); }, 2, 1},
    {"select_same", [](ListBox& l) { l.SetListIndex(1); }, 1, 1},
    {"select_none", [](ListBox& l) { l.SetListIndex(-1); }, -1, 1},
    {"remove_selected", [](ListBox& l) { l.RemoveItem(1); }, -1, 0},
    {"remove_before", [](ListBox& l) { l.RemoveItem(0); }, 0, 0},
    {"clear", [](ListBox& l) { l.Clear(); }, -1, 0},
    {"pick_by_arrow", [](ListBox& l) { QTest::keyClick(&l, Qt::Key_Down); }, 2, 1},
    {"pick_by_letter", [](ListBox& l) { QTest::keyClick(&l, Qt::Key_Z); }, 0, 1},
    {"pick_other", [](ListBox& l) { PickInPopup(l, 2); }, 2, 1},
    {"pick_same", [](ListBox& l) { PickInPopup(l, 1); }, 1, 1},
    {"wheel_with_focus", [](ListBox& l) { TurnWheel(&l); }, 2, 1},
    {"wheel_without_focus",
     [](ListBox& l) {
         l.clearFocus();
         TurnWheel(&l);
         EXPECT_FALSE(l.hasFocus());
     },
     1, 0},
};

class ListBoxActs : public ::testing::TestWithParam<Act>
{
};

} // namespace

TEST_P(ListBoxActs, run_the_rule_when_something_is_picked)
{
    ListBox list;
    int clicks = 0;
    QObject::connect(&list, &ListBox::Click, &list, [&] { ++clicks; });
    list.AddItems({u"zero"_s, u"one"_s, u"two"_s});
    EXPECT_EQ(list.ListIndex(), -1);
    list.SetListIndex(1);
    list.show();
    list.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&list));
    list.setFocus();
    clicks = 0;

    GetParam().Run(list);
    EXPECT_EQ(list.ListIndex(), GetParam().Index);
    EXPECT_EQ(clicks, GetParam().Clicks);
}

INSTANTIATE_TEST_SUITE_P(ListBox, ListBoxActs, ::testing::ValuesIn(Acts),
                         [](const auto& info) { return info.param.Name; });

TEST(ListBox, holds_texts_and_numbers_and_refuses_places_that_it_has_not)
{
    ListBox list;
    list.AddItem(u"&<b>"_s, -7);
    list.AddItem(u"plain"_s);
    EXPECT_EQ(list.ListCount(), 2);
    EXPECT_EQ(list.List(0), u"&<b>"_s);
    EXPECT_EQ(list.ItemData(0), -7);
    EXPECT_EQ(list.ItemData(1), 0);
    EXPECT_EQ(list.List(2) + QString::number(list.ItemData(2)), u"0"_s);
    EXPECT_THROW(list.SetListIndex(2), ValueError);
    EXPECT_THROW(list.SetListIndex(-2), ValueError);
    EXPECT_THROW(list.RemoveItem(2), ValueError);
    EXPECT_EQ(list.ListIndex(), -1);
}
