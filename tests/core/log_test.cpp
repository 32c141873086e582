#include "core/modFields.h"
#include "core/modMain.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/PrintQt.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Log : public ::testing::Test
{
protected:
    /// With all lines in its document.
    LogPane& Pane()
    {
        m_Main.Log().ShowAppended();
        return m_Main.Log();
    }
    QString Text() { return m_Main.Log().Text(); }
    void Add(const QStringList& messages)
    {
        for (const QString& message : messages) modMain::AddLog(message);
    }

    FakeMainWindow m_Main;
};

TEST_F(Log, HoldsNumberedLinesWithTheMessagesAsGiven)
{
    const QString nulAndLoneSurrogates = u"a"_s + QChar(0) + QChar(0xD83D) + u"b"_s + QChar(0xDE00);
    const QStringList cases[] = {
        {u"Calling Engine:Start..."_s, u"Succeeded."_s},
        {u""_s, u"two\r\nlines"_s, u"\n\r\r\n\n\n"_s},
        {u"a\u2029b\u2028c\uFDD0d\uFDD1e\uFFFCf\u00A0g"_s, nulAndLoneSurrogates},
        {u"<b>&amp;</b><img src=\"x\">"_s, u"\U0001F600"_s.repeated(9000), u"x"_s},
    };
    for (const QStringList& messages : cases) {
        QString text;
        for (qsizetype line = 0; line < messages.size(); ++line)
            text += QString::number(line) + u" : "_s + messages[line] + u"\r\n"_s;
        FakeMainWindow main;
        main.Widget()->show();
        for (const QString& message : messages) modMain::AddLog(message);
        QCoreApplication::processEvents(); // painted
        EXPECT_EQ(main.Log().Text(), text);
        EXPECT_EQ(main.Status(), u"Ready."_s);
        main.Log().selectAll();
        main.Log().copy();
        EXPECT_EQ(QGuiApplication::clipboard()->text(), text);
    }
}

TEST_F(Log, ShowsLongLinesInParts)
{
    Add({u'x' + u"\U0001F600"_s.repeated(9000)});
    for (QTextBlock block = Pane().document()->begin(); block.isValid(); block = block.next()) {
        EXPECT_LE(block.length() - 1, LogPane::LongestShownLine);
        EXPECT_FALSE(block.text().endsWith(QChar(0xD83D))) << "A character is torn.";
    }
}

TEST_F(Log, ShowsTheNewestLineAndSelectsNothing)
{
    const auto newestIsSeen = [this] {
        QTest::qWait(30); // shown with the frame
        const LogPane& log = m_Main.Log();
        return log.textCursor().atEnd() && log.viewport()->rect().contains(log.cursorRect());
    };
    const QStringList screenful(200, u"line"_s);
    Add(screenful);
    m_Main.Widget()->show();
    EXPECT_TRUE(newestIsSeen());
    Pane().hide();
    Add(screenful);
    Pane().show();
    EXPECT_TRUE(newestIsSeen());
    m_Main.Widget()->resize(400, 300);
    EXPECT_TRUE(newestIsSeen());

    Pane().moveCursor(QTextCursor::Start);
    Pane().selectAll();
    Add({u"newest"_s});
    EXPECT_TRUE(newestIsSeen());
    EXPECT_FALSE(Pane().textCursor().hasSelection());
}

TEST_F(Log, StaysWhereTheOperatorScrolledToWhenResized)
{
    m_Main.Widget()->show();
    Add(QStringList(200, u"line"_s));
    QCoreApplication::processEvents();
    Pane().verticalScrollBar()->setValue(3);
    m_Main.Widget()->resize(700, 600);
    QCoreApplication::processEvents();
    EXPECT_EQ(Pane().verticalScrollBar()->value(), 3);
}

TEST_F(Log, GoesOnBehindWhatTheOperatorTyped)
{
    Add({u"a"_s});
    QTest::keyClicks(&m_Main.Log(), u"note"_s);
    Add({u"b"_s});
    EXPECT_EQ(Text(), u"0 : a\r\nnote1 : b\r\n"_s);

    QTest::keyClick(&m_Main.Log(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Text(), u"0 : a\r\nnote1 : b\r\n"_s) << "Undoing must not take log lines back.";

    QTest::keyClick(&m_Main.Log(), Qt::Key_Return);
    Add({u"c"_s});
    EXPECT_EQ(Text(), u"0 : a\r\nnote1 : b\r\n\r\n2 : c\r\n"_s);
}

TEST_F(Log, EditedLinesReadAsTheyAreShown)
{
    const QString longLine(LogPane::LongestShownLine + 10, u'x');
    Add({u"one\ntwo"_s, longLine});
    Pane().moveCursor(QTextCursor::Start);
    QTest::keyClick(&m_Main.Log(), Qt::Key_Delete);
    EXPECT_EQ(Text(), u" : one\r\ntwo\r\n1 : "_s + longLine + u"\r\n"_s);

    m_Main.Log().moveCursor(QTextCursor::End);
    for (int i = 0; i < 2; ++i)
        QTest::keyClick(&m_Main.Log(), Qt::Key_Backspace); // joins with the long line's second part
    QTest::keyClicks(&m_Main.Log(), u"y"_s);
    Add({u"z"_s});
    EXPECT_EQ(Text(), u" : one\r\ntwo\r\n1 : "_s + longLine.chopped(1) + u"y2 : z\r\n"_s);
}

TEST_F(Log, NumbersGoOnAfterClearing)
{
    Add({u"a\nb"_s, u"c"_s});
    modMain::ClearTextBox(&m_Main.Log());
    EXPECT_EQ(Text(), QString());
    Add({u"d"_s});
    EXPECT_EQ(Text(), u"2 : d\r\n"_s);
}

TEST_F(Log, OverflowLeavesPaneAndCounterAsTheyWereUntilCleared)
{
    const QString lines = u"0 : a\r\nb\r\n1 : c\r\n"_s;
    for (const qsizetype tooSmallBy : {0, 1}) {
        FakeMainWindow main;
        main.Log().SetCapacity(lines.size() - tooSmallBy);
        Add({u"a\r\nb"_s, u"c"_s});
        EXPECT_EQ(main.Log().Text(), tooSmallBy ? u"0 : a\r\nb\r\n"_s : lines);
        EXPECT_EQ(main.Status(), tooSmallBy ? u"Log buffer overflow."_s : u"Ready."_s);

        const int next = tooSmallBy ? 1 : 2;
        EXPECT_EQ(modMain::LogLineCount, next);
        modMain::ClearTextBox(&main.Log());
        Add({u"d"_s});
        EXPECT_EQ(main.Log().Text(), u"%1 : d\r\n"_s.arg(next));
        EXPECT_EQ(main.Status(), u"Ready."_s);
    }
}

TEST_F(Log, TheCounterNeverWraps)
{
    modMain::LogLineCount = 2147483646;
    Add({u"last"_s, u"none"_s, u"none"_s});
    EXPECT_EQ(Text(), u"2147483646 : last\r\n"_s);
    EXPECT_EQ(modMain::LogLineCount, 2147483647);
    EXPECT_EQ(m_Main.Status(), u"Log buffer overflow."_s);
}

TEST_F(Log, WithoutAMainWindowLoggingDoesNothing)
{
    modMain::SetMainWindow(nullptr);
    Add({u"a"_s});
    modMain::Announce(u"Engine", u"Start");
    modMain::SetMainWindow(&m_Main);
    EXPECT_EQ(Text(), QString());
    EXPECT_EQ(modMain::LogLineCount, 0);
}

} // namespace
