#include "controller/EventList.h"
#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <QAbstractItemModelTester>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(EventList, ALineIsOneRowWhateverItHoldsTheLastIsInSightAndTooMuchIsRefused)
{
    EventList list;
    const QAbstractItemModelTester tester(list.model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    list.resize(300, 60);
    list.show();
    const auto isShown = [&] { return QTest::qWaitFor([&] { return list.model()->rowCount() == list.ListCount(); }); };
    const auto row = [&](int index) { return list.model()->index(index, 0); };
    const QStringList lines = {u"<b>bold</b> & [*]"_s, u"nul\0inside"_s, QString(), QString(1'000'000, u'w'),
                               u"two\r\nlines"_s};
    for (const QString& line : lines) list.AddLine(line);
    ASSERT_TRUE(isShown());
    for (int i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(list.List(i), lines[i]);
        EXPECT_EQ(list.visualRect(row(i)).height(), list.fontMetrics().height() + 2);
    }
    const QModelIndex last = row(list.ListCount() - 1);
    EXPECT_EQ(list.selectionModel()->selectedIndexes(), QModelIndexList{last});
    EXPECT_TRUE(list.viewport()->rect().contains(list.visualRect(last)));

    list.Clear();
    EXPECT_EQ(list.ListCount() + list.model()->rowCount(), 0);
    for (int i = 0; i < 4; ++i) list.AddLine(QString(EventList::MostCharacters / 4, u'x'));
    EXPECT_THROW(list.AddLine(u"x"_s), ValueError);
    list.AddLine(QString()); // has room
    EXPECT_TRUE(isShown());
    EXPECT_EQ(list.ListCount(), 5);
    EXPECT_THROW(list.List(5), ValueError);
}
