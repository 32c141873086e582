#include "tests/support/RealServer.h"
#include "trend/core/Columns.h"
#include "trend/core/Statistics.h"
#include "trend/data/TrendData.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QTemporaryFile>

#include <cmath>
#include <numbers>

namespace {

using namespace Qt::StringLiterals;

constexpr Micros Second = MicrosASecond;

/// A trend on a server of its own.
class TrendDataTest : public ::testing::Test
{
protected:
    TrendDataTest() { m_Server.Start(); }

    std::unique_ptr<TrendData> Trend(const QStringList& items)
    {
        const auto make = [socket = m_Server.SocketPath()] {
            return std::make_unique<RemoteLibrary>(socket, QString());
        };
        auto trend = std::make_unique<TrendData>(make);
        for (const QString& item : items) trend->Add(*PenOf(item));
        return trend;
    }

    template <typename Condition>
    static bool Becomes(Condition isMet)
    {
        const QDeadlineTimer patience(20'000);
        while (!isMet() && !patience.hasExpired()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return isMet();
    }

    void Execute(const QString& statement)
    {
        RemoteLibrary library(m_Server.SocketPath(), QString());
        const ResultSetRef result = library.AttachEngine()->get_History()->Execute(statement);
        while (!result->Progress().Complete) QThread::msleep(1);
        ASSERT_EQ(result->Progress().Failure, QString());
    }

    RealServer m_Server;
};

} // namespace

// A sine of an hour, a value each second, lies in the history: its extremes and crossings are where they must be.
TEST_F(TrendDataTest, ASineOfTheHistoryIsWhereItMustBe)
{
    const QDateTime begin(QDate::currentDate().addDays(-2), QTime(6, 0));
    QStringList rows;
    for (int i = 0; i < 7200; ++i)
        rows << u"('PLC1','Sine','%1','%2')"_s.arg(QString::number(std::sin(i * 2 * std::numbers::pi / 3600), 'g', 17),
                                                   begin.addSecs(i).toString(u"yyyy-MM-dd hh:mm:ss"_s));
    Execute(u"INSERT INTO velsql_history (controller_name, item_name, item_value, item_time) VALUES "_s +
            rows.join(u','));
    const auto trend = Trend({u"PLC1\\Sine"_s});
    const Pen& pen = *trend->Pens()[0];
    const Micros from = begin.toMSecsSinceEpoch() * 1000;
    const Span hour{from, from + 3600 * Second};
    const auto isThere = [&] { return !trend->IsWaiting() && pen.Values.Find(hour.To) > pen.Values.Find(hour.From); };

    trend->Show({from - 86'400 * Second, from + 2 * 86'400 * Second}, 1000); // three days: in intervals of minutes
    ASSERT_TRUE(Becomes(isThere));
    EXPECT_LT(pen.Values.Count(), 2 * 60 * 4U + 10);
    EXPECT_EQ(ExtremesIn(pen.Values, hour, Drawing::Line).Largest, 1);
    EXPECT_EQ(ExtremesIn(pen.Values, hour, Drawing::Line).Smallest, -1);

    trend->Show(hour, 1000);
    ASSERT_TRUE(Becomes([&] { return isThere() && pen.Values.Find(hour.To) - pen.Values.Find(hour.From) == 3600; }));
    EXPECT_EQ(pen.Values.ValueAt(pen.Values.Find(from + 900 * Second)), 1);
    const auto crossings = CrossingsOf(pen.Values, {from + Second, hour.To - Second}, Drawing::Line, 0.5);
    ASSERT_EQ(crossings.size(), 2U); // at 30 and 150 degrees
    EXPECT_NEAR(static_cast<double>(crossings[0] - from) / Second, 300, 0.01);
    EXPECT_NEAR(static_cast<double>(crossings[1] - from) / Second, 1500, 0.01);
    EXPECT_NEAR(StatisticsOf(pen.Values, hour, Drawing::Line)->Spread, std::sqrt(0.5), 0.001);
}

// The server goes and comes back: what was shown is old, the present goes on, the past is asked for again.
TEST_F(TrendDataTest, SurvivesItsServer)
{
    const auto trend = Trend({u"PLC1\\Level"_s, u"PLC1\\Valve"_s, u"PLC1\\Recipe"_s, u"PLC1\\Nope"_s});
    const auto& pens = trend->Pens();
    const auto show = [&] { trend->Show({trend->Now() - 60 * Second, trend->Now()}, 1000); };
    ASSERT_TRUE(Becomes([&] { return show(), pens[0]->Values.Count() > 20; }));
    EXPECT_EQ(pens[1]->Kind, PenKind::Boolean);
    EXPECT_EQ(pens[2]->Kind, PenKind::Texts);
    EXPECT_EQ(pens[2]->Present, u"Lemonade, light"_s);
    EXPECT_EQ(pens[3]->Note, u"Controller \"PLC1\" has no item \"Nope\"."_s);
    EXPECT_LT(std::abs(pens[0]->Time - trend->Now()), 3 * Second);

    m_Server.Terminate();
    ASSERT_TRUE(Becomes([&] { return pens[0]->IsOld; }));
    EXPECT_FALSE(trend->Absence().isEmpty());
    const Micros gone = trend->Now();
    const std::size_t last = pens[0]->Values.Count() - 1;
    EXPECT_TRUE(pens[0]->Values.IsGap(last));

    m_Server.Start();
    ASSERT_TRUE(Becomes([&] { return show(), !pens[0]->IsOld && pens[0]->Time > gone; }));
    EXPECT_EQ(trend->Absence(), QString());
    EXPECT_GT(pens[0]->Values.Find(gone - Second), 0U); // what was there before still is
}

// An item is removed under the trend; the next server has it again, as a text, and after that as it was.
TEST_F(TrendDataTest, ItemsGoChangeTheirTypeAndComeBack)
{
    const auto trend = Trend({u"PLC1\\Level"_s});
    const Pen& pen = *trend->Pens()[0];
    ASSERT_TRUE(Becomes([&] { return pen.Values.Count() > 3; }));
    const std::size_t numbers = pen.Values.Count();
    RemoteLibrary(m_Server.SocketPath(), QString())
        .AttachEngine()
        ->get_Controller(Variant(u"PLC1"_s))
        ->RemoveItem(u"Level"_s);
    ASSERT_TRUE(Becomes([&] { return pen.Note == u"Controller \"PLC1\" has no item \"Level\"."_s; }));
    EXPECT_TRUE(pen.Values.IsGap(pen.Values.Count() - 1));

    QTemporaryFile plant;
    ASSERT_TRUE(plant.open() &&
                plant.write("[[controller]]\nname = \"PLC1\"\n[[controller.item]]\n"
                            "name = \"Level\"\ntype = \"BSTR\"\nvalue = \"high\"\n") &&
                plant.flush());
    m_Server.Terminate();
    m_Server.Start({u"--plant"_s, plant.fileName()});
    ASSERT_TRUE(Becomes([&] { return pen.Present == u"high"_s; }));
    EXPECT_EQ(pen.Kind, PenKind::Texts);
    EXPECT_EQ(pen.Note, QString());

    m_Server.Terminate();
    m_Server.Start();
    ASSERT_TRUE(Becomes([&] { return pen.Values.Count() > numbers + 3 && !pen.IsOld; }));
    EXPECT_EQ(pen.Kind, PenKind::Numbers);
    EXPECT_EQ(pen.Texts.Within({Span::Earliest, Span::Latest}).size(), 1U) << "what it said meanwhile";
}

// Under the sanitizers the history is slower: of a thousand a second it would tell no more than a picture shows.
#ifdef __SANITIZE_ADDRESS__
#define SCAN_MS "5"
constexpr Micros Soon = 20 * Second;
#else
#define SCAN_MS "1"
constexpr Micros Soon = 5 * Second;
#endif

// Events come faster than values can be read, and values change without events: nothing is missing half a second later.
TEST_F(TrendDataTest, ShowsEveryValueOfWhatChangesAThousandTimesASecond)
{
    QTemporaryFile plant;
    ASSERT_TRUE(
        plant.open() &&
        plant.write(
            "[[controller]]\nname = \"PLC1\"\nscan_times = [" SCAN_MS ", 100, 1000]\n"
            "item = [ { name = \"Fast\", type = \"I4\", history = true, signal = { form = \"counter\" } },\n"
            "         { name = \"Quiet\", type = \"I4\", history = true, events = false,"
            " signal = { form = \"counter\" } },\n"
            "         { name = \"Lost\", type = \"I4\", history = false, signal = { form = \"counter\" } } ]\n") &&
        plant.flush());
    m_Server.Terminate();
    m_Server.Start({u"--plant"_s, plant.fileName()});
    const auto trend = Trend({u"PLC1\\Fast"_s, u"PLC1\\Quiet"_s, u"PLC1\\Lost"_s});
    const auto& pens = trend->Pens();
    const auto follow = [&] { trend->Show({trend->Now() - 10 * Second, trend->Now()}, 1000); };
    ASSERT_TRUE(Becomes([&] { return follow(), pens[0]->Time > 0 && pens[1]->Time > 0; }));
    const Micros from = trend->Now() + Second;
    const Span second{from, from + Second};
    // A counter, so each value is one more than the one before.
    const auto hasAll = [&](const Pen& pen) {
        const std::size_t begin = pen.Values.Find(second.From), end = pen.Values.Find(second.To);
        return end > begin + 100 &&
               pen.Values.ValueAt(end - 1) - pen.Values.ValueAt(begin) == static_cast<double>(end - begin - 1);
    };
    const auto hasFastAndQuiet = [&] { return hasAll(*pens[0]) && hasAll(*pens[1]); };
    EXPECT_TRUE(Becomes([&] { return follow(), trend->Now() > second.To && hasFastAndQuiet(); }));
    EXPECT_LT(trend->Now() - second.To, Soon) << "it does not take until the next question about the past";
    EXPECT_FALSE(hasAll(*pens[2]));
    const QString lost = u"Not recorded, and too fast to be heard whole: PLC1\\Lost"_s;
    EXPECT_TRUE(Becomes([&] { return follow(), trend->HistoryTrouble() == lost; }));
}
