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

} // namespace

TEST(DailyScripts, WatchReportAndExportAsTheManualShows)
{
    RealServer server;
    server.Start();
    EXPECT_EQ(RunExample(u"limit-watch.js"_s), Shown(u"limit-watch.js"_s) + u"(1)"_s);
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
