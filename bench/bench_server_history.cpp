// Values recorded into SQLite a second, against a bare loop of prepared inserts into a table without an index; and how
// long typical questions to what was recorded take.
#include "bench/Figures.h"
#include "bench/RecordedHistory.h"
#include "server/sqlitehistory/PartitionFolder.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sqlite3.h>

namespace {

constexpr qint64 ValuesPerTransaction = 5000;
constexpr qint64 RoundValues = 1'000'000;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Do(sqlite3* database, const char* statement)
{
    if (sqlite3_exec(database, statement, nullptr, nullptr, nullptr) != SQLITE_OK)
        qFatal("%s", sqlite3_errmsg(database));
}

/// The floor: nothing but the database's own library.
double InsertBare(const QString& path, const Rhythm& rhythm)
{
    sqlite3* database = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &database) != SQLITE_OK) qFatal("no database");
    Do(database, "PRAGMA journal_mode = WAL");
    Do(database, "PRAGMA synchronous = NORMAL");
    Do(database, "CREATE TABLE t (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT)");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database, "INSERT INTO t VALUES (?, ?, ?, ?)", -1, &insert, nullptr);
    std::vector<QByteArray> names;
    for (qint64 i = 0; i < rhythm.Items; ++i) names.push_back(rhythm.ItemOf(i).toUtf8());
    const auto start = Clock::now();
    for (qint64 i = 0; i < RoundValues; ++i) {
        if (i % ValuesPerTransaction == 0) Do(database, "BEGIN");
        sqlite3_bind_text(insert, 1, "PLC1", -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 2, names[static_cast<std::size_t>(i % rhythm.Items)].constData(), -1, SQLITE_STATIC);
        sqlite3_bind_double(insert, 3, Waves.ValueOf(i % rhythm.Items, i / rhythm.Items).Get<double>());
        sqlite3_bind_text(insert, 4, "2024-01-31 12:00:00.123456", -1, SQLITE_STATIC);
        if (sqlite3_step(insert) != SQLITE_DONE) qFatal("%s", sqlite3_errmsg(database));
        sqlite3_reset(insert);
        if ((i + 1) % ValuesPerTransaction == 0) Do(database, "COMMIT");
    }
    const double seconds = SecondsSince(start);
    sqlite3_finalize(insert);
    sqlite3_close(database);
    return seconds;
}

QString Day(qint64 number)
{
    return QDate(2024, 1, 31).addDays(number).toString(Qt::ISODate);
}

void Print(const char* what, double figure, const char* unit)
{
    std::printf("  %-62s %10.1f %s\n", what, figure, unit);
}

/// The oldest partition goes, as retention lets it go: the last figure.
bool DropOldest(const QString& path)
{
    const PartitionFolder parts(path, QStringLiteral("velsql_history"));
    const PartitionFile oldest = parts.Files().front();
    const auto rows = static_cast<double>(PartitionFolder::ContentsOf(oldest).Range.Rows);
    const auto start = Clock::now();
    PartitionFolder::Remove(oldest);
    const double seconds = SecondsSince(start);
    Print("values in the oldest partition", rows, "");
    Print("to drop it", seconds * 1e3, "ms");
    return seconds <= 1.0;
}

/// Best of some, as the disk's cache makes the first one slower.
double Best(Recorded& history, const QString& statement, qint64 rows, bool toTheEnd = true)
{
    double best = 1e9;
    for (int round = 0; round < 3; ++round) {
        const Recorded::Answer answer = history.Ask(statement, toTheEnd);
        if (rows >= 0 && answer.Rows != rows)
            qFatal("%lld rows instead of %lld: %s", answer.Rows, rows, qPrintable(statement));
        best = std::min(best, toTheEnd ? answer.Last : answer.First);
    }
    return best;
}

