#include "trend/core/ReadMoment.h"
#include "trend/core/Statistics.h"
#include "trend/core/TimeText.h"
#include "trend/data/Followed.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <cmath>

namespace {

using namespace Qt::StringLiterals;

constexpr Micros Second = MicrosASecond;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

LiveNews News(double seconds, double value, bool isFirst = false)
{
    LiveNews news{.Item = u"PLC1\\D"_s, .Time = std::llround(seconds * Second), .IsFirst = isFirst};
    news.Value = {PenKind::Numbers, value, QString::number(value)};
    news.State = std::isnan(value) ? PenState::Failed : PenState::Good;
    return news;
}

/// "1:5 2:- 3:7": seconds and values, "-" is a gap.
QString Written(const Series& series)
{
    QStringList texts;
    for (std::size_t i = 0; i < series.Count(); ++i) {
        const QString value = series.IsGap(i) ? u"-"_s : QString::number(series.ValueAt(i));
        texts << QStringLiteral("%1:%2").arg(QString::number(static_cast<double>(series.TimeAt(i)) / Second), value);
    }
    return texts.join(u' ');
}

HistoryAnswer Answer(Micros from, Micros to, Micros interval, std::vector<Sample> samples)
{
    for (Sample& sample : samples) sample.Time *= Second;
    return {.Item = u"PLC1\\D"_s,
            .Known = {from * Second, to * Second},
            .Interval = interval,
            .Samples = std::move(samples)};
}

} // namespace

