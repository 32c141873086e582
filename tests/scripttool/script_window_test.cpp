#include "core/automation/Errors.h"
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
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"Vlx"_s, engine); }), u"none"_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"Vlx"_s, engine); }), u"The script object \"Vlx\" exists already."_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"-x"_s, engine); }), u"\"-x\" is no name for a script object."_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->AddObject(u"c"_s, engine->get_Controller(Variant(u"PLC1"_s))); }),
              u"Only the engine can be given to scripts."_s);
    m_Tool->AddObject(u"$e_2"_s, engine);
    RunBy("echo \"$@\"");
    Run();
    m_Tool->RemoveObject(u"Vlx"_s);
    EXPECT_EQ(ErrorOf([&] { m_Tool->RemoveObject(u"Vlx"_s); }), u"There is no script object \"Vlx\"."_s);
    Run();
    EXPECT_EQ(Printed(), u"--title Script --name Vlx --name $e_2 -\n--title Script --name $e_2 -\n"_s);
}

TEST_F(ScriptWindow, AnErrorMarksItsLineAndLeadsThere)
{
    m_Tool->put_Script(u"one\ntwo\nthree\nfour"_s);
    RunBy("echo Script:1: printed; printf 'Script:3' >&2; sleep 0.1; printf ': bad\\nScript:4: worse\\n' >&2; exit 1");
    EXPECT_EQ(Run(), u"Failed (exit code 1)."_s);
    const auto marked = [this] {
        const auto marks = Editor().extraSelections();
        return marks.size() < 2 ? u"none"_s : marks.last().cursor.block().text();
    };
    EXPECT_EQ(marked(), u"three"_s);
    Editor().textCursor().insertText(u"zero\n"_s);
    EXPECT_EQ(marked(), u"three"_s);
    Editor().undo();

    const auto choose = [this](int line) {
        QTextCursor cursor(Output().document()->findBlockByNumber(line));
        Output().setTextCursor(cursor);
        QTest::mouseDClick(Output().viewport(), Qt::LeftButton, {}, Output().cursorRect().center() + QPoint(20, 0));
    };
    choose(2);
    EXPECT_EQ(Editor().textCursor().block().text(), u"four"_s);
    EXPECT_TRUE(Editor().hasFocus());
    choose(3); // no message stands there
    EXPECT_EQ(Editor().textCursor().block().text(), u"four"_s);
    RunBy("exit 0");
    Run();
    EXPECT_EQ(marked(), u"none"_s);
}

TEST_F(ScriptWindow, FindGoesRoundAndSaysSo)
{
    m_Tool->put_Script(u"Item a\nitem b\nx"_s);
    auto& text = Control<QLineEdit>("txtFind");
    const auto found = [this] {
        return u"%1 %2 %3"_s.arg(Editor().textCursor().block().blockNumber())
            .arg(Editor().textCursor().selectedText(), Control<QLabel>("lblFound").text());
    };
    QTest::keyClick(&Editor(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(text.hasFocus());
    QStringList seen;
    for (const auto& [key, modifiers] : QList<QPair<Qt::Key, Qt::KeyboardModifiers>>{{Qt::Key_I, {}},
                                                                                     {Qt::Key_T, {}},
                                                                                     {Qt::Key_F3, {}},
                                                                                     {Qt::Key_Return, {}},
                                                                                     {Qt::Key_F3, Qt::ShiftModifier}}) {
        QTest::keyClick(&text, key, modifiers);
        seen << found();
    }
    EXPECT_EQ(seen, QStringList({u"0 I "_s, u"0 It "_s, u"1 it "_s, u"0 It Went on from the start."_s,
                                 u"1 it Went on from the end."_s}));
    text.setText(u"<b>"_s);
    QTest::keyClick(&text, Qt::Key_Return);
    EXPECT_EQ(found(), u"1 it Not found."_s);
    QTest::keyClick(&text, Qt::Key_Escape);
    EXPECT_TRUE(Editor().hasFocus() && !text.isVisible());
    QTest::keyClick(&Editor(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(text.text(), u"it"_s) << "what is selected is looked for";
}

TEST_F(ScriptWindow, KeysRunAndStopAndTheHiddenWindowKeepsItsText)
{
    RunBy("cat; while :; do sleep 1; done");
    QTest::keyClicks(&Editor(), u"abc"_s);
    QTest::keyClick(&Editor(), Qt::Key_F5);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Status() == u"Running... 1 s"; }, 5000));
    m_Window->close();
    m_Tool->Show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_Window));
    EXPECT_EQ(m_Tool->get_Script() + u' ' + Printed(), u"abc abc"_s);
    QTest::keyClick(&Editor(), Qt::Key_F5, Qt::ShiftModifier);
    EXPECT_EQ(WaitForEnd(), u"Stopped."_s);
}

TEST_F(ScriptWindow, EveryControlIsReachedByKeyAndHasAName)
{
    QStringList names;
    QTest::keyClick(&Editor(), Qt::Key_F, Qt::ControlModifier);
    for (const QWidget* control : m_Window->findChildren<QWidget*>()) {
        if (!(control->focusPolicy() & Qt::TabFocus) || !control->isVisible()) continue;
        const auto* button = qobject_cast<const QPushButton*>(control);
        names << (button ? button->text() : control->accessibleName());
    }
    names.sort();
    EXPECT_EQ(names.join(u'|'), u"&Close|&Find|&Next|&Previous|&Run|C&lear Output|Output|S&top|Script|Text to find"_s);
}
