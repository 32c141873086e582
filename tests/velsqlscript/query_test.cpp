#include "tests/velsqlscript/ScriptProcess.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const QString Endless = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"_s;

QString RunQuery(const QStringList& arguments)
{
    return ScriptProcess({}, arguments).Finish();
}

class Query : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_Server.Start();
        Write("old");
    }
    QString Path() const { return m_Folder.filePath(u"rows.csv"_s); }
    void Write(const QByteArray& bytes)
    {
        QFile file(Path());
        ASSERT_TRUE(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size());
    }
    /// All files of the folder with what they hold.
    QByteArray Left() const
    {
        QByteArray left;
        for (const QString& name : QDir(m_Folder.path()).entryList(QDir::Files)) {
            QFile file(m_Folder.filePath(name));
            EXPECT_TRUE(file.open(QFile::ReadOnly));
            left += name.toUtf8() + ": " + file.readAll();
        }
        return left;
    }

    RealServer m_Server;
    QTemporaryDir m_Folder;
};

} // namespace

TEST_F(Query, PrintsItsRowsOrSaysWhatWentWrong)
{
    const QString one = u"SELECT 1 AS a, NULL AS a, '' AS b, 'x\"y' AS c, x'0A' AS d, 9223372036854775807 AS e"_s;
    const std::pair<QStringList, QString> cases[] = {
        {{one}, u"a\ta\tb\tc\td\te\n1\t\t\tx\"y\t0x0A\t9223372036854775807\n"_s},
        {{one, u"--csv"_s, u"-"_s}, u"a,a,b,c,d,e\r\n1,,\"\",\"x\"\"y\",0x0A,9223372036854775807\r\n"_s},
        {{one, u"--json=-"_s},
         u"[\n{\"a\": 1, \"a_2\": null, \"b\": \"\", \"c\": \"x\\\"y\", \"d\": \"0x0A\", "
         "\"e\": \"9223372036854775807\"}\n]\n"_s},
        {{u"CREATE TABLE t(a)"_s}, u"0 rows affected\n"_s},
        {{u"INSERT INTO t VALUES (1), (2)"_s}, u"2 rows affected\n"_s},
        {{u"DELETE FROM t WHERE a = 1"_s, u"--csv"_s, Path()}, u"1 row affected\n"_s},
        {{u"DELETE FROM t"_s, u"--json=-"_s}, {}},
        {{u"SELEC"_s, u"--csv"_s, Path()}, u"!velsqlscript: near \"SELEC\": syntax error\n(1)"_s},
        {{u"SELECT abs(-9223372036854775808)"_s, u"--csv"_s, Path()}, u"!velsqlscript: integer overflow\n(1)"_s},
        {{u"SELECT 1"_s, u"--json=/dev/full"_s},
         u"!velsqlscript: /dev/full: cannot be written: No space left on device\n(1)"_s},
        {{u"DROP TABLE t"_s, u"--csv=%1/no/x"_s.arg(m_Folder.path())},
         u"!velsqlscript: %1/no/x: cannot be written: No such file or directory\n(2)"_s.arg(m_Folder.path())},
        {{u"SELECT a FROM t"_s}, u"a\n"_s}, // the one before was not run
        {{u"SELECT"_s, u"*"_s},
         u"!velsqlscript: --query takes one statement, in quotes; \"*\" does not belong to it.\n(2)"_s},
    };
    for (const auto& [arguments, left] : cases) EXPECT_EQ(RunQuery(QStringList{u"--query"_s} + arguments), left);
    EXPECT_EQ(Left(), "rows.csv: old");
    m_Server.Terminate();
    EXPECT_EQ(RunQuery({u"--attach"_s, u"--query"_s, one}), u"!velsqlscript: No VelSQL server is running.\n(3)");
    EXPECT_EQ(RunQuery({u"--csv=x"_s}), u"!velsqlscript: --csv goes with --query.\n(2)");
}

TEST_F(Query, ReplacesItsFileWhenAllRowsAreThereAndNotWhenItIsInterrupted)
{
    for (const int signal : {SIGINT, SIGKILL}) {
        ScriptProcess query({}, {u"--query"_s, Endless, u"--csv"_s, Path()});
        const auto isRunning = [&] { return !m_Server.Answer(u"statements"_s).isEmpty(); };
        EXPECT_TRUE(QTest::qWaitFor(isRunning, 30'000)); // the file is open by then
        kill(static_cast<pid_t>(query.processId()), signal);
        EXPECT_EQ(query.Finish(), u"(signal %1)"_s.arg(signal));
        EXPECT_EQ(Left(), "rows.csv: old");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !isRunning(); }, 30'000));
    }

    EXPECT_EQ(RunQuery({u"--query"_s, Endless + u" LIMIT 200000"_s, u"--csv"_s, Path()}), QString());
    const QByteArray left = Left();
    EXPECT_TRUE(left.startsWith("rows.csv: i\r\n1\r\n") && left.endsWith("\r\n200000\r\n"));
    EXPECT_EQ(left.count("\r\n"), 200'001);
}
