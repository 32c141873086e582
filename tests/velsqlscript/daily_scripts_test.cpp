#include "tests/support/PostgresRun.h"
#include "tests/velsqlscript/ScriptProcess.h"

#include <QDateTime>

namespace {

/// What the manual shows behind the link to a script.
QString Shown(const QString& script)
{
    return Manual().section(u"scripts/%1)"_s.arg(script), 1).section(u"```text\n"_s, 1).section(u"```"_s, 0, 0);
}

/// What the script prints, with its exit code.
QString RunExample(const QString& script)
{
    return ScriptProcess({}, {u"--attach"_s, QStringLiteral(VELSQL_DOCS "/scripts/") + script}).Finish();
}

/// Records of one day; the times without it. Begins when the server has made its table.
QString Record(const QString& day, const QString& rows)
{
    const QString script = u"for (let there = false; !there;) {\n"
                           "    try { Vlx.History.Execute('select 1 from velsql_history'); there = true; }\n"
                           "    catch (error) { sleep(50); }\n"
                           "}\n"
                           "Vlx.History.Execute(`insert into velsql_history values %1`);\n"_s;
    return RunScript(script.arg(QString(rows).replace(u'@', day + u' ')).toUtf8());
}

const QString s_Values = u"('PLC1','Level','62.5','@06:00:00'), ('PLC1','Level','78','@06:05:00.100000'),"
                         "('PLC1','Recipe','Lemonade, \"light\"','@06:05:00.250000'),"
                         "('PLC1','Level','84.5','@06:10:00')"_s;

/// A server that records into the database; nothing but what the test records, so that it is known.
void StartOn(RealServer& server, const QString& connection)
{
    QFile plant(QFileInfo(server.SocketPath()).dir().path() + u"/plant.toml"_s);
    QDir().mkpath(QFileInfo(plant).path());
    ASSERT_TRUE(plant.open(QFile::WriteOnly));
    plant.write("[[history.destination]]\nconnection = \"" + connection.toUtf8() +
                "\"\n[[controller]]\nname = \"PLC1\"\n");
    plant.close();
    server.Start({u"--plant"_s, plant.fileName()});
}

void ExpectReports(const QString& connection)
{
    RealServer server;
    ASSERT_NO_FATAL_FAILURE(StartOn(server, connection));
    EXPECT_EQ(Record(u"2024-01-31"_s, s_Values +
                                          u",('PLC1','Temperature','21.5','@06:00:00'),"
                                          "('PLC1','Temperature','22','@06:30:00'),"
                                          "('PLC1','Level','99','@08:00:00'), ('PLC2','Level','99','@07:00:00')"_s),
              QString());
    EXPECT_EQ(RunExample(u"csv-export.js"_s), Shown(u"csv-export.js"_s));
    const QString yesterday = QDate::currentDate().addDays(-1).toString(Qt::ISODate);
    EXPECT_EQ(RunExample(u"nightly-report.js"_s), yesterday + u": 0 records of 0 items\n"_s);
    EXPECT_EQ(
        Record(yesterday, s_Values + u",('PLC1','Recipe','','@07:00:00'), ('Archive','Batch','12','@06:20:00')"_s),
        QString());
    EXPECT_EQ(RunExample(u"nightly-report.js"_s).replace(yesterday, u"2024-01-31"_s), Shown(u"nightly-report.js"_s));
}

} // namespace

TEST(DailyScripts, ReportAndExportFromSqlite)
{
    const QTemporaryDir folder;
    ExpectReports(u"Driver=SQLite;Database="_s + folder.filePath(u"history.db"_s));
}

TEST(DailyScripts, ReportAndExportFromPostgres)
{
    const PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    ExpectReports(database.ConnectionString());
}

TEST(DailyScripts, LimitWatchTellsWhatIsWrongAndFails)
{
    RealServer server;
    server.Start();
    const QString broken = Shown(u"limit-watch.js"_s) + u"(1)"_s;
    EXPECT_EQ(RunExample(u"limit-watch.js"_s), broken);
    EXPECT_EQ(RunScript("Vlx.Controller('PLC1').Item('D100').Value = 10"), QString());
    ScriptProcess watch({}, {u"--attach"_s, QStringLiteral(VELSQL_DOCS "/scripts/limit-watch.js")});
    EXPECT_EQ(watch.ReadLine(), u"Items watched: 2"_s);
    EXPECT_EQ(RunScript("Vlx.Controller('PLC1').Stop()"), QString());
    const QString fault = watch.Finish(); // of the item that was looked at next
    EXPECT_EQ(fault.section(u' ', 1), u"is not scanned: its controller is not active\n(1)"_s) << fault.toStdString();
}
