#include "tests/support/PrintQt.h"
#include "trend/core/Marks.h"
#include "trend/core/ValueScale.h"

#include <gtest/gtest.h>
#include <QDateTime>
#include <QStringList>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

Micros Utc(const QString& text)
{
    return QDateTime::fromString(text + u'Z', Qt::ISODate).toMSecsSinceEpoch() * 1000;
}

QString LabelsOf(const Span& span, int most)
{
    QStringList labels;
    Micros last = span.From - 1;
    for (const TimeTick& tick : TimeTicks(span, most)) {
        EXPECT_GT(tick.Time, std::exchange(last, tick.Time));
        labels << (tick.Context.isEmpty() ? tick.Label : tick.Context + u'/' + tick.Label);
    }
    EXPECT_LT(last, span.To);
    return labels.join(u", "_s);
}

} // namespace

TEST(TimeTicks, StandAtRoundLocalTimesAlsoWhereClocksChange)
{
    qputenv("TZ", "Europe/Berlin");
    tzset();
    struct Case
    {
        QString From, To;
        int Most;
        QString Labels;
    };
    for (const Case& c : {
             Case{u"2024-10-26T22:30:00"_s, u"2024-10-27T03:30:00"_s, 6,
                  u"2024-10-27/01:00, 02:00, 02:00 CET, 03:00, 04:00"_s},
             Case{u"2024-03-30T23:30:00"_s, u"2024-03-31T02:30:00"_s, 4, u"2024-03-31/01:00, 03:00, 04:00"_s},
             Case{u"2024-03-30T22:00:00"_s, u"2024-03-31T10:00:00"_s, 6,
                  u"2024-03-31/00:00, 04:00, 06:00, 08:00, 10:00"_s},
             Case{u"2024-10-26T10:00:00"_s, u"2024-10-28T05:00:00"_s, 8,
                  u"2024-10-26/12:00, 18:00, 2024-10-27/00:00, 06:00, 12:00, 18:00, 2024-10-28/00:00"_s},
             Case{u"2024-01-01T00:00:00"_s, u"2024-01-01T00:00:01"_s, 5,
                  u"2024-01-01/01:00:00.0, 01:00:00.2, 01:00:00.4, 01:00:00.6, 01:00:00.8"_s},
             Case{u"2024-02-27T00:00:00"_s, u"2024-03-02T00:00:00"_s, 5, u"2024-02/28., 29., 2024-03/01., 02."_s},
             Case{u"2023-12-15T00:00:00"_s, u"2024-03-15T00:00:00"_s, 4, u"2024-01, 2024-02, 2024-03"_s},
             Case{u"0100-01-01T00:00:00"_s, u"9999-12-31T00:00:00"_s, 10,
                  u"1000, 2000, 3000, 4000, 5000, 6000, 7000, 8000, 9000"_s},
         })
        EXPECT_EQ(LabelsOf({Utc(c.From), Utc(c.To)}, c.Most), c.Labels) << c.From.toStdString();
    qputenv("TZ", "Australia/Lord_Howe"); // clocks change by half an hour
    tzset();
    EXPECT_EQ(LabelsOf({Utc(u"2024-04-06T13:30:00"_s), Utc(u"2024-04-06T17:00:00"_s)}, 4),
              u"2024-04-07/01:00, 02:00, 03:00"_s);
    qunsetenv("TZ");
    tzset();
    for (Micros length = 1000; length < Span::Latest - Span::Earliest; length *= 3) {
        const std::size_t count =
            TimeTicks({Utc(u"1980-01-01T00:00:00"_s), Utc(u"1980-01-01T00:00:00"_s) + length}, 9).size();
        EXPECT_LE(count, 11u) << length;
    }
}

TEST(ValueTicks, AreRoundAndToldApart)
{
    struct Case
    {
        double Bottom, Top;
        QString Labels;
    };
    for (const Case& c :
         {Case{0, 1, u"0.0 0.2 0.4 0.6 0.8 1.0"_s}, Case{-0.11, 0.11, u"-0.10 -0.05 0.00 0.05 0.10"_s},
          Case{37, 4321, u"1000 2000 3000 4000"_s},
          Case{99.997, 100.002, u"99.997 99.998 99.999 100.000 100.001 100.002"_s},
          Case{0, 3e9, u"0E+00 1E+09 2E+09 3E+09"_s},
          Case{1e9, 1e9 + 20, u"1.000000000E+09 1.000000005E+09 1.000000010E+09 1.000000015E+09 1.000000020E+09"_s},
          Case{1, 1, {}}, Case{0, std::numeric_limits<double>::infinity(), {}}}) {
        QStringList labels;
        for (const ValueTick& tick : ValueTicks({c.Bottom, c.Top, 100}, 5)) labels << tick.Label;
        EXPECT_EQ(labels.join(u' '), c.Labels) << c.Bottom;
    }
    for (const Extreme& extreme :
         {Extreme{}, Extreme{5, 5}, Extreme{0, 0}, Extreme{-1e308, 1e308}, Extreme{1, 1 + 1e-15}}) {
        const ValueScale scale = ValueScale::Around(extreme, 100);
        EXPECT_GE(ValueTicks(scale, 5).size(), 2u);
        EXPECT_NEAR(scale.PixelOf(scale.ValueAt(25)), 25, 0.01);
    }
    EXPECT_EQ((ValueScale{0, 1, 100}.PixelOf(1e300)), -100) << "not too far for a painter";
}

TEST(Marks, HaveRoomForThemselves)
{
    Marks marks;
    for (const auto& [time, text] : {std::pair(50, u"b"_s), {10, u"a"_s}, {90, u"c"_s}, {95, u"d"_s}, {200, u"e"_s}})
        marks.Append({time, text});
    marks.Replace({94, 100}, {{96, u"f"_s}, {97, u"g"_s}});
    EXPECT_EQ(marks.Shown({{60, 160}, 100}, 20), std::vector<Marks::Place>({{0, u"b"_s}, {30, u"c"_s, 2}}))
        << "what holds, and what has no room";
}

TEST(Span, MovesAndZoomsWithinTheYearsThatCanBeShown)
{
    const Span minute{0, 60'000'000};
    EXPECT_EQ(minute.Moved(-0.5), (Span{-30'000'000, 30'000'000}));
    EXPECT_EQ(minute.Zoomed(0.5, 15'000'000), (Span{7'500'000, 37'500'000})) << "what is fixed stays";
    EXPECT_EQ(minute.EndingAt(5).To, 5);
    EXPECT_EQ(minute.Zoomed(1e-30, 5).Length(), Span::Shortest);
    const Span all = minute.Zoomed(1e30, 5);
    EXPECT_EQ(all, (Span{Span::Earliest, Span::Latest}));
    EXPECT_EQ(all.Moved(1e9), all);
    EXPECT_EQ(minute.Moved(1e300).To, Span::Latest);
    const TimeScale scale{{0, 1600}, 1600};
    EXPECT_EQ(scale.TimeAt(scale.PixelOf(800)), 800);
}
