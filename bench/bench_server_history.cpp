// Values recorded into SQLite a second, against a bare loop of prepared inserts into a table without an index; and how
// long typical questions to what was recorded take, and what values of each kind cost on the disk.
#include "bench/Figures.h"
#include "server/history/History.h"
#include "server/sqlitehistory/PartitionFolder.h"

#include <kj/async-io.h>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <sqlite3.h>
#include <thread>

namespace {

constexpr qint64 ValuesPerTransaction = 5000;
constexpr qint64 RoundValues = 1'000'000;
using Clock = std::chrono::steady_clock;

qint64 s_itemCount = 1000;
double s_secondsBetween = 10; // the values of an item
Durability s_surviving = Durability::Process;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Do(sqlite3* database, const char* statement)
{
    if (sqlite3_exec(database, statement, nullptr, nullptr, nullptr) != SQLITE_OK)
        qFatal("%s", sqlite3_errmsg(database));
}

/// What values are made of as a rule: each item a wave of its own.
double ValueOf(qint64 number)
{
    return static_cast<double>(number % s_itemCount) + static_cast<double>(number / s_itemCount % 400) * 0.25;
}

/// The n-th of numbers that nobody can foresee, from 0 up to 1.
double NoiseOf(qint64 number)
{
    return static_cast<double>((static_cast<quint64>(number) * 0x9E3779B97F4A7C15U) >> 11) * 0x1p-53;
}

/// `time` is the number of the value among those of its item.
struct Kind
{
    const char* Name;
    Variant (*ValueOf)(qint64 number, qint64 time);
};
constexpr std::array Kinds = {
    Kind{"waves in steps of 0.25", [](qint64 number, qint64) { return Variant(::ValueOf(number)); }},
    Kind{"sines, each of its own",
         [](qint64 number, qint64 time) {
             return Variant(100 * std::sin(static_cast<double>(time) * 0.001 + static_cast<double>(number)));
         }},
    Kind{"numbers at random", [](qint64 number, qint64) { return Variant(NoiseOf(number)); }},
    Kind{"counters", [](qint64, qint64 time) { return Variant(static_cast<qint32>(time)); }},
    Kind{"whole numbers at random up to 65535",
         [](qint64 number, qint64) { return Variant(static_cast<qint32>(65536 * NoiseOf(number))); }},
    Kind{"booleans", [](qint64, qint64 time) { return Variant(time % 2 == 0); }},
    Kind{"texts of 20 characters, each another",
         [](qint64 number, qint64) { return Variant(QStringLiteral("batch%1").arg(number, 15, 10, QChar(u'0'))); }},
};

QString ItemOf(qint64 number)
{
    return QStringLiteral("Temperature%1").arg(number % s_itemCount);
}

TimeStamp TimeOf(qint64 number)
{
    static const TimeStamp begin{std::chrono::seconds(QDateTime(QDate(2024, 1, 31), {}).toSecsSinceEpoch())};
    return begin +
           std::chrono::microseconds(std::llround(static_cast<double>(number / s_itemCount) * s_secondsBetween * 1e6));
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
    std::vector<QByteArray> names;
    for (qint64 i = 0; i < s_itemCount; ++i) names.push_back(ItemOf(i).toUtf8());
    const auto start = Clock::now();
    for (qint64 i = 0; i < RoundValues; ++i) {
        if (i % ValuesPerTransaction == 0) Do(database, "BEGIN");
        sqlite3_bind_text(insert, 1, "PLC1", -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 2, names[static_cast<std::size_t>(i % s_itemCount)].constData(), -1, SQLITE_STATIC);
        sqlite3_bind_double(insert, 3, ValueOf(i));
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

/// A history in a file of its own, asked as the server asks it.
class Recorded
{
public:
    explicit Recorded(const QString& path)
        : m_Io(kj::setupAsyncIo())
        , m_History(SettingsFor(path), m_Io.provider->getTimer())
    {
    }

    /// Records values from `first` on; the names' texts are made before. Returns the seconds that it takes.
    double Record(qint64 first, qint64 count, const Kind& kind = Kinds[0])
    {
        if (m_Names.empty())
            for (qint64 i = 0; i < s_itemCount; ++i) m_Names.push_back(ItemOf(i));
        const auto start = Clock::now();
        for (qint64 i = first; i < first + count; ++i) {
            m_History.Record({m_Controller, m_Names[static_cast<std::size_t>(i % s_itemCount)],
                              kind.ValueOf(i, i / s_itemCount), TimeOf(i)});
            // Not more than may wait in memory.
            if ((i + 1) % 50'000 == 0 && !m_History.Flush(600'000)) qFatal("not written");
        }
        if (!m_History.Flush(600'000)) qFatal("not written");
        return SecondsSince(start);
    }

    /// The rows of the answer, and the seconds until its first and last row.
    struct Answer
    {
        qint64 Rows;
        double First;
        double Last;
    };
    Answer Ask(const QString& statement, bool toTheEnd = true)
    {
        const auto start = Clock::now();
        const ResultSpoolRef result = m_History.Ask({statement}, m_User).wait(m_Io.waitScope);
        double first = 0.0;
        for (;;) {
            const ResultProgress progress = result->Progress();
            if (first == 0.0 && (progress.RowsSoFar > 0 || progress.Complete)) first = SecondsSince(start);
            if (!progress.Failure.isEmpty()) qFatal("%s", qPrintable(progress.Failure));
            if (progress.Complete || (first > 0.0 && !toTheEnd))
                return {progress.RowsSoFar, first, SecondsSince(start)};
            result->NoteAsked();
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

private:
    static HistorySettings SettingsFor(const QString& path)
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = QStringLiteral("Driver=SQLite;Database=") + path;
        settings.Spool.Folder = path + QStringLiteral(".spool");
        settings.Destinations[0].Surviving = s_surviving;
        settings.Destinations[0].MaxBytes = 0; // the floor deletes nothing either
        return settings;
    }

    kj::AsyncIoContext m_Io;
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    History m_History;
    const QString m_Controller = QStringLiteral("PLC1");
    std::vector<QString> m_Names;
};

qint64 BytesBelow(const QString& folder)
{
    qint64 bytes = 0;
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot))
        bytes += file.isDir() ? BytesBelow(file.filePath()) : file.size();
    return bytes;
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

bool AskAll(Recorded& history, qint64 rows)
{
    const double days = static_cast<double>(rows / s_itemCount) * s_secondsBetween / 86'400;
    const auto day = static_cast<qint64>(days / 2);
    const auto inDay = std::min<qint64>(std::llround(86'400 / s_secondsBetween), rows / s_itemCount);
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

/// From what a million values of each kind take.
void PrintYears(const QString& folder)
{
    constexpr double valuesAYear = 1000.0 * 365 * 86'400;
    std::printf("a year of 1000 values a second, in GB (and bytes a value):\n");
    for (const Kind& kind : Kinds) {
        const QString place = folder + QStringLiteral("/kind");
        // A thread has one event loop only.
        std::thread([&] {
            Recorded history(place + QStringLiteral("/history.db"));
            history.Record(0, RoundValues, kind);
        }).join();
        const double bytes = static_cast<double>(BytesBelow(place)) / RoundValues;
        std::printf("  %-62s %10.0f GB (%.1f)\n", kind.Name, bytes * valuesAYear / 1e9, bytes);
        QDir(place).removeRecursively();
    }
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
    if (parser.isSet(powerOption)) s_surviving = Durability::Power;
    s_secondsBetween = parser.value(betweenOption).toDouble();
    s_itemCount = std::max(parser.value(itemsOption).toLongLong(), qint64{1});
    const qint64 rows = std::max(parser.value(rowsOption).toLongLong() / RoundValues, qint64{2}) * RoundValues;
    const QTemporaryDir folder(parser.value(folderOption) + QStringLiteral("/history-XXXXXX"));
    Recorded history(folder.filePath(QStringLiteral("recorded/history.db")));
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
        bare = std::min(bare, InsertBare(folder.filePath(QStringLiteral("bare%1.db").arg(round))));
    std::printf("%lld values of %lld items, one each %g s, transactions of %lld\n", rows, s_itemCount, s_secondsBetween,
                ValuesPerTransaction);
    Print("bare prepared inserts", RoundValues / bare, "a second");
    Print("recorded: all", static_cast<double>(rows) / all, "a second");
    Print("recorded: the first million", RoundValues / firstMillion, "a second");
    Print("recorded: the last million", RoundValues / lastMillion, "a second");
    Print("on the disk",
          static_cast<double>(BytesBelow(folder.filePath(QStringLiteral("recorded")))) / static_cast<double>(rows),
          "bytes a value");
    const qint64 counted = history.Ask(QStringLiteral("SELECT 1 FROM velsql_history")).Rows;
    if (counted != rows) std::printf("  FAILED: %lld rows are there\n", counted);
    const bool answers = AskAll(history, rows);
    const bool drops = DropOldest(folder.filePath(QStringLiteral("recorded/history.db")));
    PrintYears(folder.path());
    const double average = all * static_cast<double>(RoundValues) / static_cast<double>(rows);
    const bool quick = Figures::PrintRatio(QStringLiteral("time: recorded / bare"), average / bare, 1.0 / 0.4);
    const bool flat = Figures::PrintRatio(QStringLiteral("time: last million / first million"),
                                          lastMillion / firstMillion, 1.0 / 0.8);
    return quick && flat && answers && drops && counted == rows ? 0 : 1;
}
