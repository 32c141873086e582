#include "batchwrite/frmBatchWrite.h"

#include "batchwrite/FramePacer.h"
#include "batchwrite/LineReader.h"
#include "core/modMain.h"
#include "core/modValues.h"

#include <QFileDialog>
#include <QStringBuilder>

using namespace modMain;

namespace {

/// The filter's one entry reads as its first part, and that is meant; the part in the last parentheses is what it finds.
const QString Filter = QStringLiteral("テキスト(*.txt),*.txt (*.txt)");

std::unique_ptr<QFileDialog> MakeOpenDialog()
{
    auto cmnDlg = std::make_unique<QFileDialog>(GetMainWindow()->Widget(), QStringLiteral("Open"),
                                                QCoreApplication::applicationDirPath());
    cmnDlg->setOptions(QFileDialog::HideNameFilterDetails | QFileDialog::DontUseNativeDialog |
                       QFileDialog::DontUseCustomDirectoryIcons);
    cmnDlg->setNameFilter(Filter);
    cmnDlg->setDefaultSuffix(QStringLiteral("txt"));
    return cmnDlg;
}

/// Of a server that is gone, too, the operator reads for which controller it was asked.
ControllerRef FindController(const QString& name)
{
    try {
        return Engine->get_Controller(Variant(name));
    } catch (const DescribedError& error) {
        throw DescribedError(u"Controller \"" % name % u"\": " % error.Description());
    }
}

/// The item, to be kept until the line is done. Logs and writes one line of the file; throws what is wrong with it.
ItemRef WriteLine(VelSQLController& controller, const QString& line, const LineReader& lines)
{
    const qsizetype comma = line.indexOf(u',');
    if (comma < 0) throw lines.FaultOf(line, QStringLiteral("has no comma"));
    const QString name = line.first(comma);
    Announce(QString(u"Item(" % name % u')'), u"put_Value");
    ItemRef item = controller.get_Item(Variant(name));
    item->put_Value(Converter().TextToValue(line.sliced(comma + 1)));
    AddLog(QStringLiteral("Succeeded."));
    return item;
}

} // namespace

frmBatchWrite::frmBatchWrite()
{
    setupUi(this);
    connect(cmdOpen, &QPushButton::clicked, this, &frmBatchWrite::cmdOpen_Click);
    connect(cmdStart, &QPushButton::clicked, this, &frmBatchWrite::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmBatchWrite::cmdStop_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmBatchWrite::HideForm);
}

void frmBatchWrite::SetTargetController(const QString& name)
{
    m_TargetController = name;
    // In a title "[*]" stands for unsaved changes, "[*][*]" for itself.
    setWindowTitle(u"Batch Write (" % QString(name).replace(QStringLiteral("[*]"), QStringLiteral("[*][*]")) % u')');
}

void frmBatchWrite::cmdOpen_Click()
{
    const QPointer<frmBatchWrite> self(this);
    const QPointer<QFileDialog> cmnDlg = MakeOpenDialog().release();
    const bool chosen = cmnDlg->exec() == QDialog::Accepted;
    if (chosen && self && cmnDlg) txtFilename->setText(QDir::toNativeSeparators(cmnDlg->selectedFiles().value(0)));
    delete cmnDlg.data(); // null when the main window went meanwhile, and the dialog with it
}

void frmBatchWrite::cmdStart_Click()
{
    if (m_Runs == DeepestRun) return;
    m_StopRequest = false;
    if (txtFilename->text().isEmpty()) return;
    const QPointer<frmBatchWrite> self(this);
    const Hold hold(this);
    ++m_Runs;
    ReportErrors([this] { RunBatch(); });
    if (self) --m_Runs;
}

/// Whatever happens while events run, the file and the server's objects are this procedure's own.
void frmBatchWrite::RunBatch()
{
    LineReader lines(txtFilename->text());
    const ControllerRef controller = FindController(m_TargetController);
    const auto pacer = m_Pacer.expired() ? std::make_shared<FramePacer>() : m_Pacer.lock();
    m_Pacer = pacer;
    while (const std::optional<QString> line = lines.Next()) {
        const ItemRef item = WriteLine(*controller, *line, lines);
        if (!LetEventsRun(*pacer)) break;
    }
}

/// False when the run is to end after this line.
bool frmBatchWrite::LetEventsRun(FramePacer& pacer)
{
    const QPointer<frmBatchWrite> self(this);
    pacer.ProcessEvents();
    return self && !m_StopRequest && !IsUnloading();
}

void frmBatchWrite::cmdStop_Click()
{
    m_StopRequest = true;
}
