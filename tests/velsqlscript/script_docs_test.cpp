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
    EXPECT_EQ(count, 11);
}
