#include "server/sqlitehistory/PartitionFolder.h"
#include "server/sqlitehistory/PartitionWriter.h"
#include "tests/server/NoMoreFiles.h"
#include "tests/support/PrintQt.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <barrier>
#include <future>

using namespace Qt::StringLiterals;

TEST(PartitionFiles, ThatCannotBeListedAreNotTakenForNone)
{
    const QTemporaryDir place;
    const QString database = place.filePath(u"history.db"_s);
    const PartitionFolder folder(database, u"velsql_history"_s);
    QDir().mkpath(folder.Path());
    const NoMoreFiles none;
    EXPECT_THROW(folder.Files(), DescribedError);
    EXPECT_THROW(PartitionFolder::Tables(database), DescribedError);
}

// A server's recording and a client's statement, both the first ones.
TEST(PartitionFiles, AreMadeBySeveralAtOnceAndNobodyLosesAnything)
{
    const QTemporaryDir place;
    constexpr quint64 Threads = 4;
    for (int round = 0; round < 25; ++round) {
        const QString path = place.filePath(u"part%1/1000000.db"_s.arg(round));
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        std::barrier ready(Threads);
        std::vector<std::future<void>> all;
        for (quint64 spool = 1; spool <= Threads; ++spool)
            all.push_back(std::async(std::launch::async, [&, spool] {
                ready.arrive_and_wait();
                PartitionWriter writer(path, RowPartition::Access::Create);
                SqliteTransaction transaction(writer.File());
                writer.Note({spool, 7});
                transaction.Commit();
            }));
        for (auto& one : all) EXPECT_NO_THROW(one.get());
        const PartitionWriter made(path, RowPartition::Access::Existing);
        for (quint64 spool = 1; spool <= Threads; ++spool) ASSERT_EQ(made.Written(spool), 7U) << round;
    }
}
