// What an item window costs against the server's calls, made one by one: one refresh, fifty windows at once, a slow
// server, a large picture.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "core/automation/SafeArray.h"
#include "core/GridRefresher.h"
#include "core/modMain.h"
#include "item/frmItem.h"

#include <QApplication>
#include <QBuffer>
#include <QPushButton>

#include <cstdio>

namespace {

constexpr int Windows = 50;
/// Items whose values do not change by themselves.
const QStringList ItemNames = {QStringLiteral("D100"), QStringLiteral("Recipe"), QStringLiteral("Price"),
                               QStringLiteral("Picture")};

/// The calls of one refresh, nothing else.
void AskEverything(VelSQLItem& item)
{
    item.get_Index();
    item.get_Name();
    item.get_Description();
    item.get_Attribute();
    item.get_LinkItem();
    item.get_Activation();
    item.get_LinkActivation();
    item.get_State();
    item.get_Attribute();
    item.get_Value();
    item.get_DateTime();
    item.get_Microsecond();
    item.get_Tag();
    item.get_ID();
    for (qint32 i = 0; i < 36; ++i) item.get_SettingData(i);
}

frmItem& OpenItem(const TreeNodeRef& node)
{
    auto* form = ChildWindow::Open<frmItem>(node);
    form->ShowForm();
    return *form;
}

GridRefresher& Refresher(const frmItem& form)
{
    return *form.findChild<GridRefresher*>();
}

bool PrintLongestGap()
{
    const GapWatch watch;
    RunEvents(5000);
    return GapWatch::Print(watch.LongestMs());
}

bool MeasureOneRefresh(const frmItem& form, VelSQLItem& item, qint64 server)
{
    std::printf("One refresh of 49 rows, no value changed; cpu of console and server\n");
    const auto costs =
        Figures::MeasureInTurn(5, 100, {[&] { AskEverything(item); }, [&] { Refresher(form).RefreshNow(); }}, server);
    Figures::PrintCost(QStringLiteral("bare calls"), costs[0]);
    Figures::PrintCost(QStringLiteral("refresh"), costs[1]);
    bool kept = Figures::PrintRatio(QStringLiteral("median: refresh / bare calls"),
                                    costs[1].MedianUs / costs[0].MedianUs, 0.15);
    kept &= Figures::PrintRatio(QStringLiteral("cpu: refresh / bare calls"), costs[1].CpuUs / costs[0].CpuUs, 0.15);
    return kept;
}

bool MeasureManyWindows(qint64 server)
{
    std::printf("%d windows refreshing; cpu of console and server\n", Windows);
    RunEvents(1000); // the windows are painted for the first time
    const auto costs = Figures::MeasureInTurn(5, 1, {[] { RunEvents(1000); }}, server);
    Figures::PrintCost(QStringLiteral("one second of refreshing"), costs[0]);
    return Figures::PrintRatio(QStringLiteral("cpu: share of a core"), costs[0].CpuUs / 1e6, 0.05) & PrintLongestGap();
}

bool MeasureSlowServer()
{
    std::printf("%d windows, a server that needs 20 ms for each of 36 calls\n", Windows);
    modMain::Engine->Execute(QStringLiteral("disturb Item.get_SettingData slow 20"));
    const bool kept = PrintLongestGap();
    modMain::Engine->Execute(QStringLiteral("restore"));
    return kept;
}

/// A bitmap of 8 MB.
QList<quint8> LargePicture()
{
    QImage image(1920, 1456, QImage::Format_RGB888);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) image.setPixelColor(x, y, QColor(x % 256, y % 256, (x * y) % 256));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "bmp");
    return QList<quint8>(bytes.begin(), bytes.end());
}

bool MeasurePicture(frmItem& form, VelSQLItem& item)
{
    std::printf("A picture of 8 MB\n");
    item.put_Value(Variant(SafeArray(LargePicture())));
    auto* get = form.findChild<QPushButton*>(QStringLiteral("cmdGet"));
    auto* thumbnail = form.findChild<QWidget*>(QStringLiteral("imgThumbnail"));
    Refresher(form).Stop();
    QImage decoded;
    const auto transferAndDecode = [&] {
        const Variant value = item.get_Value();
        const auto& bytes = value.Array().Of<quint8>();
        decoded.loadFromData(bytes.constData(), static_cast<int>(bytes.size()));
    };
    const auto show = [&] {
        get->click();
        thumbnail->repaint();
    };
    const auto costs = Figures::MeasureInTurn(3, 10, {transferAndDecode, show});
    Figures::PrintCost(QStringLiteral("transfer and decoding"), costs[0]);
    Figures::PrintCost(QStringLiteral("Get, until painted"), costs[1]);
    return Figures::PrintRatio(QStringLiteral("median: Get / transfer and decoding"),
                               costs[1].MedianUs / costs[0].MedianUs, 1.5);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const BenchConsole console(ItemNames);
    const TreeNodeRef controller = BenchConsole::ControllerNode();
    QList<frmItem*> forms;
    for (int i = 0; i < Windows; ++i) forms << &OpenItem(controller->Child(i % 3));
    const ItemRef item = BenchConsole::Item(ItemNames[0]);
    bool kept = MeasureOneRefresh(*forms[0], *item, console.ServerProcess());
    kept &= MeasureManyWindows(console.ServerProcess());
    kept &= MeasureSlowServer();
    for (frmItem* form : forms) form->Unload();
    kept &= MeasurePicture(OpenItem(controller->Child(3)), *BenchConsole::Item(ItemNames[3]));
    return kept ? 0 : 1;
}
