#include "core/automation/Errors.h"
#include "tests/scripttool/ScriptWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QRegularExpression>
#include <QTextBlock>

namespace {

struct Keys
{
    QString Before; // "|": the caret, "[" and "]": the selection
    QList<QPair<Qt::Key, Qt::KeyboardModifiers>> Pressed;
    QString After;
};

void Put(CodeEditor& editor, QString text)
{
    const int start = static_cast<int>(text.indexOf(QRegularExpression(u"[|\\[]"_s)));
    text.remove(start, 1);
    const int end = static_cast<int>(text.indexOf(u']'));
    if (end >= 0) text.remove(end, 1);
    editor.SetScript(text);
    QTextCursor cursor(editor.document());
    cursor.setPosition(start);
    cursor.setPosition(end < 0 ? start : end, QTextCursor::KeepAnchor);
    editor.setTextCursor(cursor);
}

/// What each character is painted as: c(omment), t(ext), n(umber), k(eyword) or ".".
QString Painted(const CodeEditor& editor)
{
    const auto ink = [&](int line) {
        return editor.document()->findBlockByNumber(line).layout()->formats().at(0).format.foreground();
    };
    const QList<QBrush> kinds{ink(0), ink(1), ink(2), ink(3)};
    QStringList lines;
    for (QTextBlock block = editor.document()->findBlockByNumber(4); block.isValid(); block = block.next()) {
        QString line(block.text().size(), u'.');
        for (const auto& range : block.layout()->formats())
            line.replace(range.start, range.length,
                         QString(range.length, u"ctnk"[kinds.indexOf(range.format.foreground())]));
        lines << line;
    }
    return lines.join(u'\n');
}

} // namespace

TEST_F(ScriptWindow, KeysOfTheEditor)
{
    const Keys cases[] = {
        {u"    if (x)|"_s, {{Qt::Key_Return, {}}, {Qt::Key_A, {}}}, u"    if (x)\n    a"_s},
        {u"  |  x"_s, {{Qt::Key_Enter, Qt::KeypadModifier}}, u"  \n    x"_s},
        {u"a[b\nc]d"_s, {{Qt::Key_Return, Qt::ShiftModifier}}, u"a\nd"_s},
        {u"ab|c"_s, {{Qt::Key_Tab, {}}}, u"ab  c"_s},
        {u"a[b\n\nc\n]d"_s, {{Qt::Key_Tab, {}}}, u"    ab\n\n    c\nd"_s},
        {u"      a[\n  b\n\tc]"_s, {{Qt::Key_Backtab, Qt::ShiftModifier}}, u"  a\nb\nc"_s},
        {u"a[\nb]"_s, {{Qt::Key_Tab, {}}, {Qt::Key_Z, Qt::ControlModifier}}, u"a\nb"_s},
    };
    for (const Keys& keys : cases) {
        SCOPED_TRACE(keys.Before.toStdString());
        Put(Editor(), keys.Before);
        for (const auto& [key, modifiers] : keys.Pressed) QTest::keyClick(&Editor(), key, modifiers);
        EXPECT_EQ(Editor().Script(), keys.After);
    }
}

TEST_F(ScriptWindow, TheScriptKeepsEveryCharacterAndHandsOutCrLf)
{
    m_Tool->put_Script(u"a\u00A0b\rc\u2028d\ne\r\n"_s);
    EXPECT_EQ(m_Tool->get_Script(), u"a\u00A0b\r\nc\r\nd\r\ne\r\n"_s);
    QApplication::clipboard()->setText(u"1\r\n2\u20293"_s);
    Editor().selectAll();
    Editor().paste();
    EXPECT_EQ(m_Tool->get_Script(), u"1\r\n2\r\n3"_s);
}

TEST_F(ScriptWindow, ATextThatIsTooLongIsRefused)
{
    m_Tool->put_Script(u"kept"_s);
    for (const QString& text : {u"x\n"_s.repeated(600'000), QString(40'000, u'x')}) {
        QApplication::clipboard()->setText(text);
        Editor().paste();
        EXPECT_TRUE(Status().startsWith(u"The text is too long: "_s));
        EXPECT_THROW(m_Tool->put_Script(text), ServerError);
        EXPECT_EQ(m_Tool->get_Script(), u"kept"_s);
    }
}

TEST_F(ScriptWindow, CommentsTextsNumbersAndKeywordsAreColoured)
{
    const QString script = u"let a = 0x1F + .5e-3 / b.let / 2; // c 'x'\n"
                           u" ' Vlx \"x\"\n"
                           u"+'a\\'b' + \"x//y\" + \"open\n"
                           u"/* if\n"
                           u"' 1 */ x1 = /[\"/]'\\//g.test(`a ${1}\n"
                           u"' b\\` ` + 7)"_s;
    m_Tool->put_Script(u"//\n\"\"\n1\nlet\n"_s + script);
    EXPECT_EQ(Painted(Editor()), u"kkk.....nnnn...nnnnn...........n..cccccccc\n"
                                 u"cccccccccc\n"
                                 u".tttttt...tttttt...ttttt\n"
                                 u"ccccc\n"
                                 u"cccccc......tttttttttt......ttttttt\n"
                                 u"ttttttt...n."_s);
}
