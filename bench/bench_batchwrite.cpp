// What a batch costs on top of the server's calls, how often it paints, and the memory of a long file and of its log.
#include "batchwrite/frmBatchWrite.h"
#include "batchwrite/LineReader.h"
#include "bench/BenchConsole.h"
#include "bench/Figures.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/modValues.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr double FrameMs = 16.0;
constexpr double MostReaderMb = 1.0;

/// A list of so many lines.
struct Batch
{
    Batch(const QTemporaryDir& folder, int lines)
        : Lines(lines)
        , Path(folder.filePath(QStringLiteral("%1.txt").arg(lines)))
    {
        QFile file(Path);
        if (!file.open(QIODevice::WriteOnly)) qFatal("no file");
        for (int i = 0; i < lines; ++i) file.write("D100,3," + QByteArray::number(i) + "\r\n");
    }

    /// The same look-ups and puts without a window.
    void RunBare() const
    {
        const ControllerRef controller = BenchConsole::Controller();
        for (int i = 0; i < Lines; ++i) {
            const ItemRef item = controller->get_Item(Variant(QStringLiteral("D100")));
            item->put_Value(modMain::Converter().TextToValue(QStringLiteral("3,%1").arg(i)));
        }
    }

    const int Lines;
    const QString Path;
};

struct PaintCount : QObject
{
    bool eventFilter(QObject*, QEvent* event) override
    {
        Count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
    int Count = 0;
};

/// The batch-write window, and what its last run cost beside the time.
class Window
{
public:
    explicit Window(LogPane& log)
        : m_Log(log)
        , m_Form(*ChildWindow::Open<frmBatchWrite>(TreeNodeRef()))
    {
        m_Form.SetTargetController(QStringLiteral("PLC1"));
        m_Form.ShowForm();
        m_Log.viewport()->installEventFilter(&m_Paints);
        QApplication::processEvents();
    }

    void ClearLog() { modMain::ClearTextBox(&m_Log); }
    void Run(const Batch& batch)
    {
        const double before = Figures::HeapMb();
        QElapsedTimer time;
        time.start();
        m_Paints.Count = 0;
        m_Form.findChild<QLineEdit*>(QStringLiteral("txtFilename"))->setText(batch.Path);
        m_Form.findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
        m_Log.ShowAppended();
        if (m_Log.blockCount() != 2 * batch.Lines + 1) qFatal("the batch ended early: %s", qPrintable(m_Log.Text()));
        PaintsAFrame = m_Paints.Count * FrameMs / static_cast<double>(time.elapsed());
        BytesALine = (Figures::HeapMb() - before) * 1e6 / batch.Lines;
    }

    double PaintsAFrame = 0.0;
    double BytesALine = 0.0;

private:
    LogPane& m_Log;
    frmBatchWrite& m_Form;
    PaintCount m_Paints;
};

bool MeasureBatch(LogPane& log, const QTemporaryDir& folder)
{
    Window window(log);
    const Batch few(folder, 10'000), half(folder, 50'000), many(folder, 100'000);
    const auto clear = [&] { window.ClearLog(); };
    const auto runFew = [&] { window.Run(few); };
    const auto bare = [&] { half.RunBare(); };
    // Spread, because other programs slow a long run down as well as some of the short ones.
    const auto costs = Figures::MeasureInTurn(
        1, 1, {runFew, clear, bare, runFew, clear, [&] { window.Run(many); }, clear, bare, runFew});
    const double bareLine = (costs[2].MedianUs + costs[7].MedianUs) / many.Lines;
    const double lineOfFew = (costs[0].MedianUs + costs[3].MedianUs + costs[8].MedianUs) / 3 / few.Lines;
    const double lineOfMany = costs[5].MedianUs / many.Lines;
    std::printf("batch write\n  10,000 lines %.2f us a line, 100,000 lines %.2f us, bare %.2f us\n", lineOfFew,
                lineOfMany, bareLine);
    std::printf("  processor time of it: %.2f us, %.2f us, bare %.2f us\n", costs[3].CpuUs / few.Lines,
                costs[5].CpuUs / many.Lines, (costs[2].CpuUs + costs[7].CpuUs) / many.Lines);
    std::printf("  memory of the log: %.0f bytes a line of the file\n", window.BytesALine);
    bool kept =
        Figures::PrintRatio(QStringLiteral("100,000 lines / bare look-ups and puts"), lineOfMany / bareLine, 2.5);
    kept &= Figures::PrintRatio(QStringLiteral("a line of 100,000 / a line of 10,000"), lineOfMany / lineOfFew, 1.3);
    kept &= Figures::PrintRatio(QStringLiteral("paintings of the log / frames"), window.PaintsAFrame, 1.0);
    return kept;
}

bool MeasureReader(const QTemporaryDir& folder)
{
    const Batch huge(folder, 1'000'000);
    const double before = Figures::HeapMb();
    LineReader reader(huge.Path);
    int lines = 0;
    double most = 0.0;
    while (reader.Next()) {
        if (++lines % 10'000 == 0) most = std::max(most, Figures::HeapMb() - before);
    }
    if (lines != huge.Lines) qFatal("only %d lines", lines);
    std::printf("a file of 1,000,000 lines, %.1f MB, is read\n", static_cast<double>(QFile(huge.Path).size()) / 1e6);
    return Figures::PrintRatio(QStringLiteral("the reader's memory at most / 1 MB"), most / MostReaderMb, 1.0);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    BenchConsole console;
    const QTemporaryDir folder;
    bool kept = MeasureReader(folder);
    kept &= MeasureBatch(console.Log(), folder);
    return kept ? 0 : 1;
}
