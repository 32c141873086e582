#include "scripttool/velsqlscript/Members.h"
#include "tests/support/RealServer.h"
#include "tests/velsqlscript/ScriptProcess.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

const QString s_Docs = QStringLiteral(VELSQL_DOCS "/");

QString ReadText(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

struct Example
{
    QString Script; ///< a file's name when it has one line
    QString Output;
};

/// The fenced scripts of the manual, the example files that it links, and the output that it shows behind each.
QList<Example> Examples()
{
    static const QRegularExpression Shown(
        QStringLiteral("(?:```js\\n(.*?)```|^\\[[^\\]]*\\]\\((scripts/.*?)\\)[^`]*?)\\n\\n?```text\\n(.*?)```"),
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::MultilineOption);
    QList<Example> examples;
    auto matches = Shown.globalMatch(ReadText(s_Docs + QStringLiteral("scripting.md")));
    while (matches.hasNext()) {
        const auto match = matches.next();
        examples.append({match.captured(1) + match.captured(2), match.captured(3)});
    }
    return examples;
}

} // namespace

TEST(ScriptDocs, ExamplesPrintWhatTheManualShows)
{
    const QList<Example> examples = Examples();
    EXPECT_EQ(examples.size(), 10);
    for (const Example& example : examples) {
        RealServer server;
        server.Start();
        const bool isFile = !example.Script.contains(u'\n');
        const Outcome outcome = isFile ? RunFile(s_Docs + example.Script) : RunScript(example.Script.toUtf8());
        EXPECT_EQ(outcome, (Outcome{example.Output, QString(), 0})) << example.Script.toStdString();
    }
}

TEST(ScriptDocs, TellEveryMember)
{
    const QString manual = ReadText(s_Docs + QStringLiteral("scripting.md"));
    for (const ObjectKind kind :
         {ObjectKind::Engine, ObjectKind::Controller, ObjectKind::Item, ObjectKind::History, ObjectKind::ResultSet}) {
        const qsizetype begin = manual.indexOf(QStringLiteral("\n| %1 |").arg(KindName(kind)));
        const QString row = manual.mid(begin, manual.indexOf(u'\n', begin + 1) - begin);
        for (const Member& member : MembersOf(kind))
            EXPECT_TRUE(row.contains(u'`' + member.Name + (member.IsProperty ? u'`' : u'(')))
                << KindName(kind).toStdString() << '.' << member.Name.toStdString();
    }
}
