#include "server/sqlitehistory/Backup.h"
#include "server/sqlitehistory/ClockMemory.h"
#include "server/sqlitehistory/SqliteTable.h"
#include "server/sqlitehistory/TimeKey.h"
#include "tests/server/AskedHistory.h"

#include <gtest/gtest.h>

namespace {

class SqliteHistoryTest : public ::testing::Test
{
protected:
    /// Enough for some chunks and a rest in the log.
    static constexpr int Many = 70'000;

    void RecordMany(AskedHistory& history)
    {
        for (int i = 0; i < Many; ++i) history.Record(u"Item%1"_s.arg(i % 7), i % 11 == 0 ? Variant(i * 0.25) : i);
        ASSERT_TRUE(history.Flush());
    }
    PartitionFile Newest() const { return m_Folder.Files().back(); }
    void Damage(const QString& path) const
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(20'000));
        for (int i = 0; i < 400; ++i) file.write("This is no page of a database.");
    }

    QTemporaryDir m_Place;
    QString m_Path = m_Place.filePath(u"%1 %2.db"_s);
    HistorySettings m_Settings = RecordingInto(u"Driver=SQLite;Database="_s + m_Path);
    PartitionFolder m_Folder{m_Path, u"velsql_history"_s};
};

const QString s_Count = u"SELECT count(*) AS c FROM velsql_history"_s;

/// What operators may insert, however little of it is a time.
const QString s_Odd =
    u"('PLC1','Item3',1.5,'2024-01-31 00:00'), ('PLC1','Item3','7.0',NULL), ('PLC2','item3','x','soon'), "
    "('PLC1','Item4',x'00ff','2024-02-30 12:00:00'), ('PLC1','Item4',NULL,x'01'), "
    "('PLC1','Item4',9223372036854775807,''), ('PLC1','Item4','1e3',' 5 '), "
    "('PLC2','Item0',-0.0,'2024-01-31 00:00:01.000500'), ('','',1e300,12.5)"_s;

} // namespace