TEST(Coverage, AsksForWhatIsMissingOrTooCoarse)
{
    Coverage known;
    known.Add({0, 100}, 10);
    known.Add({40, 60}, Coverage::Exact);
    const auto texts = [&](const Span& span, Micros interval) {
        QStringList parts;
        for (const Span& part : known.Missing(span, interval)) parts << u"%1-%2"_s.arg(part.From).arg(part.To);
        return parts.join(u' ');
    };
    EXPECT_EQ(texts({-20, 120}, 10), u"-20-0 100-120"_s);
    EXPECT_EQ(texts({-20, 120}, 5), u"-20-40 60-120"_s);
    EXPECT_EQ(texts({45, 55}, 1), QString());
    known.Forget({50, 200});
    EXPECT_EQ(texts({0, 60}, 20), u"50-60"_s);
    // Round, never longer than the column, and beginning at the same moments wherever the picture is.
    for (const Micros column :
         {Micros(1), Micros(7), 999 * Second / 1000, 59 * Second, 3599 * Second, 400'000 * Second}) {
        const Micros interval = RoundInterval(column);
        EXPECT_LE(interval, column);
        EXPECT_GT(interval * 3, column);
        const Span aligned = Aligned({-column - 3, column + 3}, interval);
        EXPECT_EQ(aligned.From % interval, 0);
        EXPECT_TRUE(aligned.From <= -column - 3 && aligned.To >= column + 3);
    }
}

TEST(Followed, PresentAndPastAreOneLine)
{
    const auto pen = std::make_shared<Pen>();
    Followed followed(pen);
    followed.Take(News(10, 1, true), 10 * Second);
    followed.Take(News(11, 1), 11 * Second); // read again
    followed.Take(News(12, 5), 12 * Second);
    EXPECT_EQ(Written(pen->Values), u"10:1 11:1 12:5"_s); // held until it was read last
    followed.Hold(13 * Second);
    const std::vector<Span> missing = followed.Missing({0, 20 * Second}, 1, 13 * Second);
    ASSERT_EQ(missing.size(), 1U);
    EXPECT_EQ(missing[0], (Span{0, 10 * Second}));

    // What the history says of times that were followed is left out; a rough answer never replaces an exact one.
    followed.Take(Answer(0, 20, Coverage::Exact, {{2, 3}, {9, 4}, {12, 99}, {14, 98}}), 13 * Second);
    EXPECT_EQ(Written(pen->Values).left(20), u"2:3 9:4 10:1 11:1 12"_s);
    followed.Take(Answer(0, 8, Second, {{1, 77}}), 13 * Second);
    EXPECT_TRUE(Written(pen->Values).startsWith(u"2:3 9:4 "_s));

    // The server goes, and comes back after a while; the hole is a gap until the history fills it.
    followed.Break(15 * Second);
    EXPECT_TRUE(Written(pen->Values).endsWith(u" 15:-"_s));
    followed.Take(News(18, 6, true), 19 * Second);
    followed.Hold(20 * Second);
    ASSERT_EQ(followed.Missing({0, 20 * Second}, 1, 20 * Second), (std::vector<Span>{{15 * Second, 18 * Second}}));
    followed.Take(Answer(15, 18, Coverage::Exact, {{16, 7}}), 20 * Second);
    EXPECT_TRUE(Written(pen->Values).endsWith(u" 16:7 18:6"_s));
    EXPECT_TRUE(followed.Missing({0, 20 * Second}, 1, 20 * Second).empty());
}

// Between two events an item had more values than were read; the history tells them, as far as it has got.
TEST(Followed, WhatWasMissedIsReadFromTheHistory)
{
    const auto pen = std::make_shared<Pen>();
    Followed followed(pen);
    followed.Take(News(20, 1, true), 20 * Second);
    LiveNews news = News(30, 5);
    news.MissedSince = 20 * Second;
    followed.Take(news, 30 * Second);
    EXPECT_EQ(followed.Missed({25 * Second, 40 * Second}), (Span{25 * Second, 30 * Second}));
    HistoryAnswer answer = Answer(20, 24, Coverage::Exact, {{20, 1}, {21, 9}, {23, 2}, {26, 4}});
    answer.IsFresh = true;
    followed.Take(answer, 30 * Second);
    EXPECT_EQ(Written(pen->Values), u"20:1 21:9 23:2 30:5"_s); // 26 has not been recorded for sure
    EXPECT_EQ(followed.Missed({0, 40 * Second}), (Span{24 * Second, 30 * Second}));
    EXPECT_FALSE(followed.LacksMissed());
    answer = Answer(24, 29, 3 * Second, {{24, 3}, {25, 7}, {27, 3}, {28, 8}});
    answer.IsFresh = true;
    followed.Take(answer, 60 * Second);
    EXPECT_TRUE(Written(pen->Values).endsWith(u" 24:3 25:7 27:3 28:8 30:5"_s));
    EXPECT_TRUE(followed.LacksMissed()) << "half a minute later the history still lacks something";
}

TEST(Followed, GapsTypesAndTroubleAreShown)
{
    const auto pen = std::make_shared<Pen>();
    Followed followed(pen);
    followed.Take(News(1, 4, true), Second);
    followed.Take(News(2, NaN), 2 * Second);
    followed.Take(News(3, NaN), 3 * Second);
    followed.Take(News(4, 5), 4 * Second);
    EXPECT_EQ(Written(pen->Values), u"1:4 2:- 4:5"_s);
    LiveNews text = News(5, NaN);
    text.Value = {PenKind::Texts, NaN, u"stop"_s};
    text.State = PenState::Good;
    followed.Take(text, 5 * Second);
    EXPECT_EQ(pen->Kind, PenKind::Texts);
    EXPECT_EQ(pen->Present, u"stop"_s);
    followed.Take(LiveNews{.Item = text.Item, .Note = u"no such item"_s}, 6 * Second);
    EXPECT_EQ(pen->Note, u"no such item"_s);
    followed.Take(News(7, 1, true), 7 * Second);
    EXPECT_EQ(pen->Note, QString());
    EXPECT_EQ(pen->Kind, PenKind::Numbers);
}

TEST(Followed, ADayOfValuesKeepsItsExtremesAndNotItsSize)
{
    const auto pen = std::make_shared<Pen>();
    Followed followed(pen);
    constexpr std::size_t Most = 10'000;
    Micros now = 0;
    const Span shown{0, 86'400 * Second};
    for (int i = 0; i < 86'400; ++i) {
        now = i * Second;
        const double value = i == 12'345 ? 1000 : i == 54'321 ? -1000 : std::sin(i / 100.0);
        followed.Take(News(i, value, i == 0), now);
        followed.Hold(now);
        if (i % 100 == 0) followed.Thin(shown, 60 * Second, Most);
        ASSERT_LT(pen->Values.Count(), Most + 200);
    }
    const auto figures = StatisticsOf(pen->Values, shown, Drawing::Step);
    EXPECT_EQ(figures->Values.Smallest, -1000);
    EXPECT_EQ(figures->Values.Largest, 1000);
    EXPECT_NEAR(static_cast<double>(pen->Values.TimeAt(pen->Values.Find(12'340 * Second))) / Second, 12'345, 60);
    EXPECT_TRUE(followed.Missing(shown, 60 * Second, now).empty());
}

TEST(Followed, TextsThatChangeForADayAreKeptAsFarAsThereIsRoom)
{
    const auto pen = std::make_shared<Pen>();
    Followed followed(pen);
    constexpr std::size_t Most = 1600;
    for (int i = 0; i < 10'000; ++i) {
        LiveNews news = News(i, NaN, i == 0);
        news.Value = {PenKind::Texts, NaN, QString::number(i)};
        news.State = PenState::Good;
        followed.Take(news, i * Second);
        followed.Hold(i * Second);
        if (i % 10 == 0) followed.Thin({(i - 200) * Second, i * Second}, 1, Most);
    }
    const auto kept = pen->Texts.Within({Span::Earliest, Span::Latest});
    EXPECT_LE(kept.size(), Most / 16 + 10);
    EXPECT_EQ(kept.back().Text, u"9999"_s);
    const auto missing = followed.Missing({0, 10'000 * Second}, 1, 10'000 * Second);
    ASSERT_EQ(missing.size(), 1U) << "the history is asked for what was dropped";
    EXPECT_EQ(missing[0].To, kept.front().Time);
}

TEST(ReadMoment, IsReadAsPeopleTypeIt)
{
    const auto at = [](int hour, int minute, int second = 0) {
        return QDateTime(QDate(2026, 1, 31), QTime(hour, minute, second)).toMSecsSinceEpoch() * 1000;
    };
    const Micros now = at(12, 30);
    const std::initializer_list<std::pair<const char16_t*, std::optional<Micros>>> cases = {
        {u"now", now},
        {u"2026-01-31 12:30", now},
        {u" 2026-01-31T12:30:00 ", now},
        {u"2026-1-31", at(0, 0)},
        {u"07:05", at(7, 5)},
        {u"7:05:06.25", at(7, 5, 6) + 250'000},
        {u"-2 h", at(10, 30)},
        {u"-90min", at(11, 0)},
        {u"+1 s", now + Second},
        {u"-1 d", now - 86'400 * Second},
        {u"1970-01-01 00:00:01Z", Second},
        {u"", std::nullopt},
        {u"soon", std::nullopt},
        {u"25:00", std::nullopt},
        {u"2026-02-30", std::nullopt},
        {u"99-01-01", std::nullopt},
        {u"-999999999 years", std::nullopt},
    };
    for (const auto& [text, moment] : cases)
        EXPECT_EQ(ReadMoment(QString::fromUtf16(text), now, now), moment) << qPrintable(QString::fromUtf16(text));
    EXPECT_EQ(ReadMoment(MomentText(now + 1234, 6), now, now), now + 1234);
}
