// What the entries of the menu "File" do, and of those that take something away.
#include "trend/window/frmTrend.h"

#include "resulttext/RowCount.h"
#include "trend/files/CsvFile.h"
#include "trend/files/PictureFile.h"
#include "trend/files/ViewFile.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QMessageBox>

namespace {

const QString ViewFilter = QStringLiteral("Trend views (*.velsqltrend)");
const QString PictureFilter = QStringLiteral("PNG picture (*.png);;SVG picture (*.svg);;PDF page (*.pdf)");
const QString ValuesFilter = QStringLiteral("CSV of every value (*.csv)");
const QString IntervalsFilter = QStringLiteral("CSV of smallest, mean and largest, as the picture shows them (*.csv)");

constexpr qsizetype MostLines = 10; ///< in a message

/// The suffix of the filter that was chosen, if the name has none.
QString WithSuffix(const QString& path, const QString& filter)
{
    if (path.isEmpty() || !QFileInfo(path).suffix().isEmpty()) return path;
    const qsizetype begin = filter.lastIndexOf(u'.');
    return path + filter.mid(begin, filter.size() - begin - 1);
}

PictureColours ColoursOf(const QPalette& palette)
{
    return {palette.color(QPalette::Base), palette.color(QPalette::Text)};
}

} // namespace

void frmTrend::ConnectFile()
{
    connect(mnuFile_New, &QAction::triggered, this, [this] { (new frmTrend(m_Make))->show(); });
    connect(mnuFile_Open, &QAction::triggered, this, [this] {
        const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open View"), {}, ViewFilter);
        if (!path.isEmpty()) Report([&] { OpenFile(path); });
    });
    connect(mnuFile_Save, &QAction::triggered, this, [this] { Report([this] { SaveView(); }); });
    connect(mnuFile_Picture, &QAction::triggered, this, [this] { Report([this] { ExportPicture(); }); });
    connect(mnuFile_Csv, &QAction::triggered, this, [this] { Report([this] { ExportCsv(); }); });
    connect(mnuFile_Copy, &QAction::triggered, this, &frmTrend::CopyPicture);
    connect(mnuFile_Readings, &QAction::triggered, this,
            [this] { QApplication::clipboard()->setText(tabMeasure->Text()); });
    connect(mnuFile_Close, &QAction::triggered, this, &QWidget::close);
    connect(mnuHelp_Guide, &QAction::triggered, this, [this] { m_Guide.Open(QStringLiteral("guide/trend.html")); });
}

/// Whatever is thrown is shown in a box.
void frmTrend::Report(const std::function<void()>& action)
{
    try {
        action();
    } catch (...) {
        const QString what = CurrentErrorDescription();
        QMessageBox box(QMessageBox::Warning, QStringLiteral("Trend"), what, QMessageBox::Ok, this);
        box.setTextFormat(Qt::PlainText);
        box.exec();
    }
}

void frmTrend::OpenFile(const QString& path)
{
    Open(ViewFile::Read(path));
}

void frmTrend::SaveView()
{
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Save View As"), {}, ViewFilter);
    if (!path.isEmpty()) ViewFile::Write(WithSuffix(path, ViewFilter), Saved());
}

std::vector<const Pen*> frmTrend::AllPens() const
{
    std::vector<const Pen*> pens;
    for (const auto& pen : m_Data.Pens()) pens.push_back(pen.get());
    return pens;
}

void frmTrend::ExportPicture()
{
    QString filter;
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("Export Picture"), {}, PictureFilter, &filter);
    if (path.isEmpty()) return;
    const std::vector<const Pen*> pens = AllPens();
    // On paper and in documents as light as these are.
    PictureFile::Write(WithSuffix(path, filter), {.Of = m_Control.Of(), .Pens = pens, .HasLegend = true},
                       {picTrend->size(), picTrend->devicePixelRatioF()}, PictureColours::Light());
}

void frmTrend::CopyPicture()
{
    const std::vector<const Pen*> pens = AllPens();
    Report([&] {
        QApplication::clipboard()->setImage(PictureFile::Image({.Of = m_Control.Of(), .Pens = pens, .HasLegend = true},
                                                               {picTrend->size(), picTrend->devicePixelRatioF()},
                                                               ColoursOf(palette())));
    });
}

void frmTrend::ExportCsv()
{
    QString filter;
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Export CSV"), {},
                                                      ValuesFilter + QStringLiteral(";;") + IntervalsFilter, &filter);
    if (path.isEmpty()) return;
    const Span shown = m_Control.Of().Shown;
    if (filter == IntervalsFilter)
        return CsvFile::WriteIntervals(WithSuffix(path, filter), AllPens(), shown, picTrend->ColumnCount());
    m_Export = std::make_unique<CsvExport>(m_Make, OrderOf(m_Data, shown, WithSuffix(path, filter)), this);
    mnuFile_Csv->setEnabled(false); // one at a time
    connect(m_Export.get(), &CsvExport::Finished, this, &frmTrend::EndExport);
}

/// What the table lacks is said although there is one.
void frmTrend::EndExport(const ExportResult& result)
{
    const QString& path = m_Export->Path();
    Report([&] {
        if (!result.Failure.isEmpty()) throw DescribedError(result.Failure);
        if (result.IsCancelled) return stbrTrend->showMessage(QStringLiteral("Cancelled: nothing was written."));
        stbrTrend->showMessage(QStringLiteral("%1 written to %2").arg(CountOfRows(result.Written.Rows), path));
        QStringList missing = result.Written.Missing;
        if (missing.isEmpty()) return;
        const qsizetype more = missing.size() - MostLines;
        if (more > 0) missing = missing.first(MostLines) << QStringLiteral("and %1 more").arg(more);
        throw DescribedError(QStringLiteral("%1 is written, but not whole:\n\n%2").arg(path, missing.join(u'\n')));
    });
    QTimer::singleShot(0, this, [this] { m_Export.reset(); }); // it is still telling
    mnuFile_Csv->setEnabled(true);
}
