#include "core/automation/Errors.h"
#include "tests/server/AskedHistory.h"
#include "tests/server/NoMoreFiles.h"
#include "tests/server/ServerRun.h"

#include <gtest/gtest.h>
#include <QDirIterator>
#include <QRegularExpression>

#include <sys/wait.h>

namespace {

/// In a process of its own. Returns whether it came so far as to kill itself.
bool Crashes(const std::function<void()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFSIGNALED(status);
}

QString TailOf(quint64 spool)
{
    return u"/dev/shm/velsql-tail-%1"_s.arg(spool, 16, 16, QChar(u'0'));
}

/// A history whose database is away until LetIn.
class SpoolTest : public ::testing::Test
{
protected:
    SpoolTest()
    {
        m_Settings.Spool.Folder = m_Folder.filePath(u"%1 %2 spool"_s);
        QDir().mkpath(m_Path); // a folder where the file should be
    }

    /// The numbers of a run that cannot write them, and what it says of them.
    QString RecordWithoutDatabase(int from, int to)
    {
        testing::internal::CaptureStderr();
        {
            AskedHistory history(m_Settings);
            for (int i = from; i < to; ++i) {
                history.Record(u"A"_s, i);
                if (i % 5000 == 4999) Pause(40);
            }
        }
        return QString::fromStdString(testing::internal::GetCapturedStderr());
    }
    /// What has been written once the database is back, and what the server says of it.
    QString Written()
    {
        QDir().rmdir(m_Path);
        testing::internal::CaptureStderr();
        AskedHistory history(m_Settings);
        EXPECT_TRUE(history.Flush());
        m_Log = QString::fromStdString(testing::internal::GetCapturedStderr());
        return history.FirstOf(
            u"SELECT count(*) || ' ' || count(DISTINCT item_value) || ' ' || min(item_value) || ' ' || "
            "max(item_value) || ' ' || (SELECT count(*) FROM (SELECT item_value < "
            "lag(item_value) OVER () AS x FROM velsql_history) WHERE x) "
            "FROM velsql_history"_s);
    }
    /// The newest partition of the history.
    DatabaseSession Newest() const
    {
        return DatabaseSession(DatabaseAddress(u"Database=%1.parts/velsql_history/1000000.db"_s.arg(m_Path)));
    }
    QStringList Files(const QString& pattern) const
    {
        QStringList paths;
        QDirIterator files(m_Settings.Spool.Folder, {pattern}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) paths << files.next();
        paths.sort();
        return paths;
    }

    QTemporaryDir m_Folder;
    QString m_Path = m_Folder.filePath(u"history.db"_s);
    HistorySettings m_Settings = RecordingInto(u"Driver=SQLite;Database="_s + m_Path);
    QString m_Log;
};

} // namespace

TEST(SpoolFrameTest, ValuesKeepTheirTypesAndWhatNobodyWroteIsDamage)
{
    const QStringList values = {u"0,"_s,      u"1,"_s,       u"2,-7"_s,          u"3,-2147483648"_s, u"4,1.5"_s,
                                u"5,-0.1"_s,  u"6,12.3456"_s, u"7,2024-01-31"_s, u"8,\u00e4\u2713"_s, u"11,True"_s,
                                u"16,-128"_s, u"17,255"_s,   u"18,65535"_s,      u"19,4294967295"_s, u"8,"_s,
                                u"8204,{2,2},{8,}"_s};
    std::vector<RecordedValue> recorded;
    for (const QString& value : values) recorded.push_back({u"C"_s, value, ReadTypedText(value), TimeStamp(), 1});
    QByteArray frame = EncodeFrame(5, recorded);
    const RecordedValue farAway{u"C"_s, u"I"_s, Variant(SafeArray(QList<Date>{Date{1e9}})), TimeStamp(), 0};
    EXPECT_TRUE(DecodeFrame(EncodeFrame(1, std::span(&farAway, 1)))) << "what has no text as a date";
    const auto decoded = DecodeFrame(frame);
    ASSERT_TRUE(decoded);
    for (const RecordedValue& value : *decoded)
        EXPECT_EQ(WriteTypedText(value.Value), WriteTypedText(ReadTypedText(value.Item))) << value.Item.toStdString();
    EXPECT_FALSE(DecodeFrame(frame.replace(frame.size() - 3, 1, "x")));
}

