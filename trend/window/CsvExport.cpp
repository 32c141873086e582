#include "trend/window/CsvExport.h"

#include "resulttext/RowCount.h"
#include "trend/core/TimeText.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QVBoxLayout>

namespace {

constexpr int Whole = 1000; ///< of the bar
/// What is written sooner needs no box.
constexpr int ShowAfterMs = 400;
constexpr int Letters = 60; ///< the box's width

} // namespace

CsvExport::CsvExport(const MakeLibrary& make, ExportOrder order, QWidget* window)
    : m_Order(std::move(order))
    , m_Box(window)
    , m_Feed(make)
{
    LayOut();
    ShowProgress(m_Order.Of.From, 0);
    connect(&m_ShowSoon, &QTimer::timeout, &m_Box, &QDialog::show);
    m_ShowSoon.setSingleShot(true);
    m_ShowSoon.start(ShowAfterMs);
    connect(&m_Box, &QDialog::rejected, this, [this] { m_Feed->Cancel(); });
    connect(&*m_Feed, &ExportFeed::Progressed, this, &CsvExport::ShowProgress);
    connect(&*m_Feed, &ExportFeed::Finished, this, &CsvExport::End);
    m_Feed.Run([order = m_Order](ExportFeed& feed) { feed.Write(order); });
}

CsvExport::~CsvExport()
{
    m_Feed->Cancel();
}

/// Plain text: the file may have any name.
void CsvExport::LayOut()
{
    m_Box.setWindowTitle(QStringLiteral("Export CSV"));
    m_Box.setWindowModality(Qt::WindowModal);
    m_Box.setMinimumWidth(Letters * m_Box.fontMetrics().averageCharWidth());
    m_Text.setTextFormat(Qt::PlainText);
    m_Bar.setRange(0, Whole);
    m_Bar.setAccessibleName(QStringLiteral("How much of the time has been written"));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::rejected, &m_Box, &QDialog::reject);
    auto* const rows = new QVBoxLayout(&m_Box);
    rows->addWidget(&m_Text);
    rows->addWidget(&m_Bar);
    rows->addWidget(buttons);
}

void CsvExport::ShowProgress(Micros until, qint64 rows)
{
    const QString name = m_Box.fontMetrics().elidedText(QFileInfo(m_Order.Path).fileName(), Qt::ElideMiddle,
                                                        m_Box.minimumWidth() * 2 / 3);
    m_Text.setText(QStringLiteral("Writing %1\n%2, until %3").arg(name, CountOfRows(rows), MomentText(until)));
    const auto part = static_cast<double>(until - m_Order.Of.From) / static_cast<double>(m_Order.Of.Length());
    m_Bar.setValue(static_cast<int>(Whole * part));
}

void CsvExport::End(const ExportResult& result)
{
    m_ShowSoon.stop();
    m_Box.hide();
    Q_EMIT Finished(result);
}
