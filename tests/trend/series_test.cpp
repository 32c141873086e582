#include "trend/core/Bars.h"
#include "trend/core/IntervalSamples.h"
#include "trend/core/Runs.h"
#include "trend/core/Statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// Of one period of a sine with 10,000 values in 10 seconds.
Series Sine()
{
    Series series;
    for (int i = 0; i <= 10'000; ++i) series.Append({i * 1000, std::sin(i * 2 * std::numbers::pi / 10'000)});
    return series;
}

Series Of(std::initializer_list<Sample> samples)
{
    Series series;
    for (const Sample& sample : samples) series.Append({sample.Time * MicrosASecond, sample.Value});
    return series;
}

Extreme Bare(const Series& series, std::size_t begin, std::size_t end)
{
    Extreme extreme;
    for (std::size_t i = begin; i < end; ++i) extreme.Add(series.ValueAt(i));
    return extreme;
}

} // namespace

TEST(Series, FindsExtremesAndPlacesAsALoopOverAllValuesDoes)
{
    std::mt19937 random(1);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    Series series(6000);
    Micros time = 0;
    for (int round = 0; round < 400; ++round) {
        for (int i = 0; i < 30; ++i)
            series.Append(
                {time += static_cast<Micros>(below(3)), below(50) == 0 ? NaN : static_cast<double>(below(1000))});
        series.Append({time - static_cast<Micros>(below(40)), 5e6}); // a late one
        if (round % 50 == 0) {
            const std::vector<Sample> samples = {{time - 90, 1}, {time - 90, NaN}, {time - 60, -7}};
            series.Replace({time - 100, time - 50}, samples);
        }
        ASSERT_TRUE(std::is_sorted(series.Times().begin(), series.Times().end()));
        ASSERT_LE(series.Count(), 6000u);
        for (int i = 0; i < 20; ++i) {
            const std::size_t begin = below(series.Count()), end = begin + below(series.Count() - begin + 1);
            const Extreme found = series.Steps().Of(series.Values(), begin, end), bare = Bare(series, begin, end);
            ASSERT_EQ(found.Smallest, bare.Smallest) << begin << ' ' << end;
            ASSERT_EQ(found.Largest, bare.Largest) << begin << ' ' << end;
            const auto isGap = [](double value) { return std::isnan(value); };
            const auto run = series.Values().subspan(begin, end - begin);
            ASSERT_EQ(series.HasGap(begin, end), std::any_of(run.begin(), run.end(), isGap));
            const Micros wanted = time - 5000 + static_cast<Micros>(below(6000));
            ASSERT_EQ(series.Find(wanted, below(series.Count() + 9)), series.Find(wanted));
        }
    }
    const Span all{series.TimeAt(0) - 10, time + 100};
    for (const int width : {1, 7, 1600}) {
        std::vector<Column> columns;
        FindColumns(series, all, width, columns);
        std::size_t next = 0;
        for (const Column& column : columns) {
            ASSERT_EQ(column.Begin, std::exchange(next, column.End)) << "each value is in one column";
            ASSERT_EQ(column.Values.Largest, Bare(series, column.Begin, column.End).Largest);
        }
        EXPECT_EQ(next, series.Count());
    }
}

TEST(Series, IsDrawnAsStepsAndLinesWithGaps)
{
    Series series = Of({{0, 10}, {10, 20}, {20, NaN}, {30, 40}});
    series.HoldUntil(31 * MicrosASecond);
    const auto drawn = [&](Drawing drawing) {
        std::string values;
        for (const double second : {-1.0, 0.0, 5.0, 10.0, 15.0, 20.0, 30.0, 31.0, 31.1}) {
            const auto value = series.At(static_cast<Micros>(second * 1e6), drawing);
            values += value ? std::to_string(static_cast<int>(*value)) + ' ' : "- ";
        }
        return values;
    };
    EXPECT_EQ(drawn(Drawing::Step), "- 10 10 20 20 - 40 40 - ");
    EXPECT_EQ(drawn(Drawing::Line), "- 10 15 20 20 - 40 40 - ");
    const Extreme line = ExtremesIn(series, {5 * MicrosASecond, 8 * MicrosASecond}, Drawing::Line);
    EXPECT_EQ(line.Smallest + 100 * line.Largest, 15 + 1800) << "between two values";
}

