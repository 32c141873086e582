// Frames of a trend: 8 pens of 1,000,000 values each, panned and zoomed at
// 1,600 x 600 pixels, painted in software as plain bars; and finding the
// extremes of all columns against a bare loop over the same values.
#include "bench/Figures.h"
#include "trend/core/Bars.h"

#include <QColor>
#include <QImage>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <random>

namespace {

constexpr int Pens = 8;
constexpr int ValuesAPen = 1'000'000;
constexpr int Width = 1600;
constexpr int Height = 600;
constexpr int Frames = 100;
constexpr double LongestFrame = 16; // milliseconds
constexpr double MostOfBare = 0.5;

/// Of this thread's processor time, because other programs would count in that
/// of the wall.
double Milliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Random walks at irregular times.
std::vector<Series> MakePens()
{
    std::mt19937 random(7);
    std::vector<Series> pens(Pens);
    for (Series& pen : pens) {
        Micros time = 0;
        double value = 0;
        for (int i = 0; i < ValuesAPen; ++i)
            pen.Append({time += 500 + random() % 1000, value += static_cast<double>(random() % 2001) / 1000 - 1});
    }
    return pens;
}

Extreme BareExtremes(const Series& pen, const Column& column)
{
    Extreme extreme;
    for (std::size_t i = column.Begin; i < column.End; ++i) extreme.Add(pen.ValueAt(i));
    return extreme;
}

/// What a frame works with, again and again.
struct Canvas
{
    QImage Picture{Width, Height, QImage::Format_RGB32};
    std::vector<Column> Columns;
    std::vector<Bar> Bars;
};

void PaintPen(Canvas& canvas, const Series& pen, const Span& span, QRgb colour)
{
    FindColumns(pen, span, Width, canvas.Columns);
    const ValueScale scale = ValueScale::Around(ExtremesIn(pen, span, Drawing::Step), Height);
    FindBars(pen, span, canvas.Columns, scale, Drawing::Step, canvas.Bars);
    FillBars(canvas.Bars, colour,
             {reinterpret_cast<quint32*>(canvas.Picture.bits()), canvas.Picture.bytesPerLine() / 4, Width, Height});
}

/// Median and 95 of 100 of the frames of a walk through the time, at several
/// depths of zoom.
std::pair<double, double> PaintFrames(const std::vector<Series>& pens)
{
    Canvas canvas;
    const Span all{0, pens[0].TimeAt(ValuesAPen - 1)};
    std::vector<double> frames;
    for (int frame = 0; frame < Frames; ++frame) {
        const Span span = all.Zoomed(1.0 / (1 + frame % 4), all.Length() / 2).Moved(frame * 0.001);
        const double start = Milliseconds();
        canvas.Picture.fill(Qt::white);
        for (int i = 0; i < Pens; ++i)
            PaintPen(canvas, pens[static_cast<std::size_t>(i)], span, QColor::fromHsv(i * 360 / Pens, 255, 180).rgb());
        frames.push_back(Milliseconds() - start);
    }
    std::sort(frames.begin(), frames.end());
    return {frames[Frames / 2], frames[Frames * 95 / 100]};
}

/// How long finding the extremes takes, bare and by steps; whether both find
/// the same.
bool CompareExtremes(const std::vector<Series>& pens, double& bare, double& found)
{
    std::vector<std::vector<Column>> columns(Pens);
    double sum = 0;
    bool isSame = true;
    bare = found = 1e9;
    for (int round = 0; round < 7; ++round) {
        double start = Milliseconds();
        for (std::size_t i = 0; i < Pens; ++i)
            FindColumns(pens[i], {0, pens[i].TimeAt(ValuesAPen - 1) + 1}, Width, columns[i]);
        found = std::min(found, Milliseconds() - start);
        std::vector<Extreme> extremes;
        extremes.reserve(Pens * Width);
        start = Milliseconds();
        for (std::size_t i = 0; i < Pens; ++i)
            for (const Column& column : columns[i]) extremes.push_back(BareExtremes(pens[i], column));
        bare = std::min(bare, Milliseconds() - start);
        for (std::size_t i = 0; i < extremes.size(); ++i) {
            const Extreme& other = columns[i / Width][i % Width].Values;
            isSame = isSame && extremes[i].Smallest == other.Smallest && extremes[i].Largest == other.Largest;
            sum += extremes[i].Largest;
        }
    }
    return isSame && sum != 0;
}

} // namespace

int main()
{
    const std::vector<Series> pens = MakePens();
    double bare = 0;
    double found = 0;
    const bool isSame = CompareExtremes(pens, bare, found);
    const auto [median, slow] = PaintFrames(pens);
    std::printf("%d pens of %d values, %d x %d pixels, processor time\n", Pens, ValuesAPen, Width, Height);
    std::printf("  %-52s %9.2f ms\n", "bare loop: extremes of all columns", bare);
    std::printf("  %-52s %9.2f ms\n", "in steps: columns and extremes", found);
    std::printf("  %-52s %9.2f ms\n", "a frame, median", median);
    std::printf("  %-52s %9.2f ms\n", "a frame, 95 of 100", slow);
    if (!isSame) std::printf("  FAILED: both must find the same\n");
    const bool quick = Figures::PrintRatio(QStringLiteral("extremes: in steps / bare"), found / bare, MostOfBare);
    const bool fluent = Figures::PrintRatio(QStringLiteral("frame, median: of 16 ms"), median / LongestFrame, 1);
    return isSame && quick && fluent ? 0 : 1;
}
