#include "tests/scripttool/ScriptWindow.h"
#include "tests/support/FakeServer.h"

#include <QTextBlock>

namespace {

QString ErrorOf(const std::function<void()>& command)
{
    try {
        command();
    } catch (const ServerError& error) {
        return error.Description();
    }
    return u"none"_s;
}

} // namespace

TEST_F(ScriptWindow, NamesOfTheEngineAreHandedToTheScript)
{
    FakeServer server;
    const EngineRef engine = server.CreateEngine();
    m_Tool->AddObject(u"Vlx"_s, engine);
    m_Tool->AddObject(u"$e_2"_s, engine);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"Vlx"_s, engine); }), u"The script object \"Vlx\" exists already."_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"-x"_s, engine); }), u"\"-x\" is no name for a script object."_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"c"_s, engine->get_Controller(Variant(u"PLC1"_s))); }),
              u"Only the engine can be given to scripts."_s);
    Run("echo \"$@\"");
    m_Tool->RemoveObject(u"Vlx"_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->RemoveObject(u"Vlx"_s); }), u"There is no script object \"Vlx\"."_s);
    Run("echo \"$@\"");
    EXPECT_EQ(Printed(),
              u"--attach --title Script --name Vlx --name $e_2 -\n--attach --title Script --name $e_2 -\n"_s);
}

TEST_F(ScriptWindow, AnErrorMarksItsLineAndLeadsThere)
{
    m_Tool->put_Script(u"one\ntwo\nthree\nfour"_s);
    EXPECT_EQ(Run("echo Script:1: printed; printf 'Script:3' >&2; sleep 0.1; printf ': bad\\n    in line 4, f\\nx' "
                  ">&2; exit 1"),
              u"Failed (exit code 1)."_s);
    const auto marked = [this] {
        const auto marks = Editor().extraSelections();
        return marks.size() < 2 ? u"none"_s : marks.last().cursor.block().text();
    };
    EXPECT_EQ(marked(), u"three"_s);
    Editor().textCursor().insertText(u"zero\n"_s);
    EXPECT_EQ(marked(), u"three"_s);
    Editor().undo();
    QStringList led;
    for (const int line : {0, 3, 1, 2}) {
        Output().setTextCursor(QTextCursor(Output().document()->findBlockByNumber(line)));
        if (line == 1) QTest::keyClick(&Output(), Qt::Key_Return);
        else
            QTest::mouseDClick(Output().viewport(), Qt::LeftButton, {}, Output().cursorRect().center() + QPoint(20, 0));
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
    auto& text = Control<QLineEdit>("txtFind");
    EXPECT_TRUE(text.hasFocus());
    QStringList found;
    for (const auto& [key, modifiers] : QList<QPair<Qt::Key, Qt::KeyboardModifiers>>{{Qt::Key_I, {}},
                                                                                     {Qt::Key_T, {}},
                                                                                     {Qt::Key_F3, {}},
                                                                                     {Qt::Key_Return, {}},
                                                                                     {Qt::Key_F3, Qt::ShiftModifier},
                                                                                     {Qt::Key_Q, {}}}) {
        QTest::keyClick(&text, key, modifiers);
        const QTextCursor cursor = Editor().textCursor();
        found << u"%1 %2 %3"_s.arg(cursor.blockNumber()).arg(cursor.selectedText(), Control<QLabel>("lblFound").text());
    }
    EXPECT_EQ(found, QStringList({u"0 I "_s, u"0 It "_s, u"1 it "_s, u"0 It Went on from the start."_s,
                                  u"1 it Went on from the end."_s, u"1  Not found."_s}));
    QTest::keyClick(&text, Qt::Key_Escape);
    EXPECT_TRUE(Editor().hasFocus() && !text.isVisible());
}

TEST_F(ScriptWindow, KeysReachEverythingAndTheHiddenWindowKeepsItsText)
{
    QTest::keyClicks(&Editor(), u"abc"_s);
    Run("cat");
    QTest::keyClick(&Editor(), Qt::Key_F5);
    EXPECT_EQ(Status(), u"Running... 0 s"_s);
    QTest::keyClick(&Editor(), Qt::Key_F5, Qt::ShiftModifier);
    EXPECT_EQ(Status(), u"Stopping..."_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Status() == u"Stopped."_s; }));
    m_Window->close();
    m_Tool->Show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_Window));
    EXPECT_EQ(m_Tool->get_Script() + u' ' + Printed().left(3), u"abc abc"_s);
    QTest::keyClick(&Editor(), Qt::Key_F, Qt::ControlModifier);
    QStringList names;
    for (const QWidget* control : m_Window->findChildren<QWidget*>()) {
        if (!(control->focusPolicy() & Qt::TabFocus) || !control->isVisible()) continue;
        const auto* button = qobject_cast<const QPushButton*>(control);
        names << (button ? button->text() : control->accessibleName());
    }
    names.sort();
    EXPECT_EQ(names.join(u'|'), u"&Close|&Find|&Next|&Previous|&Run|C&lear Output|Output|S&top|Script|Text to find"_s);
}
