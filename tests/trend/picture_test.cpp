#include "trend/picture/PictureHit.h"
#include "trend/picture/TrendPainter.h"

#include "core/Contrast.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr QSize Size(800, 400);

/// Pens painted in memory.
struct Painted
{
    Painted(const View& view, const std::vector<Pen>& pens, double ratio = 1)
        : Image(Size * ratio, QImage::Format_RGB32)
        , Ratio(ratio)
    {
        for (const Pen& pen : pens) Shown.push_back(&pen);
        Image.setDevicePixelRatio(ratio);
        Image.fill(Qt::magenta);
        QPainter painter(&Image);
        Layout = TrendPainter().Paint(painter, Size, {view, Shown}, Colours);
    }

    /// So many pixels of a pen's colour between two moments, in rows of the plot.
    int Count(const Pen& pen, Micros from, Micros to) const
    {
        const QRgb colour = Colours.OfPen(pen).rgb();
        const auto x = [&](Micros time) {
            return static_cast<int>((Layout.Field.left() + Layout.Times().PixelOf(time)) * Ratio);
        };
        int count = 0;
        for (int column = x(from); column < x(to); ++column)
            for (int row = 0; row < static_cast<int>((Layout.Plot.bottom() - 15) * Ratio); ++row)
                count += Image.pixel(column, row) == colour;
        return count;
    }

    QImage Image;
    double Ratio;
    std::vector<const Pen*> Shown;
    PictureColours Colours = PictureColours::Light();
    PictureLayout Layout;
};

Pen Numbers(std::initializer_list<double> values)
{
    Pen pen;
    for (const double value : values)
        pen.Values.Append({static_cast<Micros>(pen.Values.Count()) * MicrosASecond, value});
    pen.Values.HoldUntil(static_cast<Micros>(values.size()) * MicrosASecond);
    return pen;
}

View Seconds(Micros from, Micros to)
{
    View view;
    view.Shown = {from * MicrosASecond, to * MicrosASecond};
    return view;
}

} // namespace

TEST(TrendPainter, PaintsDenseColumnsFromSmallestToLargest)
{
    std::vector<Pen> pens(1);
    for (int i = 0; i < 100'000; ++i) pens[0].Values.Append({i * 100, i < 50'000 ? i % 2 * 10.0 : 5.0});
    pens[0].Settings.Range = ValueRange{-10, 20};
    pens[0].Settings.HasOwnAxis = true;
    for (const double ratio : {1.0, 2.0}) {
        const Painted painted(Seconds(0, 10), pens, ratio);
        const QRectF& plot = painted.Layout.Plot;
        const double half = plot.width() / 2 * ratio;
        const double all = half * plot.height() / 3 * ratio + half * std::round(1.5 * ratio);
        EXPECT_NEAR(painted.Count(pens[0], 0, 10 * MicrosASecond), all, 0.02 * all) << ratio;
    }
}

TEST(TrendPainter, LeavesGapsAndMarksBadStates)
{
    const std::vector<Pen> pens = {Numbers({1, 2, NaN, NaN, 2, 1})};
    const Painted painted(Seconds(0, 10), pens);
    const auto count = [&](Micros from, Micros to) {
        return painted.Count(pens[0], from * MicrosASecond + 100'000, to * MicrosASecond - 100'000);
    };
    EXPECT_GT(count(1, 2), 50);
    EXPECT_EQ(count(2, 4), 0);
    EXPECT_GT(count(4, 5), 50);
    EXPECT_EQ(count(6, 10), 0) << "no value holds after HeldUntil";
    int marked = 0;
    const auto y = static_cast<int>(painted.Layout.Plot.bottom()) - 3;
    for (int second = 0; second < 10; ++second) {
        const auto x = static_cast<int>(painted.Layout.Field.left() + painted.Layout.Field.width() * second / 10);
        for (int i = 10; i < 60; ++i) {
            if (painted.Image.pixelColor(x + i, y) == painted.Colours.Paper) continue;
            marked |= 1 << second;
        }
    }
    EXPECT_EQ(marked, 0b1100) << "hatched where the state is not good";
}

TEST(TrendPainter, DrawsALineToFarPointsWithItsSlope)
{
    std::vector<Pen> pens = {Numbers({0, 1000})};
    pens[0].Settings.Drawn = Drawing::Line;
    View view; // of a second's slope a millisecond
    view.Shown = {500'000, 501'000};
    const Painted painted(view, pens);
    EXPECT_NEAR(painted.Layout.Axes[0].Scale.Bottom, 500 - 0.05, 1e-6);
    EXPECT_NEAR(painted.Layout.Axes[0].Scale.Top, 501 + 0.05, 1e-6);
    const auto crossing = PenAt(painted.Layout, {view, painted.Shown}, painted.Layout.Plot.center());
    EXPECT_EQ(crossing, 0u);
    EXPECT_GT(painted.Count(pens[0], 500'000, 501'000), 100);
}

