// A script, whose comment lines are emptied. All other lines stay as they are, each at its number, and nothing is left
// that would be emptied a second time.
#include "scripttool/velsqlscript/CommentLines.h"
#include "tests/fuzz/Fuzz.h"

#include <QStringList>

namespace {

QStringList LinesOf(QString text)
{
    for (const QChar end : {QChar(u'\r'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)})
        text.replace(end, u'\n');
    return text.split(u'\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    const QString script = TextOf(bytes, size);
    const QString left = WithoutCommentLines(script);
    const QStringList before = LinesOf(script), after = LinesOf(left);
    Require(after.size() == before.size());
    for (qsizetype i = 0; i < after.size(); ++i) {
        if (after[i] == before[i]) continue;
        Require(after[i].trimmed().isEmpty() && before[i].startsWith(after[i] + u'\''));
    }
    Require(WithoutCommentLines(left) == left);
    return 0;
}