TEST_F(SqliteHistoryTest, AnswersAndChangesAsAPlainTable)
{
    AskedHistory history(m_Settings);
    RecordMany(history);
    EXPECT_EQ(history.Ask(u"INSERT INTO velsql_history VALUES "_s + s_Odd), QString());
    history.Ask(u"CREATE TABLE plain (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT)"_s);
    history.Ask(u"INSERT INTO plain SELECT * FROM velsql_history"_s);
    const QStringList questions = {
        u"SELECT count(*), sum(item_value), min(item_time), max(item_time) FROM T"_s,
        u"SELECT item_name, count(*), avg(item_value), count(DISTINCT item_time) FROM T GROUP BY item_name"_s,
        u"SELECT typeof(item_value), typeof(item_time), count(*) FROM T GROUP BY 1, 2"_s,
        u"SELECT * FROM T ORDER BY item_time LIMIT 12"_s,
        u"SELECT item_time FROM T ORDER BY item_time DESC LIMIT 30 OFFSET 3"_s,
        u"SELECT group_concat(item_value) FROM (SELECT * FROM T WHERE item_name = 'Item5' ORDER BY item_time LIMIT 999)"_s,
        u"SELECT count(*), min(item_value) FROM T WHERE item_time >= '2024-01-31 00:01' AND item_time < '2024-01-31 00:02'"_s,
        u"SELECT count(*) FROM T WHERE item_time > '2024-01-31 00:00:01.0005' AND item_time <= '2024-01-31 00:00:01.000500'"_s,
        u"SELECT count(*) FROM T WHERE item_time = '2024-01-31 00:00:15.000000' OR item_time IS NULL OR item_time > x'00'"_s,
        u"SELECT count(*) FROM T WHERE item_name = 'ITEM3' COLLATE NOCASE AND controller_name IN ('PLC1', 'PLC2')"_s,
        u"SELECT count(*) FROM T WHERE item_name IN ('Item1', 'Item2') AND item_value = '22'"_s,
        u"SELECT count(*) FROM T WHERE item_name = NULL OR item_time < 3 OR item_time = 12.5"_s,
        u"SELECT hex(item_value), item_time FROM T WHERE item_name = 'Item4' AND typeof(item_value) IN ('blob', 'null')"_s,
        u"SELECT a.item_value, b.item_value FROM T AS a JOIN T AS b ON a.item_time = b.item_time AND b.item_name = 'Item1' WHERE a.item_name = 'Item0' AND a.item_time < '2024-01-31 00:00:02'"_s};
    const QStringList changes = {
        u"UPDATE T SET item_value = item_value + 1 WHERE item_name = 'Item2' AND typeof(item_value) = 'integer'"_s,
        u"UPDATE T SET item_name = 'Item9', item_time = '2024-01-31 00:00:59.5' WHERE item_value BETWEEN 500 AND 600"_s,
        u"DELETE FROM T WHERE item_time >= '2024-01-31 00:01' AND item_time < '2024-01-31 00:01:30' AND item_name <> 'Item1'"_s,
        u"DELETE FROM T WHERE item_value = 'x' OR item_time IS NULL"_s,
        u"DELETE FROM T WHERE item_name = 'Item6'"_s,
        u"INSERT INTO T SELECT controller_name, 'Copy', item_value, item_time FROM T WHERE item_name = 'Item1'"_s};
    const auto ask = [&](QString statement, const QString& table) {
        return history.Ask(statement.replace(QRegularExpression(u"\\bT\\b"_s), table));
    };
    const auto compare = [&](const QString& when) {
        for (const QString& question : questions)
            EXPECT_EQ(ask(question, u"velsql_history"_s), ask(question, u"plain"_s))
                << when.toStdString() << ": " << question.toStdString();
        const QString levels[] = {u"minutes', 60000000"_s, u"hours', 3600000000"_s, u"days', 86400000000"_s};
        for (const QString& level : levels) {
            const QString name = level.section(u'\'', 0, 0), span = level.section(u' ', 1);
            const QString columns = u"SELECT item_name, %1, %2, min(%3), max(%4), round(%5, 6) FROM "_s;
            const QString kept = u"SELECT item_name, start_utc, value_count, smallest, largest, round(mean_value, 6), "
                                 "number_count FROM velsql_%1 WHERE controller_name = 'PLC1' ORDER BY 1, 2"_s.arg(name);
            const QString reckoned =
                u"SELECT item_name, item_utc / %1 * %1 AS start_utc, count(*) AS value_count, "
                "min(value_number) AS smallest, max(value_number) AS largest, "
                "round(avg(value_number), 6), count(value_number) AS number_count FROM velsql_values "
                "WHERE controller_name = 'PLC1' AND item_utc IS NOT NULL GROUP BY 1, 2 ORDER BY 1, 2"_s.arg(span);
            EXPECT_EQ(history.Ask(kept).section(u'\n', 1), history.Ask(reckoned).section(u'\n', 1))
                << when.toStdString() << name.toStdString();
        }
    };
    compare(u"recorded"_s);
    for (const QString& change : changes) {
        EXPECT_EQ(ask(change, u"velsql_history"_s), ask(change, u"plain"_s)) << change.toStdString();
        compare(change);
    }
}

TEST_F(SqliteHistoryTest, OfOneTimeTheLastRecordedIsTheNewest)
{
    AskedHistory history(m_Settings);
    const auto insert = [&](int value) {
        history.Ask(u"INSERT INTO velsql_history VALUES ('P', 'S', %1, '2024-01-31 00:00:30')"_s.arg(value));
    };
    for (const int value : {3, 1}) insert(value);
    RecordMany(history); // in other chunks than what comes before and behind
    for (const int value : {2, 4}) insert(value);
    for (const auto& [order, values] : {std::pair(u"item_time"_s, u"3,1,2,4"_s), {u"item_time DESC"_s, u"4,2,1,3"_s}})
        EXPECT_EQ(history.Ask(u"SELECT group_concat(item_value) AS all_values FROM (SELECT item_value FROM "
                              "velsql_history WHERE item_name = 'S' ORDER BY %1)"_s.arg(order)),
                  u"all_values\n"_s + values);
}

TEST_F(SqliteHistoryTest, PartsThatAreGoneOrDamagedCostOnlyThemselves)
{
    {
        AskedHistory history(m_Settings);
        RecordMany(history);
        QFile::remove(Newest().Path);
        history.Record(u"A"_s, 1);
        EXPECT_TRUE(history.Flush());
        EXPECT_EQ(history.Ask(s_Count), u"c\n1") << "recording goes on in a new one";
    }
    const QString kept = Newest().Path;
    {
        AskedHistory history(m_Settings);
        RecordMany(history);
    }
    Damage(kept);
    testing::internal::CaptureStderr();
    AskedHistory history(m_Settings);
    RecordMany(history);
    EXPECT_TRUE(history.Flush());
    history.Ask(s_Count);
    EXPECT_GE(history.Ask(s_Count).section(u'\n', 1).toInt(), Many);
    const QByteArray log = QByteArray::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.count("set aside as " + kept.toUtf8() + ".damaged-"), 1) << log.constData();
}