/// Neither a crash nor an endless loop, and always a whole picture.
TEST(TrendPainter, PaintsWhateverThereIs)
{
    std::vector<Pen> pens = {Numbers({1, NaN, Infinity, -Infinity, 1e308, -1e308, 4}), Numbers({0, 1, NaN, 1}), Pen()};
    pens[0].Settings.Limits = {NaN, Infinity, 1e300};
    pens[0].Settings.Range = ValueRange{5, 5};
    pens[1].Kind = PenKind::Boolean;
    pens[2].Kind = PenKind::Texts;
    pens[2].Texts.Append({0, QString(1'000'000, u'\n')});
    pens[2].Note = QStringLiteral("no such item");
    for (const Span& span : {Span{0, 10 * MicrosASecond}, Span{5, 6}, Span{Span::Earliest, Span::Latest},
                             Span{Span::Latest, Span::Latest + 1}}) {
        View view;
        view.Shown = span;
        view.Cursors = {Span::Earliest, 3 * MicrosASecond};
        view.Marked = Span{Span::Latest, Span::Earliest};
        for (const Drawing drawing : {Drawing::Step, Drawing::Line}) {
            pens[0].Settings.Drawn = drawing;
            EXPECT_EQ(Painted(view, pens).Image.pixelColor(Size.width() - 1, Size.height() - 1), Qt::white);
        }
        for (const QSize& size : {QSize(1, 1), QSize(20, 3000), QSize(3000, 20)}) {
            QImage image(size, QImage::Format_RGB32);
            QPainter painter(&image);
            const std::vector<const Pen*> shown = {&pens[0], &pens[1], &pens[2]};
            TrendPainter().Paint(painter, size, {view, shown, 0, true, QStringLiteral("no history")}, PictureColours::Dark());
        }
    }
}

TEST(PictureColours, StandOutFromEachPaper)
{
    for (const PictureColours& colours : {PictureColours::Light(), PictureColours::Dark()}) {
        for (const quint32 pen : PenColours) {
            EXPECT_GE(Contrast::Ratio(colours.OfPen(pen), colours.Paper), 2.2) << pen;
            EXPECT_GE(Contrast::Ratio(colours.OfText(pen), colours.Paper), Contrast::LeastOfTexts) << pen;
        }
    }
}

TEST(PictureHit, FindsWhatCanBeTakenHoldOf)
{
    std::vector<Pen> pens = {Numbers({0, 10, 0, 10, 0}), Numbers({1, 0, 1})};
    pens[0].Settings.Limits = {5};
    pens[1].Kind = PenKind::Boolean;
    View view = Seconds(0, 10);
    view.Cursors = {2 * MicrosASecond, std::nullopt};
    view.Marked = Span{6 * MicrosASecond, 8 * MicrosASecond};
    const Painted painted(view, pens);
    const PictureLayout& layout = painted.Layout;
    using Part = PictureHit::Part;
    const auto hit = [&](double second, double value) {
        const double y = layout.Plot.top() + layout.Axes[0].Scale.PixelOf(value);
        return HitAt(layout, {view, painted.Shown}, {layout.Field.left() + layout.Field.width() * second / 10, y});
    };
    EXPECT_EQ(hit(2.03, 5).What, Part::Cursor);
    EXPECT_EQ(hit(6, 3).What, Part::MarkedEdge);
    EXPECT_EQ(hit(8, 3).Number, 1u);
    EXPECT_EQ(hit(4, 5.1).What, Part::Limit);
    EXPECT_EQ(hit(4, 8).What, Part::Plot);
    EXPECT_NEAR(static_cast<double>(hit(4, 8).Time), 4e6, 1);
    EXPECT_EQ(hit(-0.1, 8).What, Part::ValueAxis);
    EXPECT_EQ(HitAt(layout, {view, painted.Shown}, layout.Lanes[0].Place.center()).Pen, 1u);
    EXPECT_EQ(HitAt(layout, {view, painted.Shown}, layout.TimeAxis.center()).What, Part::TimeAxis);
    EXPECT_NEAR(*ValueAt(layout, 0, layout.Plot.center().y()), 5, 0.01);
    EXPECT_FALSE(ValueAt(layout, 1, 0));
}
