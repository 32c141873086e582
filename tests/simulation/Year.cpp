#include "tests/simulation/Year.h"

#include "server/plant/Plant.h"
#include "server/PlantScanner.h"
#include "server/sources/simulated/Signal.h"
#include "server/sqlitehistory/HistoryTables.h"
#include "server/sqlitehistory/SqliteTable.h"
#include "tests/simulation/DrivenTime.h"
#include "velsqllib/transport/KjLoop.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <iostream>
#include <malloc.h>

namespace {

using namespace std::chrono_literals;

constexpr qint64 Begin = 1'709'251'230; // 2024-03-01 00:00:30 UTC
constexpr qint64 SecondsADay = 86'400;
constexpr qint64 MinutesADay = 1440;
constexpr int KeptDays = 30;
constexpr std::size_t BatchSize = 120; // of an hour

/// A plant without a server, which records into two tables of a file: one that keeps everything, and one by age.
class ClockedPlant : private PlantHost
{
public:
    explicit ClockedPlant(KjLoop& loop, const QString& path)
        : m_Loop(loop)
        , m_Plant(*this)
        , m_Scanner(loop.Timer())
        , m_All({.ConnectionString = QStringLiteral("Database=") + path,
                 .TableName = QStringLiteral("everything"),
                 .MaxBytes = 0})
        , m_Kept({.ConnectionString = QStringLiteral("Database=") + path,
                  .TableName = QStringLiteral("kept"),
                  .Keep = std::chrono::hours(24 * KeptDays)})
    {
        PlantController& plc = *m_Plant.Add({.Name = QStringLiteral("PLC"), .ScanTimes = {60'000, 0, 0}});
        Add(plc, QStringLiteral("counter"), std::make_unique<CounterSignal>(1, 2e9, 1), {});
        Add(plc, QStringLiteral("wave"), std::make_unique<PeriodicSignal>(WaveForm::Ramp, Wave{.Period = SecondsADay}),
            {});
        Add(plc, QStringLiteral("steady"), std::make_unique<ConstantSignal>(Variant(7)), RecordRule{0, 1h});
        m_Plant.Begin();
        m_Scanner.Start(m_Plant);
    }

    void Run(std::chrono::hours time)
    {
        m_Loop.Timer().afterDelay(time.count() * kj::HOURS).wait(m_Loop.WaitScope());
        WriteBatch();
    }

private:
    static void Add(PlantController& plc, const QString& name, SourceVariableRef signal, std::optional<RecordRule> rule)
    {
        plc.Add({.Name = name, .Type = VT_R8, .Historic = true, .Recorded = rule}, std::move(signal));
    }

    Moment Now() override
    {
        return {std::chrono::system_clock::now(), std::chrono::duration<double>(DrivenTime::Passed()).count()};
    }
    void Record(const PlantItem& item, const ItemReading& reading) override
    {
        m_Batch.push_back({item.Controller()->Name(), item.Name(), reading.Value, reading.Time, reading.State});
        if (m_Batch.size() >= BatchSize) WriteBatch();
    }
    void WriteBatch()
    {
        m_Sequence += m_Batch.size();
        for (SqliteTable* table : {&m_All, &m_Kept}) table->Write(m_Batch, {1, m_Sequence});
        m_Batch.clear();
    }
    void After(qint32, std::function<void()>) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString& text) override { std::cerr << text.toStdString() << '\n'; }

    KjLoop& m_Loop;
    Plant m_Plant;
    PlantScanner m_Scanner;
    SqliteTable m_All;
    SqliteTable m_Kept;
    std::vector<RecordedValue> m_Batch;
    quint64 m_Sequence = 0;
};

/// What the file says, and whether it is what it should say.
class Findings
{
public:
    explicit Findings(const QString& path)
        : m_Address(QStringLiteral("Driver=SQLite;Database=") + path)
    {
    }

    qint64 Ask(const QString& table, const QString& question) const
    {
        const DatabaseSession session(m_Address);
        const HistoryTables tables(session.SqliteHandle(), m_Address.Database(), table, question);
        QSqlQuery query(session.Database());
        if (!query.exec(question) || !query.next()) throw DatabaseError(query.lastError());
        return query.value(0).toLongLong();
    }
    void Expect(const char* what, qint64 found, qint64 least, qint64 most)
    {
        const bool isRight = found >= least && found <= most;
        m_AreRight = m_AreRight && isRight;
        std::cout << (isRight ? "  right: " : "  WRONG: ") << what << ": " << found;
        if (!isRight) std::cout << " instead of " << least << " to " << most;
        std::cout << std::endl;
    }
    void Expect(const char* what, qint64 found, qint64 right) { Expect(what, found, right, right); }
    bool AreRight() const { return m_AreRight; }

private:
    const DatabaseAddress m_Address;
    bool m_AreRight = true;
};

/// Of `days` from Begin on.
void CheckSummaries(Findings& findings, int days)
{
    const auto ask = [&](const QString& question) { return findings.Ask(QStringLiteral("everything"), question); };
    const qint64 scans = days * MinutesADay;
    findings.Expect("scans", ask(QStringLiteral("SELECT count(*) FROM velsql_values WHERE item_name = 'counter'")),
                    scans, scans + 1);
    findings.Expect("the last count",
                    ask(QStringLiteral("SELECT max(value_number) FROM velsql_values WHERE item_name = 'counter'")),
                    scans, scans + 1);
    const QString levels[] = {QStringLiteral("minutes"), QStringLiteral("hours"), QStringLiteral("days")};
    const qint64 each[] = {1, 60, MinutesADay};
    for (int i = 0; i < 3; ++i) {
        const QString whole =
            QStringLiteral("SELECT count(*) FROM velsql_%1 WHERE item_name = 'wave' AND value_count = %2")
                .arg(levels[i])
                .arg(each[i]);
        findings.Expect(levels[i].toLatin1().constData(), ask(whole), scans / each[i], scans / each[i] + (i == 0));
    }
    findings.Expect(
        "least mean of a day in millionths",
        ask(QStringLiteral(
            "SELECT 1e6 * min(mean_value) FROM velsql_days WHERE item_name = 'wave' AND value_count = 1440")),
        499'600, 499'700);
    findings.Expect("what never changes, each hour",
                    ask(QStringLiteral("SELECT count(*) FROM velsql_values WHERE item_name = 'steady'")), days * 24,
                    days * 24 + 1);
    const auto between = [&](const char* from, const char* to) {
        return ask(QStringLiteral("SELECT count(*) FROM everything WHERE item_name = 'counter' AND item_time >= '%1' "
                                  "AND item_time < '%2'")
                       .arg(QLatin1String(from), QLatin1String(to)));
    };
    if (days > 31)
        findings.Expect("values of the hour that is left out", between("2024-03-31 02:00", "2024-03-31 03:00"), 0);
    if (days > 241)
        findings.Expect("values of the hour that comes twice", between("2024-10-27 02:00", "2024-10-27 03:00"), 120);
}

/// Days from Begin until the oldest record that is kept.
qint64 OldestKept(const Findings& findings)
{
    return findings.Ask(
        QStringLiteral("kept"),
        QStringLiteral("SELECT (min(item_utc) / 1000000 - %1) / %2 FROM velsql_values").arg(Begin).arg(SecondsADay));
}

/// Of so many days, in kB.
qint64 MostHeap(ClockedPlant& plant, int days)
{
    std::size_t most = 0;
    for (int day = 0; day < days; ++day) {
        plant.Run(24h);
        most = std::max(most, mallinfo2().uordblks);
    }
    return static_cast<qint64>(most / 1000);
}

/// A machine that sleeps at night: what is kept by age goes all the same.
void CheckNights(ClockedPlant& plant, Findings& findings, int days, int nights)
{
    for (int night = 0; night < nights; ++night) {
        plant.Run(10h);
        DrivenTime::Sleep(14h);
    }
    plant.Run(1h);
    findings.Expect("day of the oldest after nights asleep", OldestKept(findings), days + nights - KeptDays - 3,
                    days + nights - KeptDays);
}

/// Somebody sets the clock: what is kept by age is left alone for a day. A file goes as a whole, and the last one before
/// the jump has records from behind it.
void CheckJumps(ClockedPlant& plant, Findings& findings, int days)
{
    const qint64 oldest = OldestKept(findings);
    DrivenTime::SetClock(24h * 400);
    plant.Run(23h);
    findings.Expect("day of the oldest, 23 hours after the clock was set 400 days forward", OldestKept(findings),
                    oldest);
    plant.Run(4h);
    findings.Expect("day of the oldest, 27 hours after", OldestKept(findings), days - 3, days);
    DrivenTime::SetClock(-24h * 400);
    plant.Run(30h);
    findings.Expect("day of the oldest once it is set back", OldestKept(findings), days - 3, days);
}

/// Signals follow the time that passes, and not the clock.
void CheckWave(Findings& findings)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
    const QString last = QStringLiteral("SELECT 1e6 * value_number FROM velsql_values WHERE item_name = 'wave' AND "
                                        "item_utc <= %1 ORDER BY item_utc DESC LIMIT 1");
    const qint64 secondOfTurn = DrivenTime::Passed() / 1s % SecondsADay;
    const qint64 height = 1'000'000 * secondOfTurn / SecondsADay;
    findings.Expect("the wave in millionths", findings.Ask(QStringLiteral("everything"), last.arg(now)), height - 710,
                    height);
}

} // namespace

bool RunDays(int days)
{
    constexpr int Nights = 10;
    constexpr qint64 HoursAfterwards = 10 * Nights + 1 + 23 + 4 + 30;
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("history.db"));
    QElapsedTimer watch; // begins before the time is driven, and is asked behind it
    watch.start();
    Findings findings(path);
    DrivenTime::Begin(Begin, 1);
    {
        const auto loop = KjLoop::OfThisThread();
        ClockedPlant plant(*loop, path);
        const qint64 first = MostHeap(plant, days / 2), second = MostHeap(plant, days - days / 2);
        findings.Expect("heap's growth from the first half to the second in kB", second - first, -100'000, 500);
        CheckSummaries(findings, days);
        findings.Expect("day of the oldest that is kept", OldestKept(findings), days - KeptDays - 3, days - KeptDays);
        CheckNights(plant, findings, days, Nights);
        CheckJumps(plant, findings, days + Nights);
        CheckWave(findings);
        const QString scans = QStringLiteral("SELECT count(*) FROM velsql_values WHERE item_name = 'counter'");
        const qint64 due = days * MinutesADay + HoursAfterwards * 60;
        findings.Expect("scans at the end", findings.Ask(QStringLiteral("everything"), scans), due, due + 1);
    }
    DrivenTime::End();
    std::cout << days << " days took " << static_cast<double>(watch.elapsed()) / 1000.0 << " s" << std::endl;
    return findings.AreRight();
}
