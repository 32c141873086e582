#include "core/Colours.h"
#include "tests/support/RealServer.h"
#include "trend/core/ReadMoment.h"
#include "trend/window/frmTrend.h"
#include "trend/window/ItemListModel.h"

#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPointer>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

constexpr Micros Second = MicrosASecond;

/// The window on a server of its own.
class TrendWindowTest : public ::testing::Test
{
protected:
    TrendWindowTest()
    {
        m_Server.Start();
        m_Window = new frmTrend(
            [socket = m_Server.SocketPath()] { return std::make_unique<RemoteLibrary>(socket, QString()); });
        m_Window->show();
    }
    ~TrendWindowTest() override { delete m_Window; }

    template <typename Control>
    Control& Find(const QString& name)
    {
        return *m_Window->findChild<Control*>(name);
    }
    QString Cell(int row, int column)
    {
        const QAbstractItemModel& model = *Find<QTableView>(u"fgPen"_s).model();
        return model.index(row, column).data().toString();
    }
    void Key(int key, Qt::KeyboardModifiers modifiers = {})
    {
        auto& picture = Find<PictureView>(u"picTrend"_s);
        picture.setFocus();
        QTest::keyClick(&picture, static_cast<Qt::Key>(key), modifiers);
    }
    Span Shown() { return m_Window->Saved().Of.Shown; }

    RealServer m_Server;
    QPointer<frmTrend> m_Window;
};

} // namespace

TEST(ViewControl, MovesAsOperatorsExpect)
{
    ViewControl control;
    control.GoWith(7200 * Second, 3600);
    EXPECT_TRUE(control.Of().IsFollowing);
    EXPECT_EQ(control.Of().Shown, (Span{3601 * Second, 7201 * Second})); // by whole columns
    control.Zoom(0.5, 5000 * Second);
    EXPECT_EQ(control.Of().Shown, (Span{5401 * Second, 7201 * Second})); // the present stays at the edge
    control.Step(-1);
    EXPECT_FALSE(control.Of().IsFollowing);
    EXPECT_EQ(control.Of().Shown, (Span{3601 * Second, 5401 * Second}));
    control.GoWith(7300 * Second, 3600); // paused
    EXPECT_EQ(control.Of().Shown.To, 5401 * Second);
    control.Zoom(2, 4501 * Second);
    EXPECT_EQ(control.Of().Shown, (Span{2701 * Second, 6301 * Second}));
    control.Step(1); // reaches the present, and goes on with it
    EXPECT_TRUE(control.Of().IsFollowing);
    EXPECT_EQ(control.Of().Shown.To, 7300 * Second);
    control.Mark(Span{9 * Second, 5 * Second}); // drawn from right to left
    control.ZoomToMarked();
    EXPECT_EQ(control.Of().Shown, (Span{5 * Second, 9 * Second}));
    control.MoveCursor(1, 3, 100);
    control.MoveCursor(1, -1000, 100);
    EXPECT_EQ(control.Of().Cursors[1], 5 * Second); // it stays in sight
    control.ClearMeasuring();
    EXPECT_FALSE(control.Of().Marked || control.Of().Cursors[1]);
}

