#include "core/GridRefresher.h"
#include "core/PropertyGrid.h"

#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Counts the turns of the event loop.
class Turns : public QTimer
{
public:
    Turns()
    {
        callOnTimeout([this] { ++m_Count; });
        start(0);
    }

    int m_Count = 0;
};

/// Some grids with a refresher each; every read is noted with its grid, its row and the turn of the event loop it ran in.
class Refresher : public ::testing::Test
{
protected:
    struct Reading
    {
        int Grid;
        int Row;
        int Turn;
    };

    void AddGrid(int rowCount, int callMs)
    {
        const int grid = static_cast<int>(m_Grids.size());
        PropertyRows rows;
        for (int row = 0; row < rowCount; ++row)
            rows.append({QString::number(row), [this, grid, row, callMs] {
                             m_Readings.append({grid, row, m_Turns.m_Count});
                             if (m_Act) m_Act(row);
                             if (callMs) QThread::msleep(static_cast<unsigned long>(callMs));
                             return QString::number(++m_Reads);
                         }});
        m_Grids.push_back(std::make_unique<PropertyGrid>());
        m_Grids.back()->Lay(rows, {1300, 280});
        m_Refreshers.push_back(std::make_unique<GridRefresher>(m_Grids.back().get()));
        QObject::connect(m_Refreshers.back().get(), &GridRefresher::Refreshed, &m_Turns, [this] { ++m_Refreshes; });
    }

    QList<int> RowsRead(int grid) const
    {
        QList<int> rows;
        for (const Reading& reading : m_Readings)
            if (reading.Grid == grid) rows << reading.Row;
        return rows;
    }

    int MostReadingsInATurn() const
    {
        QMap<int, int> readings;
        for (const Reading& reading : m_Readings) ++readings[reading.Turn];
        return *std::max_element(readings.begin(), readings.end());
    }

    Turns m_Turns;
    QList<Reading> m_Readings;
    std::function<void(int row)> m_Act;
    int m_Reads = 0;
    int m_Refreshes = 0;
    std::vector<std::unique_ptr<PropertyGrid>> m_Grids;
    std::vector<std::unique_ptr<GridRefresher>> m_Refreshers;
};

QList<int> UpTo(int count)
{
    QList<int> rows(count);
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

} // namespace

TEST_F(Refresher, reads_all_rows_at_once_when_told)
{
    AddGrid(49, 0);
    m_Refreshers[0]->RefreshNow();
    EXPECT_EQ(RowsRead(0), UpTo(49));
    EXPECT_EQ(m_Grids[0]->CellText(48, 1), u"49"_s);
    EXPECT_EQ(m_Refreshes, 1);
    EXPECT_FALSE(m_Refreshers[0]->IsRunning());
}

TEST_F(Refresher, all_grids_together_take_one_slice_a_turn)
{
    for (int grid = 0; grid < 3; ++grid) AddGrid(6, 4);
    for (const auto& refresher : m_Refreshers) refresher->Start();
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_Refreshes == 3; }));
    for (int grid = 0; grid < 3; ++grid) EXPECT_EQ(RowsRead(grid), UpTo(6));
    EXPECT_LE(MostReadingsInATurn(), 2); // two calls of 4 ms fit into a slice, a third would not
}

TEST_F(Refresher, the_next_refresh_waits_as_long_as_the_last_one_lasted)
{
    AddGrid(10, 60);
    QElapsedTimer clock;
    clock.start();
    QList<qint64> begins;
    m_Act = [&](int row) {
        if (row == 0) begins << clock.elapsed();
    };
    QObject::connect(m_Refreshers[0].get(), &GridRefresher::Refreshed, &m_Turns, [&] { begins << clock.elapsed(); });
    m_Refreshers[0]->Start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return begins.size() == 3; }));
    EXPECT_GE(begins[0], 450); // a tick may come 5 % early
    EXPECT_GE(begins[2] - begins[1], (begins[1] - begins[0]) * 9 / 10);
}

TEST_F(Refresher, stopping_ends_the_refresh_under_way)
{
    AddGrid(10, 20);
    m_Refreshers[0]->Start();
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_Readings.size() == 3; }));
    m_Refreshers[0]->Stop();
    QTest::qWait(100);
    EXPECT_EQ(RowsRead(0), UpTo(3));
    EXPECT_EQ(m_Refreshes, 0);
    m_Refreshers[0]->Start();
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_Refreshes == 1; }));
    EXPECT_EQ(RowsRead(0), UpTo(3) + UpTo(10));
}

TEST_F(Refresher, a_row_may_stop_or_destroy_whatever_reads_it)
{
    struct Case
    {
        const char* Name;
        std::function<void()> Act;
        QList<int> RowsRead;
    };
    const Case cases[] = {
        {"stop", [this] { m_Refreshers[0]->Stop(); }, UpTo(3)},
        {"destroy the refresher", [this] { m_Refreshers[0].reset(); }, UpTo(3)},
        {"destroy the grid", [this] { m_Grids[0].reset(); }, UpTo(3)},
        {"refresh at once", [this] { m_Refreshers[0]->RefreshNow(); }, UpTo(5)},
        {"let events run", [] { QTest::qWait(30); }, UpTo(5)},
        {"lay fewer rows",
         [this] {
             m_Grids[0]->Lay({}, {1300, 280});
         },
         UpTo(3)},
    };
    for (const Case& eachCase : cases)
        for (const bool atOnce : {true, false}) {
            SCOPED_TRACE(eachCase.Name);
            m_Act = {};
            AddGrid(5, 0);
            m_Act = [&](int row) {
                if (row == 2) eachCase.Act();
            };
            atOnce ? m_Refreshers[0]->RefreshNow() : m_Refreshers[0]->Start();
            QTest::qWait(atOnce ? 1 : 600);
            EXPECT_EQ(RowsRead(0), eachCase.RowsRead);
            m_Refreshers.clear();
            m_Grids.clear();
            m_Readings.clear();
        }
}
