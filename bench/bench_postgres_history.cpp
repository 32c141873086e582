// Values recorded a second into PostgreSQL, against COPY of the same rows into an equal table (no index either), as
// texts and in the database's own form.
#include "bench/Figures.h"
#include "server/postgreshistory/PostgresTable.h"
#include "tests/support/PostgresRun.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>
#include <cstdio>
#include <libpq-fe.h>

namespace {

constexpr int Values = 500'000;
constexpr int ValuesPerTransaction = 5000;
constexpr int Items = 1000;
constexpr int Rounds = 3;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

RecordedValue ValueOf(int number, TimeStamp begin)
{
    return {QStringLiteral("PLC1"), QStringLiteral("Temperature %1").arg(number % Items), number * 0.5,
            begin + std::chrono::milliseconds(10) * number};
}

void Do(PGconn* connection, const char* statement, ExecStatusType expected = PGRES_COMMAND_OK)
{
    PGresult* result = PQexec(connection, statement);
    if (PQresultStatus(result) != expected) qFatal("%s", PQerrorMessage(connection));
    PQclear(result);
}

PGconn* ConnectBare(const QString& folder)
{
    PGconn* connection = PQconnectdb(qPrintable(QStringLiteral("host=%1 dbname=postgres user=test").arg(folder)));
    PQsetNoticeProcessor(
        connection, [](void*, const char*) {}, nullptr);
    return connection;
}

/// The floor: the rows stand in memory already, as `copy` takes them.
double CopyBare(const QString& folder, const char* copy, const std::vector<QByteArray>& transactions)
{
    PGconn* connection = ConnectBare(folder);
    Do(connection, "DROP TABLE IF EXISTS bare");
    Do(connection, "CREATE TABLE bare (controller_name text, item_name text, item_value text, item_time timestamp, "
                   "value_number float8, item_utc bigint, item_state integer)");
    const auto start = Clock::now();
    for (const QByteArray& rows : transactions) {
        Do(connection, "BEGIN");
        Do(connection, copy, PGRES_COPY_IN);
        if (PQputCopyData(connection, rows.constData(), static_cast<int>(rows.size())) != 1) qFatal("no copy");
        PQputCopyEnd(connection, nullptr);
        while (PGresult* result = PQgetResult(connection)) PQclear(result);
        Do(connection, "COMMIT");
    }
    const double seconds = SecondsSince(start);
    PQfinish(connection);
    return seconds;
}

std::vector<QByteArray> Transactions(TimeStamp begin)
{
    std::vector<QByteArray> transactions;
    for (int i = 0; i < Values; ++i) {
        if (i % ValuesPerTransaction == 0) transactions.emplace_back();
        const RecordedValue value = ValueOf(i, begin);
        const auto micros =
            std::chrono::duration_cast<std::chrono::microseconds>(value.Time.time_since_epoch()).count();
        const QByteArray number = QByteArray::number(value.Value.Get<double>());
        transactions.back() +=
            "PLC1\t" + value.Item.toUtf8() + '\t' + number + '\t' +
            QDateTime::fromMSecsSinceEpoch(micros / 1000).toString(u"yyyy-MM-dd hh:mm:ss.zzz").toUtf8() + '\t' +
            number + '\t' + QByteArray::number(micros) + "\t0\n";
    }
    return transactions;
}

/// The rows that stand in the bare table, as COPY takes them in the database's own form.
std::vector<QByteArray> BinaryTransactions(const QString& folder)
{
    PGconn* connection = ConnectBare(folder);
    std::vector<QByteArray> transactions;
    for (int i = 0; i < Values; i += ValuesPerTransaction) {
        const QString copy = QStringLiteral("COPY (SELECT * FROM bare OFFSET %1 LIMIT %2) TO STDOUT (FORMAT binary)");
        Do(connection, qPrintable(copy.arg(i).arg(ValuesPerTransaction)), PGRES_COPY_OUT);
        transactions.emplace_back();
        char* rows = nullptr;
        for (int size = PQgetCopyData(connection, &rows, 0); size > 0; size = PQgetCopyData(connection, &rows, 0)) {
            transactions.back().append(rows, size);
            PQfreemem(rows);
        }
        while (PGresult* result = PQgetResult(connection)) PQclear(result);
    }
    PQfinish(connection);
    return transactions;
}

double RecordAll(const HistoryDestination& destination, TimeStamp begin)
{
    PostgresTable table(destination);
    std::vector<RecordedValue> batch;
    double seconds = 0.0;
    for (int i = 0; i < Values; ++i) {
        batch.push_back(ValueOf(i, begin));
        if (batch.size() < ValuesPerTransaction) continue;
        const auto start = Clock::now();
        table.Write(batch, {1, static_cast<quint64>(i) + 1});
        seconds += SecondsSince(start);
        batch.clear();
    }
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const PostgresRun database;
    if (!database.IsRunning()) qFatal("%s", qPrintable(database.Problem()));
    HistoryDestination destination;
    destination.ConnectionString = database.ConnectionString();
    destination.MaxRecord = 0;
    destination.MaxBytes = 0;
    const TimeStamp begin = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const QString folder = database.ConnectionString().section(QStringLiteral("Server="), 1).section(u';', 0, 0);
    const char* const copy = "COPY bare FROM STDIN";
    const char* const copyBinary = "COPY bare FROM STDIN (FORMAT binary)";
    const std::vector<QByteArray> transactions = Transactions(begin);
    CopyBare(folder, copy, transactions);
    const std::vector<QByteArray> binary = BinaryTransactions(folder);
    double bare = 1e9;
    double bareBinary = 1e9;
    double recorded = 1e9;
    for (int round = 0; round < Rounds; ++round) {
        bare = std::min(bare, CopyBare(folder, copy, transactions));
        bareBinary = std::min(bareBinary, CopyBare(folder, copyBinary, binary));
        recorded = std::min(recorded, RecordAll(destination, begin));
    }
    std::printf("%d values, transactions of %d, best of %d rounds\n", Values, ValuesPerTransaction, Rounds);
    std::printf("  %-52s %9.0f a second\n", "COPY into an equal table", Values / bare);
    std::printf("  %-52s %9.0f a second\n", "the same in the database's own form", Values / bareBinary);
    std::printf("  %-52s %9.0f a second\n", "recorded", Values / recorded);
    const bool quick = Figures::PrintRatio(QStringLiteral("time: recorded / COPY"), recorded / bare, 1.0 / 0.7);
    std::printf("  %-52s %9.2f x\n", "time: recorded / COPY in the database's own form", recorded / bareBinary);
    const DatabaseSession session{DatabaseAddress(destination.ConnectionString)};
    const qint64 rows = session.Ask(QStringLiteral("SELECT count(*) FROM velsql_history")).toLongLong();
    if (rows != qint64{Rounds} * Values) std::printf("  FAILED: %lld rows\n", static_cast<long long>(rows));
    return quick && rows == qint64{Rounds} * Values ? 0 : 1;
}