TEST(ItemListModel, FindsWordsAmongAHundredThousandItems)
{
    ItemListModel model;
    QStringList items;
    for (int i = 0; i < 100'000; ++i) items << u"Plant %1\\Pump%2"_s.arg(i % 10).arg(i);
    model.Append(items);
    const auto count = [&](const QString& text) {
        model.SetText(text);
        while (model.IsSearching()) QCoreApplication::processEvents();
        return model.rowCount();
    };
    EXPECT_EQ(count({}), 100'000);
    EXPECT_EQ(count(u"pump99999"_s), 1);
    EXPECT_EQ(model.Name(0), u"Plant 9\\Pump99999"_s);
    EXPECT_EQ(count(u" 1234 PLANT "_s), 20);
    EXPECT_EQ(count(u".*"_s), 0);
}

TEST_F(TrendWindowTest, ListsFollowsAndPausesByKeys)
{
    m_Window->AddItems({u"PLC1\\Level"_s, u"PLC1\\Valve"_s, u"PLC1\\Level"_s, u"none"_s, u"PLC1\\Reset"_s});
    EXPECT_EQ(m_Window->Saved().Pens.size(), 3U); // each once
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return Cell(0, PenModel::State) == u"Good" && !Cell(0, PenModel::Mean).isEmpty(); }, 20'000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(2, PenModel::State).contains(u"write only"); }, 20'000));
    EXPECT_GE(Cell(0, PenModel::Smallest).toDouble(), 10);
    EXPECT_LE(Cell(0, PenModel::Largest).toDouble(), 90);

    const Micros end = Shown().To;
    m_Window->ShowSpan({}, 60 * Second);
    ASSERT_TRUE(QTest::qWaitFor([&] { return Shown().To > end + Second; }, 20'000)); // it follows
    Key(Qt::Key_Space);
    const Span paused = Shown();
    QTest::qWait(300);
    EXPECT_EQ(Shown(), paused);
    Key(Qt::Key_PageUp);
    EXPECT_EQ(Shown(), paused.Moved(-1));
    Find<QLineEdit>(u"txtFrom"_s).setText(u"2026-01-31 12:00"_s);
    Find<QLineEdit>(u"txtTo"_s).setText(u"12:30"_s); // of the day that was shown
    Find<QLineEdit>(u"txtTo"_s).setText(u"2026-01-31 12:30"_s);
    QTest::keyClick(&Find<QLineEdit>(u"txtTo"_s), Qt::Key_Return);
    EXPECT_EQ(Shown().Length(), 1800 * Second);
    Find<QLineEdit>(u"txtTo"_s).setText(u"later"_s);
    QTest::keyClick(&Find<QLineEdit>(u"txtTo"_s), Qt::Key_Return);
    EXPECT_EQ(Shown().Length(), 1800 * Second);

    Key(Qt::Key_End); // it follows
    m_Window->ShowSpan({}, 60 * Second);
    auto& from = Find<QLineEdit>(u"txtFrom"_s); // a span is typed although the view goes on
    from.setFocus();
    from.selectAll();
    QTest::keyClicks(&from, u"2026-01-31"_s);
    QTest::keyClick(&from, Qt::Key_Tab);
    QTest::qWait(200);
    QTest::keyClick(&Find<QLineEdit>(u"txtTo"_s), Qt::Key_Return);
    EXPECT_EQ(Shown().From, *ReadMoment(u"2026-01-31"_s, 0, 0));

    Key(Qt::Key_1);
    Key(Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_GT(m_Window->Saved().Of.Cursors[0].value_or(0), Shown().From + Shown().Length() / 2);
    EXPECT_TRUE(Find<QWidget>(u"tabMeasure"_s).isVisible());
    Key(Qt::Key_Up); // to the first pen, and it is taken away
    Key(Qt::Key_Delete);
    EXPECT_EQ(m_Window->Saved().Pens.front().Item, u"Valve"_s);
}

/// How many pixels of the picture are nearly of a colour: lines are smooth.
int CountOf(const QImage& picture, const QColor& colour)
{
    const auto isNear = [](int a, int b) { return std::abs(a - b) < 30; };
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            count += isNear(pixel.red(), colour.red()) && isNear(pixel.green(), colour.green()) &&
                     isNear(pixel.blue(), colour.blue());
        }
    return count;
}

TEST_F(TrendWindowTest, ShowsWhatItHasWhileTheServerIsAway)
{
    m_Window->AddItems({u"PLC1\\Level"_s});
    m_Window->ShowSpan({}, 10 * Second);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !Cell(0, PenModel::Mean).isEmpty(); }, 20'000));
    auto& picture = Find<PictureView>(u"picTrend"_s);
    QTest::qWait(2000); // a line that can be seen,
    Key(Qt::Key_Space); // and stays where it is
    m_Server.Kill();
    ASSERT_TRUE(QTest::qWaitFor([&] { return Cell(0, PenModel::State) == u"Old"; }, 20'000));
    const QPalette palette = picture.palette();
    const auto count = [&](const QColor& colour) { return CountOf(picture.grab().toImage(), colour); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return count(Colours::Error(palette)) > 200; }, 20'000)); // it says so,
    Pen old;
    old.Settings = m_Window->Saved().Pens[0];
    old.IsOld = true;
    const PictureColours colours(palette.color(QPalette::Base), palette.color(QPalette::Text));
    EXPECT_GT(count(colours.OfPen(old)), 20); // beside the line, which is pale
}

TEST_F(TrendWindowTest, PensAreDroppedAndDragged)
{
    QAbstractItemModel& model = *Find<QTableView>(u"fgPen"_s).model();
    QMimeData dropped;
    dropped.setText(u"PLC1\\Level\r\nPLC1\\Valve\nno item\nR&D\\a\\b"_s);
    model.dropMimeData(&dropped, Qt::CopyAction, -1, -1, {});
    const auto names = [&] {
        QStringList names;
        for (const PenSettings& pen : m_Window->Saved().Pens) names << pen.Name();
        return names.join(u' ');
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return names() == u"PLC1\\Level PLC1\\Valve R&D\\a\\b"; }, 5000));
    const std::unique_ptr<QMimeData> row(model.mimeData({model.index(0, 0)}));
    model.dropMimeData(row.get(), Qt::MoveAction, 2, 0, {}); // between the second and the third
    EXPECT_EQ(names(), u"PLC1\\Valve PLC1\\Level R&D\\a\\b"_s);
    QCoreApplication::processEvents();
    m_Window->findChild<QAction*>(u"mnuPens_Up"_s)->trigger(); // what was dragged is current
    EXPECT_EQ(names(), u"PLC1\\Level PLC1\\Valve R&D\\a\\b"_s);
    model.setData(model.index(1, 0), Qt::Unchecked, Qt::CheckStateRole);
    EXPECT_FALSE(m_Window->Saved().Pens[1].IsVisible);
}

