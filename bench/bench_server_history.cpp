// Values recorded a second into SQLite, against a bare loop of prepared inserts in transactions of the same size.
#include "bench/Figures.h"
#include "server/history/Recorder.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sqlite3.h>

namespace {

constexpr int Values = 150'000; // within what may wait for a database
constexpr int ValuesPerTransaction = 5000;
constexpr int Rounds = 3;
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
double InsertBare(const QString& path)
{
    sqlite3* database = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &database) != SQLITE_OK) qFatal("no database");
    Do(database, "PRAGMA journal_mode = WAL");
    Do(database, "PRAGMA synchronous = NORMAL");
    Do(database, "CREATE TABLE t (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT)");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database, "INSERT INTO t VALUES (?, ?, ?, ?)", -1, &insert, nullptr);
    const auto start = Clock::now();
    for (int i = 0; i < Values; ++i) {
        if (i % ValuesPerTransaction == 0) Do(database, "BEGIN");
        sqlite3_bind_text(insert, 1, "PLC1", -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 2, "Temperature", -1, SQLITE_STATIC);
        sqlite3_bind_double(insert, 3, i * 0.5);
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

/// Both must have written the same: how many values, how many items, and their sum.
QString ContentsOf(const QString& path, const char* table)
{
    sqlite3* database = nullptr;
    sqlite3_stmt* query = nullptr;
    const QByteArray statement = QByteArray("SELECT count(*) || ' ' || sum(item_value) || ' ' || count(DISTINCT "
                                            "controller_name || item_name || typeof(item_value)) FROM ") +
                                 table;
    if (sqlite3_open(path.toUtf8().constData(), &database) != SQLITE_OK ||
        sqlite3_prepare_v2(database, statement.constData(), -1, &query, nullptr) != SQLITE_OK ||
        sqlite3_step(query) != SQLITE_ROW)
        qFatal("%s", sqlite3_errmsg(database));
    const QString contents = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(query, 0)));
    sqlite3_finalize(query);
    sqlite3_close(database);
    return contents;
}

double RecordAll(const QString& path)
{
    HistoryDestination destination;
    destination.ConnectionString = QStringLiteral("Driver=SQLite;Database=") + path;
    destination.MaxRecord = 0; // the floor deletes nothing either
    Recorder recorder(1, destination, {.Folder = path + QStringLiteral(".spool")});
    TimeStamp time = std::chrono::system_clock::now();
    const auto start = Clock::now();
    for (int i = 0; i < Values; ++i)
        recorder.Record(
            {QStringLiteral("PLC1"), QStringLiteral("Temperature"), i * 0.5, time += std::chrono::microseconds(100)});
    if (!recorder.Flush(60'000)) qFatal("not written");
    return SecondsSince(start);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    double bare = 1e9;
    double recorded = 1e9;
    QStringList wrong;
    for (int round = 0; round < Rounds; ++round) {
        const QString barePath = folder.filePath(QStringLiteral("bare%1.db").arg(round));
        const QString recordedPath = folder.filePath(QStringLiteral("recorded%1.db").arg(round));
        bare = std::min(bare, InsertBare(barePath));
        recorded = std::min(recorded, RecordAll(recordedPath));
        const QString contents = ContentsOf(recordedPath, "velsql_history");
        const bool isAll = contents.startsWith(QStringLiteral("%1 ").arg(Values));
        if (!isAll || contents != ContentsOf(barePath, "t")) wrong.append(contents);
    }
    std::printf("%d values, transactions of %d, best of %d rounds\n", Values, ValuesPerTransaction, Rounds);
    std::printf("  %-52s %9.0f a second\n", "bare prepared inserts", Values / bare);
    std::printf("  %-52s %9.0f a second\n", "recorded", Values / recorded);
    if (!wrong.isEmpty()) std::printf("  FAILED: recorded was %s\n", qPrintable(wrong.join(u'\n')));
    const bool quick = Figures::PrintRatio(QStringLiteral("time: recorded / bare"), recorded / bare, 1.0 / 0.3);
    return quick && wrong.isEmpty() ? 0 : 1;
}
