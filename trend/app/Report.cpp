#include "trend/app/Report.h"

#include "core/automation/Errors.h"
#include "trend/data/FeedThread.h"
#include "trend/export/ExportFeed.h"
#include "trend/files/CsvFile.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QStringBuilder>
#include <QTimer>

namespace {

constexpr int LookMs = 50;
/// As long as the server gives a statement that has no rows yet.
constexpr qint64 PatienceMs = 600'000;

} // namespace

Report::Report(const MakeLibrary& make, const ReportOrder& order, const SavedView& view)
    : m_Make(make)
    , m_Order(order)
    , m_View(view.Of)
    , m_Data(make)
{
    for (const PenSettings& pen : view.Pens) m_Data.Add(pen);
}

Report::Result Report::Run()
{
    QElapsedTimer time;
    time.start();
    QEventLoop loop;
    QTimer look;
    connect(&look, &QTimer::timeout, &loop, [&] {
        if (IsReady() || time.elapsed() > PatienceMs) loop.quit();
    });
    look.start(LookMs);
    loop.exec();
    NoteTroubles();
    if (!m_Data.Absence().isEmpty()) return NoServer;
    if (time.elapsed() > PatienceMs) m_Troubles += QStringLiteral("The server has not answered everything in time.");
    Write();
    return m_Troubles.isEmpty() ? Whole : Incomplete;
}

/// A view that follows ends at the moment in which all items have been heard of.
bool Report::IsReady()
{
    if (!m_Data.Absence().isEmpty()) return true;
    if (!m_View.IsFollowing && (NeedsPicture() ? m_Data.IsComplete() : m_Data.HasHeardAll())) return true;
    if (m_View.IsFollowing) m_View.Shown = m_View.Shown.EndingAt(m_Data.Now());
    if (m_Data.HasHeardAll()) m_View.IsFollowing = false;
    if (!NeedsPicture()) return false;
    const int columns = std::max(m_Order.Format.Size.width(), m_Order.Intervals);
    m_Data.Show(m_View.Shown, static_cast<int>(columns * std::max(m_Order.Format.Ratio, 1.0)));
    return false;
}

void Report::NoteTroubles()
{
    if (!m_Data.Absence().isEmpty()) m_Troubles += m_Data.Absence();
    else if (!m_Data.HistoryTrouble().isEmpty()) m_Troubles += m_Data.HistoryTrouble();
    for (const auto& pen : m_Data.Pens())
        if (!pen->Note.isEmpty()) m_Troubles += QString(pen->Settings.Name() % u": " % pen->Note);
}

void Report::Write()
{
    std::vector<const Pen*> pens;
    for (const auto& pen : m_Data.Pens()) pens.push_back(pen.get());
    const PictureContent content{.Of = m_View, .Pens = pens, .HasLegend = true, .Trouble = m_Data.HistoryTrouble()};
    if (!m_Order.Picture.isEmpty())
        PictureFile::Write(m_Order.Picture, content, m_Order.Format,
                           m_Order.IsDark ? PictureColours::Dark() : PictureColours::Light());
    if (m_Order.Table.isEmpty()) return;
    if (m_Order.Intervals > 0) CsvFile::WriteIntervals(m_Order.Table, pens, m_View.Shown, m_Order.Intervals);
    else WriteValues();
}

/// The present goes on being heard meanwhile, and is dealt with.
void Report::WriteValues()
{
    FeedThread<ExportFeed> feed(m_Make);
    QEventLoop loop;
    ExportResult result;
    connect(&*feed, &ExportFeed::Finished, &loop, [&](const ExportResult& ended) {
        result = ended;
        loop.quit();
    });
    feed.Run([order = OrderOf(m_Data, m_View.Shown, m_Order.Table)](ExportFeed& exporting) { exporting.Write(order); });
    loop.exec();
    if (!result.Failure.isEmpty()) throw DescribedError(result.Failure);
    m_Troubles += result.Written.Missing;
}