// It waits for the recorder first, which is time enough for the box to come and be closed.
TEST_F(TrendWindowTest, AnExportSaysHowFarItIsAndIsCancelled)
{
    const QTemporaryDir folder;
    const Micros now = QDateTime::currentMSecsSinceEpoch() * 1000;
    ExportOrder order{.Path = folder.filePath(u"<b>a.csv"_s), .Of = {now - 60 * Second, now}, .Now = now};
    order.Pens.push_back({.Settings = *PenOf(u"PLC1\\Level"_s)});
    for (const bool isCancelled : {true, false}) {
        std::optional<ExportResult> result;
        CsvExport exporting(
            [socket = m_Server.SocketPath()] { return std::make_unique<RemoteLibrary>(socket, QString()); }, order,
            m_Window);
        QObject::connect(&exporting, &CsvExport::Finished, [&](const ExportResult& ended) { result = ended; });
        const auto box = [] { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); };
        ASSERT_TRUE(QTest::qWaitFor([&] { return box() || result; }, 5000));
        const QString said = box() ? box()->findChild<QLabel*>()->text() : QString();
        EXPECT_TRUE(said.startsWith(u"Writing <b>a.csv\n0 rows, until "_s)) << said.toStdString();
        if (box() && isCancelled) QTest::keyClick(box(), Qt::Key_Escape);
        ASSERT_TRUE(QTest::qWaitFor([&] { return result.has_value(); }, 20'000));
        EXPECT_EQ(result->IsCancelled, isCancelled);
        EXPECT_EQ(QFile::exists(order.Path), !isCancelled) << result->Failure.toStdString();
        EXPECT_FALSE(box());
    }
}
