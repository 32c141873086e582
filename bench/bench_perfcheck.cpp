// What the performance check costs on top of the server's calls, and whether it needs memory while it runs.
#include "bench/BenchConsole.h"
#include "bench/Figures.h"
#include "perfcheck/frmPerfChk.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Rounds = 3;
constexpr int Cycles = 20'000;
constexpr double MostGrowthMb = 0.25; // less than a byte a cycle

struct Dialog
{
    explicit Dialog(BenchConsole& console)
        : Form(console.Widget())
    {
        Form.m_csItem = BenchConsole::Item(QStringLiteral("D100"));
        Form.show();
        QApplication::processEvents();
    }

    template <typename Control>
    Control* Find(const char* name) const
    {
        return Form.findChild<Control*>(QString::fromLatin1(name));
    }
    void Run() const { Find<QPushButton>("cmdStart")->click(); }

    frmPerfChk Form;
};

bool MeasureCycles(const Dialog& dialog)
{
    std::printf("%d reads\n", Cycles);
    const ItemRef item = dialog.Form.m_csItem;
    dialog.Find<QLineEdit>("txtPatternCount")->setText(QString::number(Cycles));
    const auto bare = [&] {
        for (int i = 0; i < Cycles; ++i) item->get_Value();
    };
    const auto costs = Figures::MeasureInTurn(Rounds, 1, {bare, [&] { dialog.Run(); }});
    std::printf("  bare %.2f us a read, check %.2f us a cycle\n", costs[0].MedianUs / Cycles,
                costs[1].MedianUs / Cycles);
    return Figures::PrintRatio(QStringLiteral("cycle / bare get_Value"), costs[1].MedianUs / costs[0].MedianUs, 1.4);
}

bool MeasureMemory(const Dialog& dialog)
{
    std::printf("one minute of reading\n");
    dialog.Find<QLineEdit>("txtMinute")->setText(QStringLiteral("1"));
    dialog.Find<QRadioButton>("optPattern_0")->setChecked(true);
    const double before = Figures::HeapMb();
    dialog.Run();
    const double after = Figures::HeapMb();
    std::printf("  heap in use: %.3f MB before, %.3f MB after\n", before, after);
    return Figures::PrintRatio(QStringLiteral("growth / 0.25 MB"), std::max(after - before, 0.0) / MostGrowthMb, 1.0);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    BenchConsole console;
    const Dialog dialog(console);
    bool kept = MeasureCycles(dialog);
    kept &= MeasureMemory(dialog);
    return kept ? 0 : 1;
}
