#include "core/automation/Errors.h"
#include "tests/scripttool/ScriptWindow.h"

#include <QClipboard>
#include <QTextBlock>

TEST_F(ScriptWindow, KeysOfTheEditor)
{
    const auto shift = Qt::ShiftModifier;
    const std::tuple<QString, int, int, QKeyCombination, QString> cases[] = {
        // the text, its selection, and what a key makes of it
        {u"    if (x)"_s, 10, 10, Qt::Key_Return, u"    if (x)\n    "_s},
        {u"    x"_s, 2, 2, Qt::KeypadModifier | Qt::Key_Enter, u"  \n    x"_s},
        {u"ab\ncd"_s, 1, 4, shift | Qt::Key_Return, u"a\nd"_s},
        {u"abc"_s, 2, 2, Qt::Key_Tab, u"ab  c"_s},
        {u"      a\n  b\n\tc"_s, 7, 14, shift | Qt::Key_Backtab, u"  a\nb\nc"_s},
        {u"ab\n\nc\nd"_s, 1, 6, Qt::Key_Tab, u"    ab\n\n    c\nd"_s}};
    for (const auto& [before, anchor, caret, key, after] : cases) {
        m_Tool->put_Script(before);
        QTextCursor cursor(Editor().document());
        cursor.setPosition(anchor);
        cursor.setPosition(caret, QTextCursor::KeepAnchor);
        Editor().setTextCursor(cursor);
        QTest::keyClick(&Editor(), key.key(), key.keyboardModifiers());
        EXPECT_EQ(Editor().Script(), after);
    }
    QTest::keyClick(&Editor(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Editor().Script(), u"ab\n\nc\nd"_s) << "indenting is undone in one step";
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

TEST_F(ScriptWindow, TheOutputKeepsItsEndAndCopiesALongLineInOnePiece)
{
    OutputPane& pane = Output();
    for (int line = 0; line < 10'100; ++line) pane.Append(QString::number(line) + u'\n', OutputPane::Kind::Output);
    EXPECT_EQ(Printed().left(42), u"(Earlier output was dropped.)\n101\n102\n103\n"_s);
    EXPECT_TRUE(Printed().endsWith(u"10098\n10099\n"_s));
    Press("cmdClear");
    const QString line = u"0123456789"_s.repeated(1000);
    for (int i = 0; i < 500; ++i) pane.Append(line.mid(i * 20, 20), OutputPane::Kind::Output);
    pane.Append(u"\nend"_s, OutputPane::Kind::Error);
    EXPECT_EQ(pane.blockCount(), 4);
    pane.selectAll();
    pane.copy();
    EXPECT_EQ(QApplication::clipboard()->text(), line + u"\nend"_s);
}
