// ReadProcessed and ReadRaw as clients get them, up to the last row of the result: items with a value each 10 seconds
// for 11.6 days (100,000 values). 20 items as a rule; --items 1000 makes 100,000,000 rows of them. With --connection they
// are recorded into that database, where --filled finds them again.
#include "bench/Figures.h"
#include "core/automation/SafeArray.h"
#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/reading/ReadRequest.h"

#include <kj/async-io.h>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <ctime>

namespace {

constexpr int ItemsRead = 8;
constexpr int ValuesAnItem = 100'000;
constexpr Micros Apart = 10 * MicrosASecond;
constexpr Micros Begin = 1'700'000'000 * MicrosASecond;
constexpr Micros End = Begin + ValuesAnItem * Apart;
constexpr int IntervalsRead = 2000;
constexpr double LongestRead = 300; // milliseconds
constexpr int Rounds = 5;
using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// For names of items that no plant has.
class NoHost : public PlantHost
{
public:
    Moment Now() override { return {}; }
    void After(qint32, std::function<void()>) override {}
    void Record(const PlantItem&, const ItemReading&) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString&) override {}
};

class AskedHistory
{
public:
    explicit AskedHistory(const QString& connection)
        : m_History(SettingsFor(connection), m_Io.provider->getTimer())
    {
    }

    void Fill(int items)
    {
        for (int i = 0; i < ValuesAnItem; ++i) {
            const TimeStamp time{std::chrono::microseconds(Begin + i * Apart)};
            for (int item = 0; item < items; ++item)
                m_History.Record({QStringLiteral("PLC1"), NameOf(item), std::sin(i * 0.001 + item) * 100, time, 0});
            if (i % 100 == 0 && !m_History.Flush(60'000)) qFatal("the database takes nothing");
        }
        if (!m_History.Flush(60'000)) qFatal("not written");
    }
    struct Answer
    {
        double Milliseconds = 1e12; ///< the best of some rounds, to the last row
        double Processor = 1e12;    ///< of this process alone, likewise
        qint64 Rows = 0;
    };
    Answer Ask(const Inquiry& asked)
    {
        Answer answer;
        for (int round = 0; round < Rounds; ++round) {
            const auto start = Clock::now();
            const std::clock_t processor = std::clock();
            const ResultSpoolRef result = m_History.Ask(asked, m_User).wait(m_Io.waitScope);
            while (!result->Progress().Complete)
                m_Io.provider->getTimer().afterDelay(kj::MILLISECONDS).wait(m_Io.waitScope);
            answer.Milliseconds = std::min(answer.Milliseconds, MillisecondsSince(start));
            answer.Processor =
                std::min(answer.Processor, static_cast<double>(std::clock() - processor) * 1000 / CLOCKS_PER_SEC);
            if (!result->Progress().Failure.isEmpty()) qFatal("%s", qPrintable(result->Progress().Failure));
            answer.Rows = result->Progress().RowsSoFar;
        }
        return answer;
    }
    ReadRequest RequestFor(int items, Micros from, Micros to) const
    {
        QList<QString> names;
        for (int item = 0; item < items; ++item) names.append(QStringLiteral("PLC1\\") + NameOf(item));
        return {m_Plant, SafeArray(std::move(names)), static_cast<double>(from), static_cast<double>(to)};
    }
    QString Table() const { return m_History.TableName(1); }

private:
    static HistorySettings SettingsFor(const QString& connection)
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = connection;
        settings.Destinations[0].MaxRecord = 0;
        return settings;
    }
    static QString NameOf(int item) { return QStringLiteral("Item%1").arg(item); }

    kj::AsyncIoContext m_Io = kj::setupAsyncIo();
    NoHost m_Host;
    Plant m_Plant{m_Host};
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    History m_History;
};

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
    if (!options.isSet(filled)) history.Fill(options.value(items).toInt());
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
