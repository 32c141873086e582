#include "core/automation/Errors.h"
#include "tests/scripttool/ScriptWindow.h"

#include <QClipboard>
#include <QRegularExpression>
#include <QTextBlock>

namespace {

/// `text` with "|" for the caret, or "[" and "]" around the selection.
void Put(CodeEditor& editor, QString text)
{
    const int start = static_cast<int>(text.indexOf(QRegularExpression(u"[|\\[]"_s)));
    const int end = static_cast<int>(text.remove(start, 1).indexOf(u']'));
    editor.SetScript(end < 0 ? text : text.remove(end, 1));
    QTextCursor cursor(editor.document());
    cursor.setPosition(start);
    cursor.setPosition(end < 0 ? start : end, QTextCursor::KeepAnchor);
    editor.setTextCursor(cursor);
}

QColor InkOf(const QTextBlock& block)
{
    return block.layout()->formats().at(0).format.foreground().color();
}

} // namespace

TEST_F(ScriptWindow, KeysOfTheEditor)
{
    const struct
    {
        QString Before;
        QList<QPair<Qt::Key, Qt::KeyboardModifiers>> Pressed;
        QString After;
    } cases[] = {
        {u"    if (x)|"_s, {{Qt::Key_Return, {}}, {Qt::Key_A, {}}}, u"    if (x)\n    a"_s},
        {u"  |  x"_s, {{Qt::Key_Enter, Qt::KeypadModifier}}, u"  \n    x"_s},
        {u"a[b\nc]d"_s, {{Qt::Key_Return, Qt::ShiftModifier}}, u"a\nd"_s},
        {u"ab|c"_s, {{Qt::Key_Tab, {}}}, u"ab  c"_s},
        {u"a[b\n\nc\n]d"_s, {{Qt::Key_Tab, {}}}, u"    ab\n\n    c\nd"_s},
        {u"      a[\n  b\n\tc]"_s, {{Qt::Key_Backtab, Qt::ShiftModifier}}, u"  a\nb\nc"_s},
        {u"a[\nb]"_s, {{Qt::Key_Tab, {}}, {Qt::Key_Z, Qt::ControlModifier}}, u"a\nb"_s},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.Before.toStdString());
        Put(Editor(), row.Before);
        for (const auto& [key, modifiers] : row.Pressed) QTest::keyClick(&Editor(), key, modifiers);
        EXPECT_EQ(Editor().Script(), row.After);
    }
}

TEST_F(ScriptWindow, TheScriptKeepsEveryCharacterAndRefusesWhatIsTooLong)
{
    const QString kept = u"a\u00A0b\r\nc\r\nd\r\ne\r\n"_s;
    m_Tool->put_Script(u"a\u00A0b\rc\u2028d\ne\r\n"_s);
    EXPECT_EQ(m_Tool->get_Script(), kept);
    for (const QString& text : {u"x\n"_s.repeated(600'000), QString(40'000, u'x')}) {
        QApplication::clipboard()->setText(text);
        Editor().paste();
        EXPECT_TRUE(Status().startsWith(u"The text is too long: "_s));
        EXPECT_THROW(m_Tool->put_Script(text), ServerError);
        EXPECT_EQ(m_Tool->get_Script(), kept);
    }
    QApplication::clipboard()->setText(u"1\r\n2\u20293"_s);
    Editor().selectAll();
    Editor().paste();
    EXPECT_EQ(m_Tool->get_Script(), u"1\r\n2\r\n3"_s);
}

TEST_F(ScriptWindow, CommentsTextsNumbersAndKeywordsAreColoured)
{
    m_Tool->put_Script(u"//\n\"\"\n1\nlet\n"_s // what the four kinds look like
                       u"let a = 0x1F + .5e-3 / b.let / 2; // c 'x'\n"
                       u" ' Vlx \"x\"\n"
                       u"+'a\\'b' + \"x//y\" + \"open\n"
                       u"/* if\n"
                       u"' 1 */ x1 = /[\"/]'\\//g.test(`a ${1}\n"
                       u"' b\\` ` + 7)"_s);
    QTextBlock block = Editor().document()->begin();
    QList<QColor> kinds;
    for (; kinds.size() < 4; block = block.next()) kinds << InkOf(block);
    QStringList painted;
    for (; block.isValid(); block = block.next()) {
        QString line(block.text().size(), u'.');
        for (const auto& part : block.layout()->formats()) {
            const QChar kind = u"ctnk"[kinds.indexOf(part.format.foreground().color())];
            line.replace(part.start, part.length, QString(part.length, kind));
        }
        painted << line;
    }
    EXPECT_EQ(painted, QStringList({u"kkk.....nnnn...nnnnn...........n..cccccccc"_s, u"cccccccccc"_s,
                                    u".tttttt...tttttt...ttttt"_s, u"ccccc"_s, u"cccccc......tttttttttt......ttttttt"_s,
                                    u"ttttttt...n."_s}));
}

