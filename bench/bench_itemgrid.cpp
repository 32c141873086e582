// What an item window costs on top of the server's calls: one refresh, twenty windows at once, a slow server, a large picture.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "core/automation/SafeArray.h"
#include "core/GridRefresher.h"
#include "core/PropertyGrid.h"
#include "item/frmItem.h"

#include <QApplication>
#include <QBuffer>
#include <QPushButton>
#include <QThread>

#include <cstdio>

namespace {

constexpr int Windows = 20;
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

bool MeasureOneRefresh(const frmItem& form, VelSQLItem& item)
{
    std::printf("One refresh of 49 rows, no value changed\n");
    const auto costs =
        Figures::MeasureInTurn(5, 100, {[&] { AskEverything(item); }, [&] { Refresher(form).RefreshNow(); }});
    Figures::PrintCost(QStringLiteral("bare calls"), costs[0]);
    Figures::PrintCost(QStringLiteral("refresh"), costs[1]);
    bool kept =
        Figures::PrintRatio(QStringLiteral("median: refresh / bare calls"), costs[1].MedianUs / costs[0].MedianUs, 1.3);
    kept &= Figures::PrintRatio(QStringLiteral("cpu: refresh / bare calls"), costs[1].CpuUs / costs[0].CpuUs, 1.3);
    return kept;
}

bool MeasureManyWindows(const QList<frmItem*>& forms, VelSQLItem& item)
{
    std::printf("%d windows refreshing\n", Windows);
    RunEvents(1000); // the windows are painted for the first time
    int refreshes = 0;
    QObject counter;
    for (const frmItem* form : forms)
        QObject::connect(&Refresher(*form), &GridRefresher::Refreshed, &counter, [&] { ++refreshes; });
    const auto askAsMuch = [&] {
        for (; refreshes > 0; --refreshes) AskEverything(item);
    };
    const auto costs = Figures::MeasureInTurn(10, 1, {[] { RunEvents(1000); }, askAsMuch});
    Figures::PrintCost(QStringLiteral("one second of refreshing"), costs[0]);
    Figures::PrintCost(QStringLiteral("bare calls of as many refreshes"), costs[1]);
    return Figures::PrintRatio(QStringLiteral("cpu: refreshing / bare calls"), costs[0].CpuUs / costs[1].CpuUs, 1.3) &
           PrintLongestGap();
}

/// As if every call took 20 ms longer at the server.
void SlowDown(const frmItem& form)
{
    auto* grid = form.findChild<PropertyGrid*>();
    PropertyRows rows = grid->Rows();
    for (PropertyRow& row : rows) {
        row.Read = [read = row.Read] {
            QThread::msleep(20);
            return read();
        };
    }
    grid->Lay(rows, {1300, 0});
}

bool MeasureSlowServer(const QList<frmItem*>& forms)
{
    std::printf("%d windows, a server that needs 20 ms a call\n", Windows);
    for (const frmItem* form : forms) SlowDown(*form);
    return PrintLongestGap();
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
    bool kept = MeasureOneRefresh(*forms[0], *item);
    kept &= MeasureManyWindows(forms, *item);
    kept &= MeasureSlowServer(forms);
    for (frmItem* form : forms) form->Unload();
    kept &= MeasurePicture(OpenItem(controller->Child(3)), *BenchConsole::Item(ItemNames[3]));
    return kept ? 0 : 1;
}
