#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QImage>

using namespace Qt::StringLiterals;

namespace {

struct Outcome
{
    int Code;
    QString Error;
};

/// What the program says, run where there is no display.
Outcome RunTrend(const QStringList& arguments, const QString& folder, bool hasServer = true)
{
    QProcess trend;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s}) environment.remove(name);
    if (!hasServer) environment.insert(u"VELSQL_REMOTE_SOCKET"_s, folder + u"/none"_s);
    trend.setProcessEnvironment(environment);
    trend.setWorkingDirectory(folder);
    trend.start(QFileInfo(RealServer::Program()).path() + u"/velsqltrend"_s, arguments);
    EXPECT_TRUE(trend.waitForFinished(30'000));
    return {trend.exitCode(), QString::fromUtf8(trend.readAllStandardError())};
}

} // namespace

TEST(Report, IsWrittenWithoutADisplayAndSaysWhatIsMissing)
{
    RealServer server;
    server.Start();
    RemoteLibrary library(server.SocketPath(), QString());
    library.CreateEngine()->Start();
    const QTemporaryDir folder;
    const auto bytes = [&](const QString& name) {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const Outcome whole = RunTrend({u"--png"_s, u"a.png"_s, u"--size"_s, u"400x300"_s, u"--scale"_s, u"2"_s, u"--csv"_s,
                                    u"a.csv"_s, u"--intervals"_s, u"4"_s, u"--from"_s, u"-8 s"_s, u"PLC1\\D100"_s},
                                   folder.path());
    EXPECT_EQ(whole.Code, 0) << whole.Error.toStdString();
    EXPECT_EQ(QImage::fromData(bytes(u"a.png"_s)).size(), QSize(800, 600));
    EXPECT_EQ(bytes(u"a.csv"_s).count("\r\n"), 5);
    EXPECT_TRUE(bytes(u"a.csv"_s).endsWith(",25,25,25\r\n")) << bytes(u"a.csv"_s).constData();

    const QStringList past = {u"--png"_s, u"b.svg"_s, u"--from"_s, u"-2 h"_s, u"--to"_s, u"-1 h"_s};
    const Outcome missing = RunTrend(past + QStringList{u"PLC1\\D100"_s, u"PLC1\\No"_s}, folder.path());
    EXPECT_EQ(missing.Code, 1);
    EXPECT_EQ(missing.Error, u"velsqltrend: PLC1\\No: Controller \"PLC1\" has no item \"No\".\n"_s);
    EXPECT_TRUE(bytes(u"b.svg"_s).contains("No data in this span."));
    const Outcome table =
        RunTrend({u"--csv"_s, u"b.csv"_s, u"--from"_s, u"-1 min"_s, u"PLC1\\D100"_s, u"PLC1\\No"_s}, folder.path());
    EXPECT_EQ(table.Code, 1);
    EXPECT_TRUE(table.Error.startsWith(missing.Error + u"velsqltrend: PLC1\\D100: nothing of it is recorded; "_s))
        << table.Error.toStdString();
    EXPECT_TRUE(bytes(u"b.csv"_s).startsWith("Time,UTC,PLC1\\D100,PLC1\\No\r\n")) << bytes(u"b.csv"_s).constData();
    EXPECT_TRUE(bytes(u"b.csv"_s).endsWith(",25,\r\n")) << bytes(u"b.csv"_s).constData();
    const Outcome absent = RunTrend(past + QStringList{u"PLC1\\D100"_s}, folder.path(), false);
    EXPECT_EQ(absent.Code, 3) << absent.Error.toStdString();
    EXPECT_FALSE(absent.Error.isEmpty());
}

TEST(Report, IsRefusedWhenAnOptionIsWrong)
{
    const QTemporaryDir folder;
    const QStringList png = {u"--png"_s, u"a.png"_s};
    for (const QStringList& wrong :
         {QStringList{u"--png"_s, u"a.gif"_s}, QStringList{u"--dark"_s}, png + QStringList{u"--intervals"_s, u"5"_s},
          png + QStringList{u"--size"_s, u"0x5"_s}, png + QStringList{u"--size"_s, u"9999x5"_s, u"--scale"_s, u"2"_s},
          png + QStringList{u"--scale"_s, u"nan"_s}, QStringList{u"--csv"_s, u"a.csv"_s, u"--intervals"_s, u"0"_s}}) {
        EXPECT_EQ(RunTrend(wrong, folder.path()).Code, 2) << wrong.join(u' ').toStdString();
    }
    EXPECT_EQ(RunTrend(png + QStringList{u"none.velsqltrend"_s}, folder.path()).Code, 1);
}
