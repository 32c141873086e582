#include "trend/core/Readings.h"
#include "trend/core/TimeText.h"

#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace {

QString Joined(const Readings& readings)
{
    QStringList lines{readings.Columns.join(u" | ")};
    for (const Readings::Row& row : readings.Rows) lines += QString::number(row.Pen) + u": "_s + row.Cells.join(u" | ");
    return lines.join(u'\n');
}

} // namespace

TEST(Readings, OfASineAreThoseOfMathematics)
{
    Pen level, running, message, hidden;
    constexpr int Count = 10'000; // ten seconds, one period
    for (int i = 0; i <= Count; ++i)
        level.Values.Append({i * 1000, 5 + 2 * std::sin(i * 2 * std::numbers::pi / Count)});
    level.Settings.Drawn = Drawing::Line;
    level.Settings.Unit = u"m"_s;
    level.Settings.Limits = {6, 9};
    running.Kind = PenKind::Boolean;
    running.Values.Append({0, 0});
    running.Values.Append({2'500'000, 1});
    running.Values.HoldUntil(10'000'000);
    message.Kind = PenKind::Texts;
    message.Texts.Append({1'000'000, u"filling"_s});
    hidden.Settings.IsVisible = false;
    const std::vector<const Pen*> pens = {&level, &hidden, &running, &message};

    View view;
    view.Shown = {0, 10'000'000};
    EXPECT_TRUE(CursorReadings(view, pens).Rows.empty());
    view.Cursors = {500'000, 2'500'000};
    EXPECT_EQ(Joined(CursorReadings(view, pens)), u"1: 1970-01-01 00:00:00.500 | 2: 1970-01-01 00:00:02.500 | "
                                                  "Difference in 2 s | Per second\n"
                                                  "0: 5.618034 m | 7 m | 1.381966 m | 0.69098301 m/s\n"
                                                  "2: False | True | - | -\n"
                                                  "3: - | filling | - | -"_s);
    EXPECT_EQ(Joined(SpanReadings(view, pens)), u"Smallest | Largest | Mean | Spread | Integral | Rate | Covered\n"
                                                "0: 3 m | 7 m | 5 m | 1.4142135 m | 50 m·s | 0 m/s | 100.0 %\n"
                                                "2: 0 | 1 | 0.75 | 0.4330127 | 7.5 s | 0.1 | 100.0 %"_s);
    view.Marked = Span{0, 5'000'000}; // asin(0.5) is a twelfth of the period
    EXPECT_EQ(Joined(LimitReadings(view, pens)), u"Limit | Crossed at | Direction | Since the one before\n"
                                                 "0: 6 m | 1970-01-01 00:00:00.833333 | rising | \n"
                                                 "0: 6 m | 1970-01-01 00:00:04.166667 | falling | 3.333334 s\n"
                                                 "0: 9 m | not crossed |  | "_s);
}

TEST(TimeText, SaysAsMuchAsIsNeeded)
{
    EXPECT_EQ(DurationText(-90'061'000'000), u"-1 d 1 h 1 min"_s);
    EXPECT_EQ(DurationText(61'500'000), u"1 min 1.5 s"_s);
    EXPECT_EQ(DurationText(40), u"40 µs"_s);
    EXPECT_EQ(MomentText(-1), u"1969-12-31 23:59:59.999999"_s);
    EXPECT_EQ(SpanText({0, 3600 * MicrosASecond}), u"1970-01-01 00:00:00 - 01:00:00"_s);
    EXPECT_EQ(SpanText({Span::Earliest, Span::Latest}), u"0100-01-01 00:00:00 - 10000-01-01 00:00:00"_s);
}