TEST_F(ScriptWindow, AnErrorMarksItsLineAndLeadsThere)
{
    m_Tool->put_Script(u"one\ntwo\nthree\nfour"_s);
    Run("echo Script:1: printed; printf 'note\\nScript:3' >&2; sleep 0.1; printf ': bad\\n    in line 4, f\\nx' >&2; "
        "exit 1");
    const auto marked = [this] {
        const auto marks = Editor().extraSelections();
        return marks.size() < 2 ? u"none"_s : marks.last().cursor.block().text();
    };
    EXPECT_EQ(marked(), u"three"_s);
    Editor().textCursor().insertText(u"zero\n"_s);
    EXPECT_EQ(marked(), u"three"_s);
    Editor().undo();
    QStringList led;
    for (const int line : {0, 4, 2, 3}) {
        Output().setTextCursor(QTextCursor(Output().document()->findBlockByNumber(line)));
        const QPoint onLine = Output().cursorRect().center() + QPoint(20, 0);
        if (line == 2) QTest::keyClick(&Output(), Qt::Key_Return);
        else QTest::mouseDClick(Output().viewport(), Qt::LeftButton, {}, onLine);
        led << Editor().textCursor().block().text();
    }
    EXPECT_EQ(led, QStringList({u"one"_s, u"one"_s, u"three"_s, u"four"_s}));
    EXPECT_TRUE(Editor().hasFocus());
    Run("exit 0");
    EXPECT_EQ(marked(), u"none"_s);
}

TEST_F(ScriptWindow, FindGoesRoundAndSaysSo)
{
    m_Tool->put_Script(u"Item a\nitem b\nx"_s);
    QTest::keyClick(&Editor(), Qt::Key_F, Qt::ControlModifier);
    QLineEdit& text = Box("txtFind");
    const struct
    {
        Qt::Key Key;
        Qt::KeyboardModifiers Modifiers;
        QString Found; ///< the line, what is selected there, and what the bar says
    } rows[] = {{Qt::Key_I, {}, u"0 I "_s},
                {Qt::Key_T, {}, u"0 It "_s},
                {Qt::Key_F3, {}, u"1 it "_s},
                {Qt::Key_Return, {}, u"0 It Went on from the start."_s},
                {Qt::Key_F3, Qt::ShiftModifier, u"1 it Went on from the end."_s},
                {Qt::Key_Q, {}, u"1  Not found."_s}};
    for (const auto& row : rows) {
        QTest::keyClick(&text, row.Key, row.Modifiers);
        const QTextCursor cursor = Editor().textCursor();
        const QString line = QString::number(cursor.blockNumber());
        EXPECT_EQ(line + u' ' + cursor.selectedText() + u' ' + Control<QLabel>("lblFound").text(), row.Found);
    }
    QTest::keyClick(&text, Qt::Key_Escape);
    EXPECT_TRUE(Editor().hasFocus() && !text.isVisible());
}

TEST(OutputPane, KeepsTheEndAndCopiesALongLineInOnePiece)
{
    OutputPane pane;
    const auto text = [&] { return pane.TextBetween(0, pane.document()->characterCount() - 1); };
    for (int line = 0; line < 10'100; ++line) pane.Append(QString::number(line) + u'\n', OutputPane::Kind::Output);
    EXPECT_EQ(text().left(42), u"(Earlier output was dropped.)\n101\n102\n103\n"_s);
    EXPECT_TRUE(text().endsWith(u"10098\n10099\n"_s));
    pane.Clear();
    const QString line = u"0123456789"_s.repeated(1000);
    for (int i = 0; i < 500; ++i) pane.Append(line.mid(i * 20, 20), OutputPane::Kind::Output);
    pane.Append(u"\nend"_s, OutputPane::Kind::Error);
    EXPECT_EQ(pane.blockCount(), 4);
    pane.selectAll();
    pane.copy();
    EXPECT_EQ(QApplication::clipboard()->text(), line + u"\nend"_s);
}
