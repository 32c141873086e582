#include "core/GridRefresher.h"
#include "core/PropertyGrid.h"
#include "core/RefreshTurns.h"
#include "tests/support/ConsoleTest.h"
#include "tests/support/FakeServer.h"

#include <QThread>

namespace {

constexpr PropertyGrid::Layout Margins = {1300, 280};

/// Some grids with a refresher each; every read is noted with its grid, its row and the turn of the event loop it ran
/// in.
class Refresher : public ::testing::Test
{
protected:
    Refresher()
    {
        m_Turn.callOnTimeout([this] { m_ReadsInTurn = 0; });
        m_Turn.start(0);
    }

    void AddGrid(int rowCount, unsigned long callMs)
    {
        const auto grid = m_RowsRead.size();
        m_RowsRead << QString();
        PropertyRows rows;
        for (int row = 0; row < rowCount; ++row)
            rows.append({QString::number(row), [this, grid, row, callMs] {
                             m_RowsRead[grid] += QString::number(row);
                             m_MostReadsInTurn = std::max(m_MostReadsInTurn, ++m_ReadsInTurn);
                             m_Act(row);
                             QThread::msleep(callMs);
                             return u"read"_s;
                         }});
        m_Grids.push_back(std::make_unique<PropertyGrid>());
        m_Grids.back()->Lay(rows, Margins);
        m_Refreshers.push_back(std::make_unique<GridRefresher>(m_Grids.back().get(), m_Shared));
        QObject::connect(m_Refreshers.back().get(), &GridRefresher::Refreshed, &m_Turn, [this] { ++m_Refreshes; });
    }
    bool WaitForRefreshes(int count)
    {
        return QTest::qWaitFor([=, this] { return m_Refreshes >= count; }, 10'000);
    }

    FakeServer m_Server;
    RefreshTurns m_Shared{m_Server};
    QTimer m_Turn;
    int m_ReadsInTurn = 0, m_MostReadsInTurn = 0, m_Refreshes = 0;
    QStringList m_RowsRead;
    std::function<void(int row)> m_Act = [](int) {};
    std::vector<std::unique_ptr<PropertyGrid>> m_Grids;
    std::vector<std::unique_ptr<GridRefresher>> m_Refreshers;
};

} // namespace

TEST_F(Refresher, AllGridsTogetherTakeOneSliceATurn)
{
    for (int grid = 0; grid < 3; ++grid) AddGrid(6, 4);
    for (const auto& refresher : m_Refreshers) refresher->Start();
    EXPECT_TRUE(WaitForRefreshes(3));
    EXPECT_EQ(m_RowsRead, QStringList(3, u"012345"_s));
    EXPECT_EQ(m_Grids[2]->CellText(5, 1), u"read"_s);
    EXPECT_LE(m_MostReadsInTurn, 2) << "a third call of 4 ms would not fit";
}

TEST_F(Refresher, DoesNotRestLongFromAServerThatHungAndIsBack)
{
    AddGrid(1, 1500);
    m_Refreshers[0]->Start();
    EXPECT_TRUE(WaitForRefreshes(1));
    Q_EMIT m_Grids[0]->ServerChanged();
    QElapsedTimer rest;
    rest.start();
    m_Act = [&](int) { EXPECT_LT(rest.elapsed(), 1300); };
    EXPECT_TRUE(WaitForRefreshes(2));
}

TEST_F(Refresher, ARowMayStopOrDestroyWhateverReadsIt)
{
    const std::pair<QString, std::function<void()>> cases[] = {
        // the rows that are read when the third one does this
        {u"012"_s, [this] { m_Refreshers[0]->Stop(); }},
        {u"012"_s, [this] { m_Refreshers[0].reset(); }},
        {u"012"_s, [this] { m_Grids[0].reset(); }},
        {u"012"_s, [this] { m_Grids[0]->Lay({}, Margins); }},
        {u"01234"_s, [this] { m_Refreshers[0]->RefreshNow(); }},
        {u"01234"_s, [] { QTest::qWait(30); }},
    };
    for (const auto& [rowsRead, act] : cases) {
        AddGrid(5, 0);
        m_Act = [&act = act](int row) { row == 2 ? act() : void(); };
        rowsRead == u"012" ? m_Refreshers[0]->Start() : m_Refreshers[0]->RefreshNow();
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_RowsRead[0].size() >= 3; }));
        QTest::qWait(20);
        EXPECT_EQ(m_RowsRead[0], rowsRead);
        m_Refreshers.clear();
        m_Grids.clear();
        m_RowsRead.clear();
    }
}
