#include "batchwrite/frmBatchWrite.h"

#include "batchwrite/FramePacer.h"
#include "batchwrite/LineReader.h"
#include "core/ConsoleServices.h"
#include "core/modMain.h"
#include "core/modValues.h"

#include <QFileDialog>
#include <QStringBuilder>

#include <exception>
#include <optional>

using namespace modMain;

namespace {

/// Intended: the filter's only entry is shown as its first part; the last parentheses hold the patterns.
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

/// The operator sees which controller was asked for even when the server is gone.
ControllerRef FindController(const QString& name)
{
    try {
        return Engine->get_Controller(Variant(name));
    } catch (const DescribedError& error) {
        throw DescribedError(u"Controller \"" % name % u"\": " % error.Description());
    }
}

/// Name and typed text of a line of the file. Throws with what is wrong with the line.
std::pair<QString, QString> Split(const QString& line, const LineReader& lines)
{
    const qsizetype comma = line.indexOf(u',');
    if (comma < 0) throw lines.FaultOf(line, QStringLiteral("has no comma"));
    return {line.first(comma), line.sliced(comma + 1)};
}

/// Looks the item up and writes to it, in one round trip where the server can. Throws what is wrong with either.
void Write(VelSQLLib& server, VelSQLController& controller, const QString& name, const QString& typedText)
{
    std::optional<Variant> value;
    const auto write = [&] {
        const ItemRef item = controller.get_Item(Variant(name)); // kept until the line is done
        if (!value) value = Converter().TextToValue(typedText);
        item->put_Value(*value);
    };
    std::exception_ptr failure;
    const auto take = [&] {
        try {
            write();
        } catch (...) {
            failure = std::current_exception();
        }
    };
    server.TakeSteps({{write, take}}, 0);
    if (failure) std::rethrow_exception(failure);
}

} // namespace

frmBatchWrite::frmBatchWrite()
{
    setupUi(this);
    txtFilename->setMinimumWidth(55 * fontMetrics().averageCharWidth());
    connect(cmdOpen, &QPushButton::clicked, this, &frmBatchWrite::cmdOpen_Click);
    connect(cmdStart, &QPushButton::clicked, this, &frmBatchWrite::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmBatchWrite::cmdStop_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmBatchWrite::HideForm);
}

void frmBatchWrite::SetTargetController(const QString& name)
{
    m_TargetController = name;
    // In a title "[*]" stands for unsaved changes, and "[*][*]" for a literal "[*]".
    setWindowTitle(u"Batch Write (" % QString(name).replace(QStringLiteral("[*]"), QStringLiteral("[*][*]")) % u')');
}

void frmBatchWrite::cmdOpen_Click()
{
    const QPointer<frmBatchWrite> self(this);
    const QPointer<QFileDialog> cmnDlg = MakeOpenDialog().release();
    const bool chosen = cmnDlg->exec() == QDialog::Accepted;
    if (chosen && self && cmnDlg) txtFilename->setText(QDir::toNativeSeparators(cmnDlg->selectedFiles().value(0)));
    // Null when the main window has gone meanwhile and taken the dialog with it.
    delete cmnDlg.data();
}

void frmBatchWrite::cmdStart_Click()
{
    if (m_Runs == DeepestRun) return;
    m_StopRequest = false;
    if (txtFilename->text().isEmpty()) return;
    const QPointer<frmBatchWrite> self(this);
    const KeepLoaded keepLoaded(this);
    ++m_Runs;
    ReportErrors(&frmBatchWrite::RunBatch, this);
    if (self) --m_Runs;
}

/// This procedure owns the file and the server's objects, whatever happens while events run.
void frmBatchWrite::RunBatch()
{
    LineReader lines(txtFilename->text());
    const ControllerRef controller = FindController(m_TargetController);
    const auto pacer = m_Pacer.expired() ? std::make_shared<FramePacer>() : m_Pacer.lock();
    m_Pacer = pacer;
    while (const std::optional<QString> line = lines.Next()) {
        const auto [name, typedText] = Split(*line, lines);
        Announce(QString(u"Item(" % name % u')'), u"put_Value");
        Write(GetMainWindow()->Services().Library, *controller, name, typedText);
        AddLog(QStringLiteral("Succeeded."));
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
