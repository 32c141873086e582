// A trend with 200 pens that change ten times a second, painted in software: at most 15 % of a core, and what the history
// records meanwhile comes live. Then the first picture of a day of eight items, and a further zoom, until there is something to be seen and
// until it is exact.
#include "bench/Events.h"
#include "bench/Figures.h"
#include "tests/support/RealServer.h"
#include "trend/data/Rows.h"
#include "trend/window/frmTrend.h"

#include <QApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QTemporaryFile>

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int Pens = 200;
constexpr int Rate = 10; // values a second
constexpr int Seconds = 20;
constexpr int DayPens = 8;
constexpr int DayValues = 86'400 / 2;
constexpr std::size_t FewestSeen = 20;
constexpr Micros Second = MicrosASecond;
constexpr Micros FilledDay = (1'700'000'000 + 5 * 86'400) * Second; // in the middle of what bench_reading records

constexpr char Plant[] = R"(
[[controller]]
name = "Bench"
scan_times = [100, 1000, 5000]
item = [ { name = "S{1..200}", type = "R8", history = true, signal = { form = "sine", low = 0, high = 100, period = 20 } } ]
[[controller]]
name = "Day"
)";

QStringList Items()
{
    QStringList items;
    for (int i = 1; i <= Pens; ++i) items << QStringLiteral("Bench\\S%1").arg(i);
    return items;
}

/// Ends without the application's quit, which would close the window.
void Rest(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

template <typename Condition>
double MillisecondsUntil(Condition isMet, qint64 longest = 60'000)
{
    QElapsedTimer time;
    time.start();
    RunEventsUntil([&] { return isMet() || time.elapsed() >= longest; });
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

bool MeasureLive(const MakeLibrary& make)
{
    frmTrend* const window = new frmTrend(make);
    window->resize(1600, 900);
    window->AddItems(Items());
    window->ShowSpan({}, 60 * Second);
    window->show();
    Rest(10'000);
    const double before = Figures::CpuMsOf(getpid());
    Rest(Seconds * 1000);
    const double share = (Figures::CpuMsOf(getpid()) - before) / (Seconds * 1000);
    delete window;
    return Figures::PrintRatio(QStringLiteral("%1 pens at %2 values/s: part of a core").arg(Pens).arg(Rate), share,
                               0.15);
}

/// What the history has recorded meanwhile is what should have come.
bool CountValues(const MakeLibrary& make)
{
    TrendData trend(make);
    for (const QString& item : Items()) trend.Add(*PenOf(item));
    Rest(3000);
    const Micros from = trend.Now();
    Rest(10'000);
    const Micros to = trend.Now();
    Rest(2000);
    const auto library = make();
    const HistoryRef history = library->AttachEngine()->get_History();
    double recorded = 0, came = 0;
    for (const auto& pen : trend.Pens()) {
        const Variant name(pen->Settings.Name());
        Rows rows(history->ReadProcessed(name, Variant(static_cast<double>(from)), Variant(static_cast<double>(to)),
                                         Variant(0.0), Variant(QStringLiteral("Count"))));
        constexpr qint32 Count = 3;
        if (rows.Next()) recorded += rows.Number(Count);
        for (std::size_t i = pen->Values.Find(from); i < pen->Values.Find(to); ++i) came += !pen->Values.IsGap(i);
    }
    std::printf("  %.0f values recorded, %.0f came\n", recorded, came);
    return Figures::PrintRatio(QStringLiteral("values recorded / values that came"), recorded / came, 1.02);
}

void FillDay(const EngineRef& engine, Micros begin)
{
    const HistoryRef history = engine->get_History();
    for (int first = 0; first < DayValues; first += 5000) {
        QStringList rows;
        for (int i = first; i < std::min(first + 5000, DayValues); ++i) {
            const QString time =
                QDateTime::fromMSecsSinceEpoch(begin / 1000 + i * 2000).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
            for (int item = 0; item < DayPens; ++item)
                rows << QStringLiteral("('Day','D%1','%2','%3')").arg(item).arg(std::sin(i * 0.001 + item)).arg(time);
        }
        const ResultSetRef result = history->Execute(
            QStringLiteral("INSERT INTO velsql_history (controller_name, item_name, item_value, item_time) VALUES ") +
            rows.join(u','));
        while (!result->Progress().Complete) QThread::msleep(1);
    }
}

/// Until each pen has something to be seen in the span, and until all questions are answered.
bool MeasureShow(TrendData& trend, const Span& span, const char* name, double limit)
{
    const auto isSeen = [&] {
        return std::all_of(trend.Pens().begin(), trend.Pens().end(), [&](const auto& pen) {
            return pen->Values.Find(span.To) > pen->Values.Find(span.From) + FewestSeen;
        });
    };
    trend.Show(span, 1600);
    const double seen = MillisecondsUntil(isSeen);
    const double asked = MillisecondsUntil([&] { return trend.IsWaiting(); }, 50);
    const double exact = seen + asked + MillisecondsUntil([&] { return !trend.IsWaiting(); });
    std::printf("  %s: something after %.0f ms, exact after %.0f ms\n", name, seen, exact);
    return Figures::PrintRatio(QStringLiteral("something / %1 ms").arg(limit), seen / limit, 1);
}

bool MeasureDay(const MakeLibrary& make, Micros begin, const QString& items)
{
    TrendData trend(make);
    for (int i = 0; i < DayPens; ++i) trend.Add(*PenOf(items + QString::number(i)));
    Rest(500);
    bool isGood = MeasureShow(trend, {begin, begin + 86'400 * Second}, "a day of 8 items", 300);
    isGood = MeasureShow(trend, {begin + 3600 * Second, begin + 7200 * Second}, "an hour of it", 50) && isGood;
    return MeasureShow(trend, {begin - 7 * 86'400 * Second, begin + 86'400 * Second}, "a week", 50) && isGood;
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const qsizetype option = QApplication::arguments().indexOf(QStringLiteral("--filled"));
    const QString filled = option > 0 ? QApplication::arguments().value(option + 1) : QString();
    QTemporaryFile plant;
    const QByteArray history =
        filled.isEmpty()
            ? QByteArray()
            : "[history]\ndestination = [ { connection = \"Database=" + filled.toUtf8() + "\", max_size = \"0\" } ]\n";
    if (!plant.open() || plant.write(history + Plant) < 0 || !plant.flush()) return 1;
    RealServer server;
    server.Start({QStringLiteral("--plant"), plant.fileName()});
    const MakeLibrary make = [&] { return std::make_unique<RemoteLibrary>(server.SocketPath(), QString()); };
    if (!filled.isEmpty()) return MeasureDay(make, FilledDay, QStringLiteral("PLC1\\Item")) ? 0 : 1;
    bool isGood = MeasureLive(make);
    isGood = CountValues(make) && isGood;
    const Micros begin = (QDateTime::currentSecsSinceEpoch() / 86'400 - 2) * 86'400 * Second;
    FillDay(make()->AttachEngine(), begin);
    return MeasureDay(make, begin, QStringLiteral("Day\\D")) && isGood ? 0 : 1;
}
