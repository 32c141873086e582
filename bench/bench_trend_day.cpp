// A day of 200 pens that change ten times a second, taken as they come, with an hour in view that follows: how much
// memory it takes more at the end than after the second hour, when all that is kept has come once. A tenth of the pens
// are texts.
#include "bench/Figures.h"
#include "trend/data/Followed.h"
#include "trend/data/TrendData.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int Pens = 200;
constexpr int Rate = 10;
constexpr int Hours = 24;
constexpr Micros Second = MicrosASecond;
constexpr Micros ThinEach = 10 * Second;
constexpr Micros Begin = 1'700'000'000 * Second;
constexpr Micros InView = 3600 * Second;
constexpr Micros Column = 2 * Second; // 1,800 of them
constexpr double MostGrowth = 1.1;

bool IsText(int pen)
{
    return pen % 10 == 9;
}

LiveNews NewsOf(int pen, Micros time)
{
    LiveNews news;
    news.Time = time;
    news.State = PenState::Good;
    news.IsFirst = time == Begin;
    news.Value.Number = std::sin(static_cast<double>(time - Begin) * 1e-7 + pen);
    news.Value.Kind = IsText(pen) ? PenKind::Texts : PenKind::Numbers;
    news.Value.Text = QString::number(news.Value.Number);
    return news;
}

void LiveAnHour(std::vector<Followed>& followed, Micros begin)
{
    for (Micros time = begin; time < begin + 3600 * Second; time += Second / Rate) {
        for (int pen = 0; pen < Pens; ++pen) followed[static_cast<std::size_t>(pen)].Take(NewsOf(pen, time), time);
        if ((time - Begin) % ThinEach != 0) continue;
        for (Followed& one : followed) {
            one.Hold(time);
            one.Thin({time - InView, time}, Column, TrendData::MostValues / Pens);
        }
    }
}

} // namespace

int main()
{
    std::vector<Followed> followed;
    for (int i = 0; i < Pens; ++i) followed.emplace_back(std::make_shared<Pen>());
    double after = 0, most = 0;
    for (int hour = 0; hour < Hours; ++hour) {
        LiveAnHour(followed, Begin + hour * 3600 * Second);
        const double heap = Figures::HeapMb();
        if (hour == 1) after = heap;
        if (hour > 1) most = std::max(most, heap);
        if (hour % 4 == 1 || hour == Hours - 1)
            std::printf("  after %2d hours: %.1f MB of the heap, %.1f of memory\n", hour + 1, heap,
                        Figures::MegabytesOf(getpid()));
    }
    return Figures::PrintRatio(QStringLiteral("heap at most from then on / after 2 hours"), most / after, MostGrowth)
               ? 0
               : 1;
}
