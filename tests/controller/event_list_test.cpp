#include "controller/EventList.h"
#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QStyledItemDelegate>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class EventListTest : public ::testing::Test
{
protected:
    EventListTest()
    {
        m_List.resize(300, 200);
        m_List.show();
    }
    void WaitUntilShown()
    {
        ASSERT_TRUE(QTest::qWaitFor([this] { return m_List.model()->rowCount() == m_List.ListCount(); }));
    }
    QModelIndex Row(int row) const { return m_List.model()->index(row, 0); }

    EventList m_List;
};

} // namespace

TEST_F(EventListTest, ALineIsOneRowWhateverItHoldsAndTheLastIsSelectedInSight)
{
    const QString twoLines = u"two\r\nlines"_s;
    for (int round = 1; round <= 3; ++round) {
        const QStringList lines = {u"<b>bold</b> & [*]"_s, u"nul\0inside"_s, QString(), QString(1'000'000, u'w'),
                                   twoLines};
        for (const QString& line : lines) m_List.AddLine(line);
        WaitUntilShown();
        for (int i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(m_List.List(i), lines[i]);
            EXPECT_EQ(m_List.visualRect(Row(i)).height(), m_List.fontMetrics().height() + 2);
        }
        const QModelIndex last = Row(m_List.ListCount() - 1);
        EXPECT_EQ(m_List.selectionModel()->selectedIndexes(), QModelIndexList{last});
        EXPECT_TRUE(m_List.viewport()->rect().contains(m_List.visualRect(last)));
    }
    const auto& painted = dynamic_cast<QStyledItemDelegate&>(*m_List.itemDelegate());
    EXPECT_FALSE(painted.displayText(twoLines, QLocale()).contains(u'\n'));
    EXPECT_TRUE(Row(0).data(Qt::ToolTipRole).toString().contains(u"&lt;b&gt;"));
    EXPECT_LT(Row(3).data(Qt::ToolTipRole).toString().size(), 5000);
    QTest::keyClick(&m_List, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), twoLines) << "copied as it is";
}

TEST_F(EventListTest, RefusesWhatIsTooMuchAndStaysAsItWas)
{
    const QString quarter(EventList::MostCharacters / 4, u'x');
    for (int i = 0; i < 4; ++i) m_List.AddLine(quarter);
    EXPECT_THROW(m_List.AddLine(u"x"_s), ValueError);
    m_List.AddLine(QString()); // has room
    EXPECT_EQ(m_List.ListCount(), 5);
    EXPECT_EQ(m_List.List(3).size(), quarter.size());
    EXPECT_THROW(m_List.List(5), ValueError);
    m_List.Clear();
    m_List.AddLine(u"x"_s);
    WaitUntilShown();
    EXPECT_EQ(m_List.List(0), u"x"_s);
}
