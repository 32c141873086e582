#include "tests/support/PrintQt.h"
#include "tests/support/PrivateSshd.h"
#include "velsqllib/RemoteLink.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Outcome
{
    int Code;
    QString Output;
    QString Errors;
};

Outcome RunProgram(const QString& program, const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished();
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

Outcome RunScript(const QByteArray& script, const QString& host = u"plant"_s)
{
    return RunProgram(PrivateSshd::Program(u"velsqlremote"_s), {host, PrivateSshd::Program(u"velsqlscript"_s), u"-"_s},
                      script);
}

const QByteArray s_Names = "print(Vlx.ControllerNames)";
const QString s_NamesThere = u"[\"Kiln\"]\n"_s;

} // namespace

TEST(RemoteProgram, RunsAProgramOnTheServerThereAndLeavesNothing)
{
    const PrivateSshd machine;
    const Outcome outcome = RunScript(s_Names);
    EXPECT_EQ(outcome.Errors, QString());
    EXPECT_EQ(outcome.Output, s_NamesThere) << "the user's server there, started as locally";
    EXPECT_EQ(RunScript("throw 1").Code, 1) << "the program's own exit code";
    machine.InstallThere(u"velsqlserver"_s, "echo Welcome; printf 'you \\036VELSQL have mail'; exec " +
                                                PrivateSshd::Program(u"velsqlserver"_s).toUtf8() + " \"$@\"");
    EXPECT_EQ(RunScript(s_Names, u"behind"_s).Output, s_NamesThere) << "by a jump, and what start-up files write";
    EXPECT_EQ(QDir(machine.RuntimeHere()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    EXPECT_TRUE(QFile::exists(machine.Path(u"there/run/velsql/server.sock"_s)));
    for (const char* program : {"/usr/bin/ssh -F", "velsqlserver --connect"})
        EXPECT_TRUE(QTest::qWaitFor([&] { return machine.Processes(program).isEmpty(); }, 20'000)) << program;
}

TEST(RemoteProgram, ATrendShowsThePlantThere)
{
    const PrivateSshd machine;
    const QTemporaryDir folder;
    const QString csv = folder.filePath(u"heat.csv"_s);
    const Outcome outcome =
        RunProgram(PrivateSshd::Program(u"velsqlremote"_s), {u"plant"_s, PrivateSshd::Program(u"velsqltrend"_s),
                                                             u"--csv"_s, csv, u"--from"_s, u"-8 s"_s, u"Kiln\\Heat"_s});
    EXPECT_EQ(outcome.Code, 1) << "it is written, but the item is not recorded there";
    EXPECT_TRUE(outcome.Errors.contains(u"Kiln\\Heat: nothing of it is recorded"_s)) << outcome.Errors.toStdString();
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.startsWith("Time") && text.contains("Kiln\\Heat") && text.count('\n') > 1) << text.toStdString();
}

TEST(RemoteProgram, IsNoWayForAnotherUser)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
    PrivateSshd machine;
    machine.LinkTo(u"plant"_s);
    const QString here = qEnvironmentVariable(RemoteLink::Variable);
    const QString there = machine.Path(u"there/run/velsql/server.sock"_s);
    const QString script = u"import os, socket, sys\nos.setuid(int(sys.argv[1]))\ns = socket.socket(socket.AF_UNIX)\n"
                           "s.settimeout(2)\ns.connect(sys.argv[2])\nprint(s.recv(1))"_s;
    QProcess::execute(u"chmod"_s, {u"-R"_s, u"a+rwX"_s, machine.Path(QString())}); // no folder keeps anybody out
    for (const QString& socket : {here, there}) {
        const Outcome nobody = RunProgram(u"python3"_s, {u"-c"_s, script, u"65534"_s, socket});
        EXPECT_EQ(nobody.Output, u"b''\n"_s) << "is cut off: " << nobody.Errors.toStdString();
        EXPECT_TRUE(RunProgram(u"python3"_s, {u"-c"_s, script, u"0"_s, socket}).Errors.contains(u"timed out"_s));
    }
}

TEST(RemoteProgram, SaysWhyNoServerIsReachedAndStartsNone)
{
    const PrivateSshd machine;
    const auto refusal = [&](const QString& host, int code, const QString& part) {
        const Outcome outcome = RunScript(s_Names, host);
        EXPECT_EQ(outcome.Code, code) << host.toStdString();
        EXPECT_EQ(outcome.Output, QString());
        EXPECT_TRUE(outcome.Errors.startsWith(u"velsqlremote: "_s) && outcome.Errors.contains(part))
            << outcome.Errors.toStdString();
    };
    refusal(u"nowhere.invalid"_s, 3, u"The server on nowhere.invalid cannot be reached: ssh: Could not resolve"_s);
    refusal(u"changed"_s, 3, u"HOST IDENTIFICATION HAS CHANGED"_s);
    refusal(u"unknown"_s, 3, u"Host key verification failed."_s);
    refusal(u"stranger"_s, 3, u"Permission denied (publickey)."_s);
    refusal(u"-oProxyCommand=touch"_s, 2, u"-oProxyCommand"_s);
    const std::pair<QByteArray, QString> servers[] = {
        {"exit 127", u"no program \"velsqlserver\" was found on the path of its shell"_s},
        {"echo Unknown option >&2; exit 2", u"it may be too old\nUnknown option"_s},
        {"yes", u"more than 1 MB, and no bridge follows: \"y y"_s},
        {"printf '\\036VELSQL-BRIDGE 2 7.1.0 me\\n'; exec cat", u"version 7.1.0 there, and " VELSQL_VERSION " here"_s},
        {"printf '\\036VELSQL-BRIDGE 1 1.0.0 me\\nBoo'; exec cat", u"What arrives is not from the bridge"_s},
        {"printf '\\036VELSQL-BRIDGE '; head -c 2000 /dev/zero; exec cat", u"Its greeting is not clear."_s},
        {"exec " + PrivateSshd::Program(u"velsqlserver"_s).toUtf8() + " --connect --socket /tmp/s",
         u"/tmp is not one that only"_s},
    };
    for (const auto& [script, part] : servers) {
        machine.InstallThere(u"velsqlserver"_s, script);
        refusal(u"plant"_s, 3, part);
    }
    QFile::remove(machine.Path(u"here/bin/ssh"_s));
    qputenv("PATH", "/nonexistent");
    refusal(u"plant"_s, 3, u"no program \"ssh\" was found"_s);
    EXPECT_EQ(QDir(machine.RuntimeHere()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}
