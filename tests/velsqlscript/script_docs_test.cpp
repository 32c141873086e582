#include "scripttool/velsqlscript/Members.h"
#include "tests/velsqlscript/ScriptProcess.h"

TEST(ScriptDocs, ExamplesPrintWhatTheManualShows)
{
    // The fenced scripts, the example files that are linked, and the output that is shown behind each.
    static const QRegularExpression example(
        u"(?:```js\\n(.*?)```|^\\[[^\\]]*\\]\\((scripts/.*?)\\)[^`]*?)\\n\\n?```text\\n(.*?)```"_s,
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::MultilineOption);
    int count = 0;
    for (const auto& match : example.globalMatch(Manual())) {
        RealServer server;
        server.Start();
        ++count;
        const QString file = match.captured(2);
        EXPECT_EQ(file.isEmpty() ? RunScript(match.captured(1).toUtf8())
                                 : ScriptProcess({}, {QStringLiteral(VELSQL_DOCS "/") + file}).Finish(),
                  match.captured(3))
            << match.captured().toStdString();
    }
    EXPECT_EQ(count, 10);
}

TEST(ScriptDocs, TellEveryMember)
{
    using enum ObjectKind;
    for (const ObjectKind kind : {Engine, Controller, Item, History, ResultSet}) {
        const QString row = Manual().section(u"\n| %1 |"_s.arg(KindName(kind)), 1).section(u'\n', 0, 0);
        for (const Member& member : MembersOf(kind))
            EXPECT_TRUE(row.contains(u'`' + member.Name + (member.IsProperty ? u'`' : u'(')))
                << KindName(kind).toStdString() << '.' << member.Name.toStdString();
    }
}