TEST_F(SpoolTest, WhatOneServerCouldNotWriteTheNextOnesDoOnceAndInOrder)
{
    EXPECT_TRUE(RecordWithoutDatabase(0, 20'000).contains(u"20000 values wait on disk for the next start."));
    RecordWithoutDatabase(20'000, 20'003);
    EXPECT_EQ(QFile::permissions(Files(u"*.values"_s)[0]).toInt() & 0x077, 0);
    m_Settings.Destinations[0].TableName = u"other"_s;
    EXPECT_TRUE(RecordWithoutDatabase(0, 0).contains(u"Values wait in "_s)) << "for another table";
    m_Settings.Destinations[0].TableName = u"velsql_history"_s;
    EXPECT_EQ(Written(), u"8,20003 20003 0 20002 0");
    EXPECT_EQ(Written(), u"8,20003 20003 0 20002 0") << "not again";
    EXPECT_EQ(QDir(m_Settings.Spool.Folder).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
}

TEST_F(SpoolTest, WhatWasCommittedBeforeTheEndIsNotWrittenAgain)
{
    RecordWithoutDatabase(0, 10'000);
    const QString spool = Files(u"*.values"_s)[0].section(u'/', -2, -2);
    QDir().rmdir(m_Path);
    {
        m_Settings.Spool.Folder += u"2"_s; // a server that was killed when 7,000 of them had been committed
        AskedHistory history(m_Settings);
        for (int i = 0; i < 7000; ++i) history.Record(u"A"_s, i);
        ASSERT_TRUE(history.Flush());
        const auto id = static_cast<qint64>(spool.section(u'-', -1).toULongLong(nullptr, 16));
        Newest().Run(u"INSERT INTO positions VALUES (%1, 7000)"_s.arg(id));
        m_Settings.Spool.Folder.chop(1);
    }
    EXPECT_EQ(Written(), u"8,10000 10000 0 9999 0");
    EXPECT_EQ(Newest().Ask(u"SELECT count(*) FROM positions WHERE sequence <> 0"_s), 0) << "of no use now";
}

TEST_F(SpoolTest, DamageCostsTheDamagedPartOnlyAndIsSetAside)
{
    RecordWithoutDatabase(0, 20'000);
    RecordWithoutDatabase(20'000, 20'010);
    QFile file(Files(u"*.values"_s)[0]);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray bytes = file.readAll();
    const qsizetype second = bytes.indexOf("VSL1", 4);
    for (const qsizetype at : {second + 1, second + 2}) { // its mark: what follows has to be found anew
        file.seek(at);
        file.write("x");
    }
    file.seek(bytes.lastIndexOf("VSL1") + 60); // among its values
    file.write("broken");
    file.seek(file.size());
    file.write(bytes.first(30)); // and what a killed server leaves at the end
    file.close();
    const QStringList written = Written().mid(2).split(u' ');
    EXPECT_LT(written[0].toInt(), 20'010 - 1000);
    EXPECT_GT(written[0].toInt(), 1000);
    EXPECT_EQ(written.mid(1), QStringList({written[0], u"0"_s, u"20009"_s, u"0"_s}));
    EXPECT_EQ(m_Log.count(u"damaged and left out."), 1) << m_Log.toStdString();
    EXPECT_EQ(m_Log.count(u"their file is set aside as"), 1);
    EXPECT_EQ(Files(u"*"_s).size(), 1) << "what was set aside";
}

TEST_F(SpoolTest, TheOldestGoWhenItIsFullAndTheLogSaysWhich)
{
    m_Settings.Spool.MostBytes = 1024 * 1024;
    const QString log = RecordWithoutDatabase(0, 200'000);
    const QStringList written = Written().mid(2).split(u' ');
    const int count = written[0].toInt();
    EXPECT_GT(count, 20'000);
    EXPECT_EQ(written.mid(1), QStringList({written[0], QString::number(200'000 - count), u"199999"_s, u"0"_s}));
    static const QRegularExpression dropped(u"oldest are dropped, (\\d+) values from 2024-01-31 00:00:00 to "_s);
    EXPECT_TRUE(log.contains(dropped)) << log.toStdString();
}

TEST_F(SpoolTest, WhatCannotBeReadAtPresentIsReadLater)
{
    RecordWithoutDatabase(0, 20'000);
    const auto withoutFiles = [](const std::function<bool()>& work) {
        const NoMoreFiles none;
        return work();
    };
    Spool spool(m_Settings.Spool, NameOf(m_Settings.Destinations[0]), Durability::Process);
    EXPECT_FALSE(withoutFiles([&] { return spool.TakeOver(); }));
    EXPECT_TRUE(spool.TakeEmptied().empty()) << "how far they have been written must not be forgotten";
    EXPECT_TRUE(spool.TakeOver());
    EXPECT_THROW(withoutFiles([&] { return spool.Read(10).Values.empty(); }), DescribedError);
    EXPECT_EQ(spool.Read(10).First, 1u);
    EXPECT_EQ(spool.Count(), 20'000u);
}

TEST_F(SpoolTest, WithoutADiskValuesWaitInMemory)
{
    QFile inTheWay(m_Settings.Spool.Folder);
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    testing::internal::CaptureStderr();
    AskedHistory history(m_Settings);
    constexpr int count = 1'000'000; // more than memory is given to
    for (int i = 0; i < count; ++i) history.Record(u"A"_s, i);
    Pause(300);
    QDir().rmdir(m_Path);
    EXPECT_TRUE(history.Flush());
    const QString log = QString::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_TRUE(
        log.contains(u"error: History destination 1: Values that wait cannot be kept on disk, only in memory: "_s));
    const int written = history.FirstOf(u"SELECT count(*) FROM velsql_history"_s).mid(2).toInt();
    EXPECT_GT(written, 200'000);
    EXPECT_TRUE(log.contains(u" are written again; %1 were dropped meanwhile."_s.arg(count - written)))
        << log.toStdString();
}

TEST_F(SpoolTest, WhatOnlyMemoryHasOutlivesACrashOnceAndInOrder)
{
    constexpr quint64 count = 200'000; // several times what there is room for
    const auto valueAt = [](quint64 sequence) {
        const TimeStamp time{std::chrono::seconds(1'700'000'000) + std::chrono::milliseconds(sequence)};
        return RecordedValue{u"PLC1"_s, u"A"_s, static_cast<qint32>(sequence), time};
    };
    const auto crash = [&](const QString& root) {
        SpoolSettings settings = m_Settings.Spool;
        settings.Folder = root;
        Spool spool(settings, NameOf(m_Settings.Destinations[0]), Durability::Process);
        const auto tail = spool.MakeTail();
        quint64 sequence = 0;
        while (tail->Add(sequence + 1, valueAt(sequence + 1))) ++sequence;
        if (sequence < 50'000 || sequence > count / 2) return;
        for (tail->NoteSafe(sequence); sequence < count; ++sequence) {
            if (!tail->Add(sequence + 1, valueAt(sequence + 1))) return;
            if (sequence % 1000 == 999) tail->NoteSafe(sequence - 499);
        }
        std::vector<RecordedValue> onDisk;
        for (quint64 kept = count - 600; kept <= count - 400; ++kept) onDisk.push_back(valueAt(kept));
        spool.Append(count - 600, onDisk); // and does not come to say so
        raise(SIGKILL);
    };
    ASSERT_TRUE(Crashes([&] { crash(m_Settings.Spool.Folder); }));
    const QString other = m_Folder.filePath(u"other"_s);
    ASSERT_TRUE(Crashes([&] { crash(other); }));
    const auto spoolIn = [](const QString& root) {
        return QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0).section(u'-', -1).toULongLong(nullptr, 16);
    };
    const QString orphan = TailOf(spoolIn(other));
    const QString rescued = TailOf(spoolIn(m_Settings.Spool.Folder));
    EXPECT_TRUE(QFile::exists(orphan) && QFile::exists(rescued));
    ASSERT_TRUE(QDir(other).removeRecursively());

    EXPECT_EQ(Written(), u"8,601 601 199400 200000 0");
    EXPECT_FALSE(QFile::exists(rescued));
    EXPECT_FALSE(QFile::exists(orphan)) << "its spool's folder has been deleted";
    EXPECT_EQ(QDir(m_Settings.Spool.Folder).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
}

TEST_F(SpoolTest, WhatAClientSawAcknowledgedOutlivesTheServer)
{
    const QString plant = m_Folder.filePath(u"plant.toml"_s);
    WriteFile(plant, "[[history.destination]]\nconnection = \"Database=" + m_Path.toUtf8() +
                         "\"\n[[controller]]\nname = \"PLC1\"\n[[controller.item]]\nname = \"N\"\ntype = \"I4\"\n"
                         "history = true\n");
    RealServer server;
    qint32 number = 0;
    for (int round = 0; round < 4; ++round) {
        server.Start({u"--plant"_s, plant});
        TestClient client(server.SocketPath());
        for (const qint32 end = number + 200; number < end; ++number) {
            auto request = client.Item(u"N"_s).putValueRequest();
            client.Set(request.initValue(), Variant(number));
            Wait(request.send());
        }
        server.Kill();
    }
    QDir().rmdir(m_Path);
    server.Start({u"--plant"_s, plant});
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_EQ(Written(), u"8,800 800 0 799 0");
}