TEST_F(SqliteHistoryTest, WhatIsKeptFollowsSizeAgeAndCount)
{
    struct Rule
    {
        HistoryDestination Keeps;
        int Least;
        int Most;
    };
    const HistoryDestination& plain = m_Settings.Destinations[0];
    HistoryDestination size = plain, many = plain, few = plain;
    size.MaxBytes = 1'200'000;
    many.MaxRecord = 100'000;
    few.MaxRecord = 1000;
    // On a busy machine records come in smaller blocks, which take more room.
    for (const Rule& rule : {Rule{size, 5'000, 4 * Many}, {many, 100'000, 110'000}, {few, 1000, 1000}}) {
        QDir(m_Path + u".parts"_s).removeRecursively();
        m_Settings.Destinations[0] = rule.Keeps;
        AskedHistory history(m_Settings);
        const auto count = [&] { return history.Ask(s_Count).section(u'\n', 1).toInt(); };
        // Partitions go as new ones are begun, so it may take more records than just too many.
        for (int i = 0; i < 5 || (i < 10 && count() > rule.Most); ++i) RecordMany(history);
        const int rows = count();
        EXPECT_GE(rows, rule.Least);
        EXPECT_LE(rows, rule.Most);
        const QString last = history.Ask(u"SELECT max(item_value) AS m FROM velsql_history"_s);
        EXPECT_EQ(last, u"m\n%1"_s.arg(Many - 1)) << "the newest stay";
        if (rule.Keeps.MaxBytes) {
            qint64 bytes = 0;
            for (const PartitionFile& file : m_Folder.Files()) bytes += file.Bytes();
            EXPECT_LE(bytes, 1'800'000);
        }
    }
}

TEST_F(SqliteHistoryTest, WhatIsKeptFollowsAge)
{
    m_Settings.Destinations[0].Keep = std::chrono::hours(24 * 365);
    SqliteTable table(m_Settings.Destinations[0]);
    SpoolPosition position{7, 0};
    for (const int days : {800, 500, 10, 0}) {
        const TimeStamp time = std::chrono::system_clock::now() - std::chrono::hours(24 * days);
        const std::vector<RecordedValue> values(70'000, {u"PLC1"_s, u"A"_s, days, time});
        position.Sequence += values.size();
        table.Write(values, position);
    }
    qint64 rows = 0;
    for (const PartitionFile& file : m_Folder.Files()) rows += PartitionFolder::ContentsOf(file).Range.Rows;
    EXPECT_EQ(rows, 140'000);
    EXPECT_EQ(table.Written(7), position.Sequence) << "known in each partition";
}

TEST_F(SqliteHistoryTest, AClockThatWasSetIsNotTrustedForADay)
{
    using namespace std::chrono_literals;
    struct Step
    {
        std::chrono::minutes Passing;
        std::chrono::minutes Shown;
        bool IsServerNew;
        bool IsTrusted;
    };
    constexpr auto year = 365 * 24h;
    ClockTime now{{}, std::chrono::system_clock::time_point(1000 * 24h)};
    PartitionWriter newest(m_Place.filePath(u"part.db"_s), RowPartition::Access::Create);
    ClockMemory memory(newest);
    std::optional<ClockWatch> watch;
    for (const auto& [passing, shown, isServerNew, isTrusted] : {Step{0min, 0min, true, true},
                                                                 {1min, 61min, false, true},
                                                                 {1min, -60min, false, false},
                                                                 {1min, 1min, true, false},
                                                                 {23h, 23h, false, false},
                                                                 {61min, 61min, false, true},
                                                                 {2 * 24h, 2 * 24h, true, false},
                                                                 {24h, 24h, false, true},
                                                                 {1min, year, false, false},
                                                                 {23h, 23h, false, false},
                                                                 {1min, -year, false, false},
                                                                 {23h, 23h, true, false},
                                                                 {61min, 61min, false, true}}) {
        now.Passing += passing;
        now.Shown += shown;
        if (isServerNew) watch.emplace(now).Begin(memory, now);
        EXPECT_EQ(watch->IsTrusted(memory, now), isTrusted) << now.Shown.time_since_epoch() / 1min;
        HistoryRow row;
        row.Local = now.Shown.time_since_epoch() / 1us;
        Chunk range;
        range.Add(row);
        RowBlockWriter block;
        block.Append(row);
        newest.Append(block, range);
    }
}

TEST_F(SqliteHistoryTest, AnHourThatComesTwiceIsTwoHours)
{
    qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    {
        SqliteTable table(m_Settings.Destinations[0]);
        for (const qint64 second : {1729989000, 1729992600}) // 2024-10-27 00:30 and 01:30 UTC
            table.Write(std::vector<RecordedValue>{{u"PLC1"_s, u"A"_s, 1, TimeStamp{std::chrono::seconds(second)}, 2}},
                        {});
    }
    AskedHistory history(m_Settings);
    EXPECT_EQ(history.Ask(u"SELECT item_time, CAST(item_utc AS TEXT) AS u, item_state FROM velsql_values"_s),
              u"item_time,u,item_state\n2024-10-27 02:30:00.000000,1729989000000000,2\n"
              "2024-10-27 02:30:00.000000,1729992600000000,2");
    EXPECT_EQ(history.Ask(u"SELECT start_time, worst_state FROM velsql_hours"_s),
              u"start_time,worst_state\n2024-10-27 02:00:00.000000,2\n2024-10-27 02:00:00.000000,2");
    qunsetenv("TZ");
}

TEST_F(SqliteHistoryTest, APlainTableIsTakenOverThoughInterruptedAndABackupIsOne)
{
    {
        const DatabaseSession session{DatabaseAddress(u"Database="_s + m_Path)};
        session.Run(
            u"CREATE TABLE velsql_history (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT)"_s);
        session.Run(u"INSERT INTO velsql_history VALUES "_s + s_Odd);
        session.Run(
            u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT 60000) INSERT INTO velsql_history "
            "SELECT 'PLC1', 'Item' || i % 50, i, datetime(1700000000 + i, 'unixepoch') || '.000000' FROM n"_s);
    }
    const QString all =
        u"SELECT count(*), sum(item_value), min(item_time), count(DISTINCT item_name || typeof(item_value)) "
        "FROM velsql_history"_s;
    const QString before = [&] {
        AskedHistory history(RecordingInto(u"Database="_s + m_Path + u".other"_s));
        return history.Ask(u"SELECT 1"_s);
    }();
    EXPECT_EQ(before, u"1\n1");
    for (int start = 0; start < 5; ++start) {
        AskedHistory history(m_Settings);
        history.Record(u"Live"_s, start);
        ASSERT_TRUE(history.Flush());
    }
    AskedHistory history(m_Settings);
    WaitUntil(
        [&] { return history.Ask(u"SELECT 1 FROM velsql_history_old"_s) == u"no such table: velsql_history_old"; },
        60'000);
    EXPECT_EQ(history.Ask(s_Count), u"c\n60014");
    EXPECT_EQ(history.Ask(u"SELECT count(*) AS c FROM (SELECT DISTINCT * FROM velsql_history)"_s), u"c\n60014");
    const QString backup = m_Place.filePath(u"backup.db"_s);
    EXPECT_EQ(BackUpHistory(m_Settings.Destinations[0], backup), 60'014);
    EXPECT_EQ(OutcomeOf([&] {
                  BackUpHistory(m_Settings.Destinations[0], backup);
                  return QString();
              }),
              u"%1 exists already."_s.arg(backup));
    const QString wanted = history.Ask(all);
    const DatabaseSession plain{DatabaseAddress(u"Database="_s + backup)};
    EXPECT_EQ(plain.Ask(s_Count).toInt(), 60'014);
    AskedHistory restored(RecordingInto(u"Database="_s + backup));
    const QString plainTables =
        u"SELECT count(*) FROM sqlite_master WHERE name IN ('velsql_history', 'velsql_history_old')"_s;
    EXPECT_TRUE(WaitUntil([&] { return plain.Ask(plainTables).toString() == u"0"; }, 60'000)) << "all is taken over";
    EXPECT_EQ(restored.Ask(all), wanted);
}
