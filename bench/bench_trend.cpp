// Frames of a trend: 8 pens of 1,000,000 values each, panned and zoomed at
// 1,600 x 600 pixels, painted in software with axes, grid and labels; and
// finding the extremes of all columns against a bare loop over the same values.
#include "bench/Figures.h"
#include "trend/picture/TrendPainter.h"

#include <QGuiApplication>
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
std::vector<Pen> MakePens()
{
    std::mt19937 random(7);
    std::vector<Pen> pens(Pens);
    for (Pen& pen : pens) {
        pen.Settings.HasOwnAxis = true;
        pen.Settings.Colour = PenColours[static_cast<std::size_t>(&pen - pens.data()) % PenColours.size()];
        Micros time = 0;
        double value = 0;
        for (int i = 0; i < ValuesAPen; ++i)
            pen.Values.Append(
                {time += 500 + random() % 1000, value += static_cast<double>(random() % 2001) / 1000 - 1});
    }
    return pens;
}

Extreme BareExtremes(const Series& pen, const Column& column)
{
    Extreme extreme;
    for (std::size_t i = column.Begin; i < column.End; ++i) extreme.Add(pen.ValueAt(i));
    return extreme;
}

/// Median and 95 of 100 of the frames of a walk through the time, at several
/// depths of zoom.
std::pair<double, double> PaintFrames(std::span<const Pen* const> pens)
{
    QImage image(Width, Height, QImage::Format_RGB32);
    TrendPainter trend;
    View view;
    const Span all{0, pens[0]->Values.TimeAt(ValuesAPen - 1)};
    std::vector<double> frames;
    for (int frame = 0; frame < Frames; ++frame) {
        view.Shown = all.Zoomed(1.0 / (1 + frame % 4), all.Length() / 2).Moved(frame * 0.001);
        const double start = Milliseconds();
        QPainter painter(&image);
        trend.Paint(painter, image.size(), {view, pens}, PictureColours::Light());
        painter.end();
        frames.push_back(Milliseconds() - start);
    }
    std::sort(frames.begin(), frames.end());
    return {frames[Frames / 2], frames[Frames * 95 / 100]};
}

/// How long finding the extremes takes, bare and by steps; whether both find
/// the same.
bool CompareExtremes(std::span<const Pen* const> pens, double& bare, double& found)
{
    std::vector<std::vector<Column>> columns(Pens);
    double sum = 0;
    bool isSame = true;
    bare = found = 1e9;
    for (int round = 0; round < 7; ++round) {
        double start = Milliseconds();
        for (std::size_t i = 0; i < Pens; ++i)
            FindColumns(pens[i]->Values, {0, pens[i]->Values.TimeAt(ValuesAPen - 1) + 1}, Width, columns[i]);
        found = std::min(found, Milliseconds() - start);
        std::vector<Extreme> extremes;
        extremes.reserve(Pens * Width);
        start = Milliseconds();
        for (std::size_t i = 0; i < Pens; ++i)
            for (const Column& column : columns[i]) extremes.push_back(BareExtremes(pens[i]->Values, column));
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

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const std::vector<Pen> made = MakePens();
    std::vector<const Pen*> pens;
    for (const Pen& pen : made) pens.push_back(&pen);
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
