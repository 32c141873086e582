#include "trend/files/CsvFile.h"
#include "trend/files/PictureFile.h"
#include "trend/files/ViewFile.h"

#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QByteArray BytesOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

template <typename Action>
QString ErrorOf(Action action)
{
    try {
        action();
    } catch (const DescribedError& error) {
        return error.Description();
    }
    return {};
}

PenSettings Settings(const QString& item, const QString& unit = {})
{
    PenSettings pen;
    pen.Controller = u"PLC1"_s;
    pen.Item = item;
    pen.Unit = unit;
    return pen;
}

/// A view with something in each of its fields.
SavedView Whole()
{
    SavedView view;
    view.Of.Shown = {Span::Earliest, 1'763'805'600'123'456};
    view.Of.IsFollowing = false;
    view.Of.CommonRange = ValueRange{-1.5, 1e300};
    view.Of.Cursors = {std::nullopt, -1};
    view.Of.Marked = Span{5, 7};
    PenSettings pen;
    pen.Controller = u"PLC \"1\""_s;
    pen.Item = u"Füllstand\\\n\x0001"_s;
    pen.Unit = u"m³"_s;
    pen.Colour = 0x00AB0C;
    pen.IsVisible = false;
    pen.Drawn = Drawing::Line;
    pen.HasOwnAxis = true;
    pen.Range = ValueRange{0, 0.1};
    pen.Limits = {1.0 / 3, -7};
    view.Pens = {pen, Settings(u"x"_s)};
    return view;
}

} // namespace

TEST(ViewFile, ComesBackAsItWas)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.velsqltrend"_s);
    ViewFile::Write(path, Whole());
    EXPECT_TRUE(ViewFile::Read(path) == Whole());
}

