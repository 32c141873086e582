// What is read of many days in PostgreSQL, as the history keeps them once they are over: 1,000 items with a value each 10
// seconds, 8,640,000 rows a day. --days 12 makes 103,680,000 rows; one day as a rule.
#include "bench/AskedHistory.h"
#include "bench/Figures.h"
#include "server/postgreshistory/PartitionCare.h"
#include "server/postgreshistory/PostgresTable.h"
#include "tests/support/PostgresRun.h"

#include <QCoreApplication>
#include <QDateTime>

#include <cstdio>

namespace {

constexpr int Items = 1000;
constexpr int ItemsRead = 8;
constexpr int IntervalsRead = 2000;
constexpr qint64 RowsADay = qint64{Items} * 8640;
constexpr double LongestRead = 300; // milliseconds
constexpr double LongestDay = 100;
constexpr Micros Day = 86'400 * MicrosASecond;
const QDateTime s_First(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);

/// The rows of a day, in the order in which they stand once the day is over.
const QString s_Rows = QStringLiteral(
    "INSERT INTO %1 SELECT 'PLC1', 'Item' || i, v::text, t, v, {utc}(t), 0 FROM generate_series(0, 23) AS h, "
    "generate_series(0, %2) AS i, generate_series(0, 359) AS s, LATERAL (SELECT timestamp '%3' + h * interval '1 h' + "
    "s * interval '10 s' + i * interval '1 ms' AS t, sin(h + i + s * 0.001) * 100 AS v) AS made ORDER BY h, i, s");

void FillDay(const DatabaseSession& session, const LayoutNames& names, PartitionCare& care, const QDateTime& day)
{
    const Partitions partitions(session, names);
    Partition made{{}, TimeText(day), TimeText(day.addDays(1))};
    made.Name = PartitionName(names, QStringLiteral("rows_d"), made.From);
    partitions.MakeTable(made);
    session.Run(names.Fill(s_Rows.arg(partitions.NameOf(made)).arg(Items - 1).arg(made.From)));
    partitions.Attach(made);
    while (care.CloseNext(day.addDays(3))) {
    }
    while (care.KeepNextHours()) {
    }
}

void Fill(const HistoryDestination& destination, int days)
{
    const DatabaseSession session{DatabaseAddress(destination.ConnectionString)};
    const LayoutNames names(destination.TableName);
    const WriteProgress progress;
    PartitionCare care(session, names, progress);
    session.Run(QStringLiteral("SET work_mem = '256MB'"));
    for (int day = 0; day < days; ++day) {
        FillDay(session, names, care, s_First.addDays(day));
        std::printf("  filled: %lld rows\n", static_cast<long long>(RowsADay * (day + 1)));
        std::fflush(stdout);
    }
    session.Run(QStringLiteral("CHECKPOINT"));
}

double Print(const char* what, const AskedHistory::Answer& answer, qint64 rows)
{
    std::printf("  %-52s %8.1f ms\n", what, answer.Milliseconds);
    if (answer.Rows == rows) return answer.Milliseconds;
    std::printf("  FAILED: %lld rows\n", static_cast<long long>(answer.Rows));
    return 1e12;
}

/// The best of a few rounds.
double Ask(const DatabaseSession& session, const char* what, const QString& question)
{
    double best = 1e12;
    QString answer;
    for (int round = 0; round < 3; ++round) {
        const auto start = std::chrono::steady_clock::now();
        answer = session.Ask(question).toString();
        best =
            std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::printf("  %-52s %8.1f ms  (%s)\n", what, best, qPrintable(answer));
    return best;
}

double AskDay(const DatabaseSession& session)
{
    const Micros begin = s_First.toMSecsSinceEpoch() * 1000;
    Ask(session, "the same by UTC",
        QStringLiteral("SELECT sum(value_number) FROM velsql_values WHERE controller_name = 'PLC1' AND item_name = "
                       "'Item77' AND item_utc >= %1 AND item_utc < %2")
            .arg(begin)
            .arg(begin + Day));
    Ask(session, "ORDER BY item_time, the first 4000",
        QStringLiteral("SELECT count(*) FROM (SELECT * FROM velsql_history ORDER BY item_time LIMIT 4000) AS page"));
    return Ask(
        session, "one item, one day",
        QStringLiteral("SELECT count(item_value) || ' ' || max(item_time) FROM velsql_history WHERE controller_name "
                       "= 'PLC1' AND item_name = 'Item77' AND item_time >= '2024-01-01' AND item_time < "
                       "'2024-01-02'"));
}

double ReadPicture(AskedHistory& history, int days)
{
    const Micros begin = s_First.toMSecsSinceEpoch() * 1000;
    const Micros end = begin + days * Day;
    const auto read = [&](const char* what, double length, qint64 intervals) {
        const QList<QString> aggregates{QStringLiteral("Minimum"), QStringLiteral("Maximum"), QStringLiteral("First"),
                                        QStringLiteral("Last"), QStringLiteral("Count")};
        const ProcessedRequest request(history.RequestFor(ItemsRead, begin, end), length, SafeArray(aggregates));
        return Print(what, history.Ask(ProcessedInquiry(request, history.Table())), ItemsRead * intervals);
    };
    read("ReadProcessed, 8 items, a row a day", static_cast<double>(Day), days);
    const auto raw = RawInquiry(RawRequest(history.RequestFor(1, begin, begin + Day), false, 0, {}), history.Table());
    Print("ReadRaw, 1 item, a day", history.Ask(raw), 8640);
    return read("ReadProcessed, 8 items, 2,000 intervals", static_cast<double>(end - begin) / IntervalsRead,
                IntervalsRead);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const PostgresRun database;
    if (!database.IsRunning()) qFatal("%s", qPrintable(database.Problem()));
    const qsizetype option = application.arguments().indexOf(QStringLiteral("--days"));
    const int days = option > 0 ? std::max(1, application.arguments().value(option + 1).toInt()) : 1;
    HistoryDestination destination;
    destination.ConnectionString = database.ConnectionString();
    {
        const PostgresTable made(destination);
    }
    Fill(destination, days);
    const double day = AskDay(DatabaseSession{DatabaseAddress(destination.ConnectionString)});
    AskedHistory history(destination.ConnectionString);
    const double picture = ReadPicture(history, days);
    const bool isFound = Figures::PrintRatio(QStringLiteral("one item, one day: of 100 ms"), day / LongestDay, 1);
    return Figures::PrintRatio(QStringLiteral("ReadProcessed: of 300 ms"), picture / LongestRead, 1) && isFound ? 0 : 1;
}
