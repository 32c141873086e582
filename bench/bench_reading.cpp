// ReadProcessed and ReadRaw as clients get them, up to the last row of the result: items with a value each 10 seconds
// for 11.6 days (100,000 values). 20 items as a rule; --items 1000 makes 100,000,000 rows of them. With --connection they
// are recorded into that database, where --filled finds them again.
#include "bench/AskedHistory.h"
#include "bench/Figures.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>

namespace {

constexpr int ItemsRead = 8;
constexpr int ValuesAnItem = 100'000;
constexpr Micros Apart = 10 * MicrosASecond;
constexpr Micros Begin = 1'700'000'000 * MicrosASecond;
constexpr Micros End = Begin + ValuesAnItem * Apart;
constexpr int IntervalsRead = 2000;
constexpr double LongestRead = 300; // milliseconds
using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void Fill(AskedHistory& history, int items)
{
    for (int i = 0; i < ValuesAnItem; ++i) {
        const TimeStamp time{std::chrono::microseconds(Begin + i * Apart)};
        for (int item = 0; item < items; ++item)
            history.Recorded().Record(
                {QStringLiteral("PLC1"), AskedHistory::NameOf(item), std::sin(i * 0.001 + item) * 100, time, 0});
        if (i % 100 == 0 && !history.Recorded().Flush(60'000)) qFatal("the database takes nothing");
    }
    if (!history.Recorded().Flush(60'000)) qFatal("not written");
}

bool Print(const char* what, const AskedHistory::Answer& answer, qint64 rows)
{
    std::printf("  %-44s %8.1f ms, processor %8.1f ms\n", what, answer.Milliseconds, answer.Processor);
    if (answer.Rows != rows) std::printf("  FAILED: %lld rows\n", static_cast<long long>(answer.Rows));
    return answer.Rows == rows;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser options;
    const QCommandLineOption items(QStringLiteral("items"), QString(), QStringLiteral("count"), QStringLiteral("20"));
    const QCommandLineOption connection(QStringLiteral("connection"), QString(), QStringLiteral("string"));
    const QCommandLineOption filled(QStringLiteral("filled")); // by an earlier run
    options.addOptions({items, connection, filled});
    options.process(application);
    const QTemporaryDir folder;
    const QString own = QStringLiteral("Database=") + folder.filePath(QStringLiteral("history.db"));
    AskedHistory history(options.isSet(connection) ? options.value(connection) : own);
    const auto start = Clock::now();
    if (!options.isSet(filled)) Fill(history, options.value(items).toInt());
    std::printf("%s items of %d values, recorded in %.0f s\n", qPrintable(options.value(items)), ValuesAnItem,
                MillisecondsSince(start) / 1000);
    const auto processed = [&](const QList<QString>& aggregates) {
        return history.Ask(ProcessedInquiry(ProcessedRequest(history.RequestFor(ItemsRead, Begin, End),
                                                             static_cast<double>((End - Begin) / IntervalsRead),
                                                             SafeArray(QList<QString>(aggregates))),
                                            history.Table()));
    };
    const auto picture = processed({QStringLiteral("Minimum"), QStringLiteral("Maximum"), QStringLiteral("First"),
                                    QStringLiteral("Last"), QStringLiteral("Count")});
    bool isRight = Print("ReadProcessed, 8 items, 2,000 intervals", picture, ItemsRead * IntervalsRead);
    isRight = Print("the same with TimeAverage, from all values", processed({QStringLiteral("TimeAverage")}),
                    ItemsRead * IntervalsRead) &&
              isRight;
    const Micros day = 86'400 * MicrosASecond;
    const auto raw = history.Ask(
        RawInquiry(RawRequest(history.RequestFor(1, Begin + 5 * day, Begin + 6 * day), false, 0, {}), history.Table()));
    isRight = Print("ReadRaw, 1 item, a day", raw, 8640) && isRight;
    const bool quick =
        Figures::PrintRatio(QStringLiteral("ReadProcessed: of 300 ms"), picture.Milliseconds / LongestRead, 1);
    return isRight && quick ? 0 : 1;
}