TEST(ViewFile, SaysWhatIsWrongAndWhere)
{
    struct Case
    {
        const char* From;
        const char* To;
        QString Error;
    };
    const std::vector<Case> cases = {
        {"\"velsqltrend\": 1", "\"velsqltrend\": 2",
         u"\"velsqltrend\" is 2: a newer version of this program has written the view."_s},
        {"\"velsqltrend\": 1", "\"other\": 1", u"\"velsqltrend\" is missing, so this is no view."_s},
        {"\"follow\": false", "\"follow\" false", u"Line 10: missing name separator."_s},
        {"\"follow\"", "\"folow\"", u"\"folow\" is not known."_s},
        {"\"to\": \"2025", "\"to\": \"0025", u"\"to\" must be a time such as \"2026-01-31T12:30:00Z\"."_s},
        {"\"from\": \"0100", "\"from\": \"2100", u"\"to\" must lie behind \"from\"."_s},
        {"\"colour\": \"#0072B2\"", "\"colour\": \"blue\"",
         u"Pen 2: \"colour\" must be a colour such as \"#0072B2\"."_s},
        {"\"drawing\": \"line\"", "\"drawing\": 7", u"Pen 1: \"drawing\" must be a text."_s},
        {"\"axis\": \"own\"", "\"axis\": \"mine\"", u"Pen 1: \"axis\" must be \"common\" or \"own\"."_s},
        {"\"controller\": \"PLC1\"", "\"controller\": null", u"Pen 2: \"controller\" is missing."_s},
        {"-7", "true", u"Pen 1: \"limits\" must be numbers."_s},
        {"0.1\n", "0\n", u"Pen 1: \"range\" must be two numbers, the smaller one first."_s},
    };
    const QByteArray whole = ViewFile::ToJson(Whole());
    for (const Case& one : cases) {
        ASSERT_TRUE(whole.contains(one.From)) << one.From;
        const QByteArray damaged = QByteArray(whole).replace(one.From, one.To);
        EXPECT_EQ(ErrorOf([&] { ViewFile::FromJson(damaged); }), one.Error) << one.To;
    }
    for (qsizetype length = 0; length < whole.size() - 1; ++length)
        EXPECT_FALSE(ErrorOf([&] { ViewFile::FromJson(whole.first(length)); }).isEmpty()) << length;
    EXPECT_NE(ErrorOf([&] { ViewFile::FromJson(QByteArray(100'000, '[')); }), QString());

    const QTemporaryDir folder;
    const QString path = folder.filePath(u"large"_s);
    QFile large(path);
    ASSERT_TRUE(large.open(QIODevice::WriteOnly) && large.resize(100'000'000));
    EXPECT_EQ(ErrorOf([&] { ViewFile::Read(path); }),
              path + u" cannot be opened: A view has at most 1 MB, this file has more."_s);
    EXPECT_NE(ErrorOf([&] { ViewFile::Read(folder.path()); }), QString());
}

TEST(CsvFile, HoldsWhatIsInView)
{
    Pen level, running, message, hidden;
    level.Settings = Settings(u"Level, left"_s, u"m"_s);
    for (const Sample& sample : {Sample{-1, 1.5}, {1'000'000, 2}, {1'000'000, 3}, {2'500'000, std::nan("")}})
        level.Values.Append(sample);
    running.Settings = Settings(u"Pump"_s);
    running.Kind = PenKind::Boolean;
    running.Values.Append({1'000'000, 1});
    running.Values.Append({9'000'000, 0});
    message.Settings = Settings(u"Message"_s);
    message.Kind = PenKind::Texts;
    message.Texts.Append({2'000'001, u"a \"b\""_s});
    hidden.Settings.IsVisible = false;
    const std::vector<const Pen*> pens = {&level, &hidden, &running, &message};
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.csv"_s);

    CsvFile::WriteIntervals(path, pens, {0, 4'000'000}, 2);
    EXPECT_EQ(BytesOf(path), QByteArray("Time,UTC,\"PLC1\\Level, left [m] smallest\",\"PLC1\\Level, left [m] mean\","
                                        "\"PLC1\\Level, left [m] largest\",PLC1\\Pump smallest,PLC1\\Pump mean,"
                                        "PLC1\\Pump largest,PLC1\\Message\r\n"
                                        "1970-01-01 00:00:00.000,1970-01-01T00:00:00.000000Z,1.5,2.25,3,1,1,1,\r\n"
                                        "1970-01-01 00:00:02.000,1970-01-01T00:00:02.000000Z,3,3,3,1,1,1,\r\n"));
    const QString nowhere = folder.filePath(u"no/a.csv"_s);
    EXPECT_TRUE(ErrorOf([&] { CsvFile::WriteIntervals(nowhere, pens, {0, 1}, 1); }).startsWith(nowhere));
}

TEST(PictureFile, WritesEachFormatByItsName)
{
    Pen pen;
    pen.Settings = Settings(u"Level"_s);
    for (int i = 0; i < 5000; ++i) pen.Values.Append({i * 1000, std::sin(i / 300.0)});
    const std::vector<const Pen*> pens = {&pen};
    View view;
    view.Shown = {0, 5'000'000};
    const QTemporaryDir folder;
    const auto written = [&](const QString& name, const PictureFile::Format& format = {{500, 300}, 2}) {
        PictureFile::Write(folder.filePath(name), {view, pens}, format, PictureColours::Light());
        return BytesOf(folder.filePath(name));
    };
    EXPECT_EQ(QImage::fromData(written(u"a.PNG"_s)).size(), QSize(1000, 600));
    EXPECT_TRUE(written(u"a.pdf"_s).startsWith("%PDF-"));
    const QImage picture = QImage::fromData(written(u"a.svg"_s)).convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(picture.isNull());
    int blue = 0;
    for (int x = 0; x < picture.width(); ++x)
        for (int y = 0; y < picture.height(); ++y)
            blue += picture.pixelColor(x, y).rgb() == (0xFF000000 | PenColours[0]);
    EXPECT_GT(blue, 250);
    EXPECT_TRUE(ErrorOf([&] { written(u"a.gif"_s); }).contains(u".png, .svg or .pdf"));
    for (const PictureFile::Format& bad : {PictureFile::Format{{0, 5}, 1}, {{10'001, 5}, 1}, {{5, 5}, std::nan("")}})
        EXPECT_EQ(ErrorOf([&] { written(u"b.png"_s, bad); }), u"A picture has 1 to 10000 pixels a side."_s);
    EXPECT_FALSE(QFile::exists(folder.filePath(u"b.png"_s)));
}
