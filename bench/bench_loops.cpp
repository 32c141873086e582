// What the loops of performance check and batch write cost on top of the server's calls.
#include "batchwrite/frmBatchWrite.h"
#include "bench/Figures.h"
#include "core/LogPane.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int Rounds = 3;
constexpr int BatchRounds = 1; // a batch takes most of a minute

double ResidentMb()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) qFatal("no statm");
    return file.readAll().split(' ').at(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// The main window without its menus; the texts of the status line are not kept.
struct Main : FakeMainWindow
{
    void SetStatusText(const QString& text) override { m_Text = text; }
    void PaintProgress() override { Log().viewport()->repaint(); }
    QString m_Text;
};

bool MeasureCheck(VelSQLController& controller, QWidget* mainWindow)
{
    constexpr int Cycles = 20'000;
    std::printf("performance check, %d reads\n", Cycles);
    const ItemRef item = controller.get_Item(Variant(QStringLiteral("D100")));
    frmPerfChk dialog(mainWindow);
    dialog.m_csItem = item;
    dialog.findChild<QLineEdit*>(QStringLiteral("txtPatternCount"))->setText(QString::number(Cycles));
    dialog.show();
    QApplication::processEvents();
    double before = 0.0;
    const auto bare = [&] {
        for (int i = 0; i < Cycles; ++i) item->get_Value();
    };
    const auto check = [&] {
        before = ResidentMb();
        dialog.findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
    };
    const auto costs = Figures::MeasureInTurn(Rounds, 1, {bare, check});
    std::printf("  bare %.2f us a read, check %.2f us a cycle; resident %.1f MB before the last run, %.1f MB after\n",
                costs[0].MedianUs / Cycles, costs[1].MedianUs / Cycles, before, ResidentMb());
    return Figures::PrintRatio(QStringLiteral("cycle / bare get_Value"), costs[1].MedianUs / costs[0].MedianUs, 1.4);
}

/// A batch of so many lines and the same look-ups and puts without a window.
struct Batch
{
    Batch(const QString& folder, int lines)
        : Lines(lines)
        , Path(folder + QStringLiteral("/%1.txt").arg(lines))
    {
        QFile file(Path);
        if (!file.open(QIODevice::WriteOnly)) qFatal("no file");
        for (int i = 0; i < lines; ++i) file.write("D100,3," + QByteArray::number(i) + "\r\n");
    }

    void Run(frmBatchWrite& form) const
    {
        form.findChild<QLineEdit*>(QStringLiteral("txtFilename"))->setText(Path);
        form.findChild<QPushButton*>(QStringLiteral("cmdStart"))->click();
    }
    void RunBare() const
    {
        const ControllerRef controller = modMain::Engine->get_Controller(Variant(QStringLiteral("PLC1")));
        for (int i = 0; i < Lines; ++i) {
            const ItemRef item = controller->get_Item(Variant(QStringLiteral("D100")));
            item->put_Value(modMain::Converter().TextToValue(QStringLiteral("3,%1").arg(i)));
        }
    }

    const int Lines;
    const QString Path;
};

bool MeasureBatch(Main& mainWindow)
{
    auto* form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
    form->SetTargetController(QStringLiteral("PLC1"));
    form->ShowForm();
    const QTemporaryDir folder;
    const Batch few(folder.path(), 10'000), many(folder.path(), 100'000);
    double grown = 0.0;
    const auto logged = [&](const Batch& batch) {
        modMain::ClearTextBox(&mainWindow.Log());
        const double before = ResidentMb();
        batch.Run(*form);
        if (mainWindow.Log().blockCount() != 2 * batch.Lines + 1) qFatal("the batch ended early");
        grown = std::max(grown, (ResidentMb() - before) * 1e6 / batch.Lines);
    };
    const auto costs =
        Figures::MeasureInTurn(BatchRounds, 1, {[&] { logged(few); }, [&] { many.RunBare(); }, [&] { logged(many); }});
    std::printf("batch write\n  10,000 lines %.2f us a line, 100,000 lines %.2f us, bare %.2f us\n",
                costs[0].MedianUs / few.Lines, costs[2].MedianUs / many.Lines, costs[1].MedianUs / many.Lines);
    std::printf("  memory, log included: %.0f bytes a line of the file\n", grown);
    bool kept = Figures::PrintRatio(QStringLiteral("100,000 lines / bare look-ups and puts"),
                                    costs[2].MedianUs / costs[1].MedianUs, 2.5);
    kept &= Figures::PrintRatio(QStringLiteral("a line of 100,000 / a line of 10,000"),
                                costs[2].MedianUs / many.Lines / (costs[0].MedianUs / few.Lines), 1.3);
    form->Unload();
    return kept;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    RealServer server;
    server.Start();
    RemoteLibrary library(server.SocketPath(), QString());
    Main mainWindow;
    mainWindow.Widget()->show();
    modMain::Library = &library;
    modMain::Engine = library.CreateEngine();
    const ControllerRef controller = modMain::Engine->get_Controller(Variant(QStringLiteral("PLC1")));

    bool kept = MeasureCheck(*controller, mainWindow.Widget());
    kept &= MeasureBatch(mainWindow);
    return kept ? 0 : 1;
}
