#include "controller/EventList.h"
#include "tests/support/PrintQt.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(EventCopy, TakesAllLinesOfThatMomentWhateverIsSelected)
{
    EventList list;
    list.show();
    const auto add = [&](const QString& line) {
        list.AddLine(line);
        EXPECT_TRUE(QTest::qWaitFor([&] { return list.model()->rowCount() == list.ListCount(); }));
    };
    const auto menu = [&] {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), list.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(list.viewport(), &event);
        return list.findChildren<QMenu*>().last()->actions();
    };
    QStringList copied;
    const auto copy = [&](auto take) { take(), copied << QGuiApplication::clipboard()->text(); };
    const auto press = [&] { QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier); };

    QGuiApplication::clipboard()->setText(u"before"_s);
    copy(press);
    EXPECT_FALSE(menu().first()->isEnabled() || menu().last()->isEnabled());
    for (const QString& line : {QString(), u"one"_s, u"two"_s}) add(line);
    QTest::keyClick(&list, Qt::Key_Up);
    const QList<QAction*> atOne = menu();
    copy(press);
    QTest::keyClick(&list, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(list.selectionModel()->selectedIndexes().size(), 3);
    add(u"three"_s);
    EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList{list.model()->index(3, 0)});
    for (QAction* action : atOne) copy([&] { copied << action->text(), action->trigger(); });
    list.AddLine(u"not yet shown"_s);
    copy(press);
    EXPECT_EQ(copied, QStringList({u"before"_s, u"\none\ntwo"_s, u"Copy &Line"_s, u"one"_s, u"Copy &All"_s,
                                   u"\none\ntwo\nthree"_s, u"\none\ntwo\nthree\nnot yet shown"_s}));
}
