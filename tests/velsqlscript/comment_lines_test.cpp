#include "scripttool/velsqlscript/CommentLines.h"

#include <gtest/gtest.h>

TEST(CommentLines, AreEmptiedWhereTheyAreNotPartOfAText)
{
    const std::pair<const char*, const char*> cases[] = {
        {"' a\n  \t' don't\nb", "\n  \t\nb"},
        {"a 'b'\r\n'c'\r\nd", "a 'b'\r\n\r\nd"},
        {"a = `\\`\n'kept`\n'gone", "a = `\\`\n'kept`\n"},
        {"a = `${ {b: `\n'kept`} }\n'kept ${\n'gone\n1}`\n'gone", "a = `${ {b: `\n'kept`} }\n'kept ${\n\n1}`\n"},
        {"/* `\n'kept */\n'gone", "/* `\n'kept */\n"},
        {"// don't `\n'gone", "// don't `\n"},
        {"a = \"`\" + '`' + '\\'`'\n'gone", "a = \"`\" + '`' + '\\'`'\n"},
        {"a = /[/`]'/.test(b) / 2\n'gone", "a = /[/`]'/.test(b) / 2\n"},
        {"a = b / c; d = `/\n'kept`", "a = b / c; d = `/\n'kept`"},
        {"a = 'not closed\n'gone", "a = 'not closed\n"},
    };
    for (const auto& [script, expected] : cases)
        EXPECT_EQ(WithoutCommentLines(QString::fromUtf8(script)).toStdString(), expected) << script;
}
