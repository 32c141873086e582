#include "core/PropertyGrid.h"
#include "core/ServerPresence.h"
#include "tests/support/ConsoleTest.h"
#include "tests/support/FakeServer.h"

namespace {

/// One row whose reading the test decides.
class UnreadCells : public ::testing::Test
{
protected:
    UnreadCells()
    {
        m_Grid.Follow(m_Presence);
        m_Grid.Lay({{u"Value"_s, [this] { return m_Fails ? throw ServerError(*m_Fails) : m_Text; }, u"(EMPTY)"_s}},
                   {1300, 0});
        m_Grid.show();
    }
    /// What the cell shows after a refresh, why it is no data, and whether it is marked as changed.
    QString Refresh()
    {
        m_Grid.RefreshRow(0);
        return Now();
    }
    QString Now() const
    {
        const QString why = m_Grid.WhyUnread(0);
        return m_Grid.CellText(0, 1) + (why.isNull() ? u""_s : u" <"_s + why + u'>') +
               (m_Grid.IsMarked(0) ? u" changed"_s : u""_s);
    }
    QImage Picture() { return m_Grid.grab().toImage(); }

    FakeServer m_Server;
    ServerPresence m_Presence{m_Server};
    QString m_Text = u"1"_s;
    std::optional<QString> m_Fails;
    PropertyGrid m_Grid;
};

TEST_F(UnreadCells, TellTheNewestReasonAndLookLikeDataAgainWithTheReadThatWorks)
{
    EXPECT_EQ(Now(), QString());
    EXPECT_EQ(Refresh(), u"1"_s);
    const QImage read = Picture();
    m_Fails = u"The device is <b>off</b>."_s;
    EXPECT_EQ(Refresh(), u"(EMPTY) <The device is <b>off</b>.>"_s);
    m_Fails = u"PLC1 does not answer"_s;
    EXPECT_EQ(Refresh(), u"(EMPTY) <PLC1 does not answer>"_s);
    m_Fails = QString();
    EXPECT_EQ(Refresh(), u"(EMPTY) <The value could not be read.>"_s);
    m_Fails.reset();
    EXPECT_EQ(Refresh(), u"1"_s) << "nor is this a change";
    EXPECT_EQ(Picture(), read);
}

TEST_F(UnreadCells, AreDimmedWithoutARefreshWhileTheServerIsGone)
{
    Refresh();
    const QImage read = Picture();
    m_Server.SetAbsence(u"The server is not running."_s);
    EXPECT_EQ(Now(), u"1 <The server is not running.>"_s);
    EXPECT_NE(Picture(), read);
    m_Server.SetAbsence(QString());
    EXPECT_EQ(Now(), u"1"_s);
    EXPECT_EQ(Picture(), read);
}

TEST_F(UnreadCells, AChangeIsMarkedForAMomentWithoutARefreshToEndIt)
{
    Refresh();
    m_Text = u"2"_s;
    EXPECT_EQ(Refresh(), u"2 changed"_s);
    const QImage marked = Picture();
    EXPECT_EQ(Refresh(), u"2 changed"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Grid.IsMarked(0); }, 10'000));
    EXPECT_NE(Picture(), marked);
    m_Text = u"1"_s;
    Refresh();
    m_Grid.Lay(m_Grid.Rows(), {1300, 0});
    EXPECT_EQ(Refresh(), u"1"_s) << "filled for the first time";
}

} // namespace