bool AskAll(Recorded& history, const Rhythm& rhythm, qint64 rows)
{
    const double days = static_cast<double>(rows / rhythm.Items) * rhythm.SecondsBetween / 86'400;
    const auto day = static_cast<qint64>(days / 2);
    const auto inDay = std::min<qint64>(std::llround(86'400 / rhythm.SecondsBetween), rows / rhythm.Items);
    const QString one =
        QStringLiteral("SELECT item_time, item_value FROM velsql_history WHERE controller_name = 'PLC1' "
                       "AND item_name = 'Temperature7' AND item_time >= '%1' AND item_time < '%2'")
            .arg(Day(day), Day(day + 1));
    const double ofDay = Best(history, one, inDay);
    const double first = Best(history, QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time"), -1, false);
    const double last =
        Best(history, QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time DESC"), -1, false);
    const double minutes =
        Best(history,
             QStringLiteral("SELECT sum(value_count), min(smallest), max(largest) FROM velsql_minutes "
                            "WHERE controller_name = 'PLC1' AND item_name = 'Temperature7'"),
             1);
    const double hours = Best(history,
                              QStringLiteral("SELECT sum(value_count), min(smallest), max(largest) FROM velsql_hours "
                                             "WHERE controller_name = 'PLC1' AND item_name = 'Temperature7'"),
                              1);
    Print("one item, one day", ofDay * 1e3, "ms");
    Print("ORDER BY item_time: first page", first * 1e3, "ms");
    Print("ORDER BY item_time DESC: first page", last * 1e3, "ms");
    Print("one item's minutes, all of them", minutes * 1e3, "ms");
    Print("one item's hours, all of them", hours * 1e3, "ms");
    return ofDay <= 0.1 && first <= 1.0 && last <= 1.0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption rowsOption(QStringLiteral("rows"), QStringLiteral("How many values are recorded."),
                                        QStringLiteral("N"), QStringLiteral("3000000"));
    const QCommandLineOption folderOption(QStringLiteral("folder"), QStringLiteral("Where the files lie meanwhile."),
                                          QStringLiteral("FOLDER"), QDir::tempPath());
    const QCommandLineOption betweenOption(QStringLiteral("between"),
                                           QStringLiteral("Seconds between the values of an item."),
                                           QStringLiteral("SECONDS"), QStringLiteral("10"));
    const QCommandLineOption itemsOption(QStringLiteral("items"), QStringLiteral("How many items have values."),
                                         QStringLiteral("N"), QStringLiteral("1000"));
    const QCommandLineOption powerOption(QStringLiteral("power"), QStringLiteral("Records survive a power cut."));
    parser.addOptions({rowsOption, folderOption, betweenOption, itemsOption, powerOption});
    parser.process(application);
    const Rhythm rhythm{.Items = std::max(parser.value(itemsOption).toLongLong(), qint64{1}),
                        .SecondsBetween = parser.value(betweenOption).toDouble(),
                        .Surviving = parser.isSet(powerOption) ? Durability::Power : Durability::Process};
    const qint64 rows = std::max(parser.value(rowsOption).toLongLong() / RoundValues, qint64{2}) * RoundValues;
    const QTemporaryDir folder(parser.value(folderOption) + QStringLiteral("/history-XXXXXX"));
    Recorded history(folder.filePath(QStringLiteral("recorded/history.db")), rhythm);
    double bare = 1e9;
    double best = 1e9;
    double firstMillion = 0.0;
    double lastMillion = 0.0;
    const auto start = Clock::now();
    for (qint64 done = 0; done < rows; done += RoundValues) {
        lastMillion = history.Record(done, RoundValues);
        if (done == 0) firstMillion = lastMillion;
        best = std::min(best, lastMillion);
    }
    const double all = SecondsSince(start);
    for (int round = 0; round < 2; ++round)
        bare = std::min(bare, InsertBare(folder.filePath(QStringLiteral("bare%1.db").arg(round)), rhythm));
    std::printf("%lld values of %lld items, one each %g s, transactions of %lld\n", rows, rhythm.Items,
                rhythm.SecondsBetween, ValuesPerTransaction);
    Print("bare prepared inserts", RoundValues / bare, "a second");
    Print("recorded: all", static_cast<double>(rows) / all, "a second");
    Print("recorded: the first million", RoundValues / firstMillion, "a second");
    Print("recorded: the last million", RoundValues / lastMillion, "a second");
    Print("on the disk",
          static_cast<double>(BytesBelow(folder.filePath(QStringLiteral("recorded")))) / static_cast<double>(rows),
          "bytes a value");
    const qint64 counted = history.Ask(QStringLiteral("SELECT 1 FROM velsql_history")).Rows;
    if (counted != rows) std::printf("  FAILED: %lld rows are there\n", counted);
    const bool answers = AskAll(history, rhythm, rows);
    const bool drops = DropOldest(folder.filePath(QStringLiteral("recorded/history.db")));
    const double average = all * static_cast<double>(RoundValues) / static_cast<double>(rows);
    const bool quick = Figures::PrintRatio(QStringLiteral("time: recorded / bare"), average / bare, 1.0 / 0.4);
    const bool flat = Figures::PrintRatio(QStringLiteral("time: last million / first million"),
                                          lastMillion / firstMillion, 1.0 / 0.8);
    return quick && flat && answers && drops && counted == rows ? 0 : 1;
}