TEST(Bars, ShowEachValueAndHoldTogether)
{
    const auto paint = [](const Series& series, const Span& span, Drawing drawing, int width, int height) {
        std::vector<Column> columns;
        std::vector<Bar> bars;
        FindColumns(series, span, width, columns);
        FindBars(series, span, columns, {0, static_cast<double>(height), static_cast<double>(height)}, drawing, bars);
        std::vector<quint32> pixels(static_cast<std::size_t>(width * height), '.');
        FillBars(bars, '#', {pixels.data(), width, width, height});
        std::string picture;
        for (int i = 0; i < width * height; ++i) {
            if (i % width == 0) picture += '\n';
            picture += static_cast<char>(pixels[static_cast<std::size_t>(i)]);
        }
        return picture;
    };
    Series series;
    for (const auto& [second, value] : {std::pair(0.0, 0.5), {4.0, 3.5}, {5.0, 1.5}, {6.5, NaN}, {9.0, 9.5}})
        series.Append({static_cast<Micros>(second * 1e6), value});
    series.HoldUntil(10 * MicrosASecond);
    const Span span{-1 * MicrosASecond, 11 * MicrosASecond};
    // A column shows a second; the value 9.5 lies above the picture.
    EXPECT_EQ(paint(series, span, Drawing::Step, 12, 4), "\n.....##....."
                                                         "\n.....##....."
                                                         "\n.....###...."
                                                         "\n.#####......");
    EXPECT_EQ(paint(series, span, Drawing::Line, 12, 4), "\n....##......"
                                                         "\n...###......"
                                                         "\n.###.###...."
                                                         "\n.#..........");
}

TEST(Series, IsMadeOfWhatAHistorySaysOfIntervals)
{
    const std::vector<IntervalFigures> intervals = {
        {0, 5, 1, 6, 2}, {40, NaN, NaN, NaN, NaN}, {80, 3, 3, 3, 3}, {120, NaN, NaN, NaN, NaN, true}};
    Series series;
    series.Replace({0, 160}, SamplesOf(intervals, 160));
    const std::vector<Micros> times(series.Times().begin(), series.Times().end());
    EXPECT_EQ(times, std::vector<Micros>({0, 10, 20, 30, 80, 120}));
    const std::vector<double> values(series.Values().begin(), series.Values().end() - 1);
    EXPECT_EQ(values, std::vector<double>({5, 6, 1, 2, 3}));
    EXPECT_TRUE(series.IsGap(5));
}

TEST(Runs, AreAsManyAsCanBeToldApart)
{
    const Series series = Of({{0, 1}, {10, 1}, {20, 0}, {21, 1}, {22, 0}, {30, NaN}, {40, 1}, {50, 0}});
    const Micros s = MicrosASecond;
    EXPECT_EQ(RunsOf(series, {5 * s, 60 * s}, 4 * s),
              std::vector<HeldRun>(
                  {{5 * s, 20 * s, 1}, {20 * s, 24 * s, 0, true}, {24 * s, 30 * s, 0}, {40 * s, 50 * s, 1}}));
}

TEST(Statistics, AreThoseOfMathematics)
{
    const Series sine = Sine();
    const Span period{0, 10 * MicrosASecond};
    const auto whole = StatisticsOf(sine, period, Drawing::Line);
    ASSERT_TRUE(whole);
    EXPECT_NEAR(whole->Mean, 0, 1e-9);
    EXPECT_NEAR(whole->Spread, std::numbers::sqrt2 / 2, 1e-6);
    EXPECT_NEAR(whole->Values.Largest, 1, 1e-7);
    EXPECT_NEAR(whole->Rate, 0, 1e-9);
    EXPECT_EQ(whole->Count, 10'000u);
    const auto half = StatisticsOf(sine, {0, 5 * MicrosASecond}, Drawing::Line);
    EXPECT_NEAR(half->Integral, 10 / std::numbers::pi, 1e-6);
    for (const Drawing drawing : {Drawing::Line, Drawing::Step}) {
        const auto times = CrossingsOf(sine, {1, 10 * MicrosASecond}, drawing, 0.5);
        ASSERT_EQ(times.size(), 2u);
        EXPECT_NEAR(static_cast<double>(times[0]), 10e6 / 12, drawing == Drawing::Line ? 2 : 1001);
        EXPECT_NEAR(static_cast<double>(times[1]), 50e6 / 12, drawing == Drawing::Line ? 2 : 1001);
    }
    EXPECT_TRUE(CrossingsOf(sine, period, Drawing::Line, 1).empty()) << "only touched";

    Series steps = Of({{0, 10}, {4, 30}, {6, NaN}, {8, 50}, {8, 60}});
    steps.HoldUntil(100 * MicrosASecond);
    const auto figures = StatisticsOf(steps, {2 * MicrosASecond, 10 * MicrosASecond}, Drawing::Step);
    EXPECT_EQ(figures->Integral, 2 * 10 + 2 * 30 + 2 * 60);
    EXPECT_NEAR(figures->Mean, 200.0 / 6, 1e-12);
    EXPECT_NEAR(figures->Rate, 50.0 / 8, 1e-12);
    EXPECT_EQ(figures->Covered, 6 * MicrosASecond);
    EXPECT_EQ(figures->Count, 3u);
    const auto crossings = CrossingsOf(steps, {0, 10 * MicrosASecond}, Drawing::Step, 20);
    EXPECT_EQ(crossings, std::vector<Micros>{4 * MicrosASecond}) << "nobody knows when within a gap";
    EXPECT_FALSE(StatisticsOf(steps, {6 * MicrosASecond, 7 * MicrosASecond}, Drawing::Step));
}
