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
    const QString nulAndLoneSurrogates =
        QStringLiteral("a") + QChar(0) + QChar(0xD83D) + QStringLiteral("b") + QChar(0xDE00);
    struct
    {
        QStringList Messages;
        QString Text;
    } const cases[] = {
        {{QStringLiteral("Calling Engine:Start..."), QStringLiteral("Succeeded.")},
         QStringLiteral("0 : Calling Engine:Start...\r\n1 : Succeeded.\r\n")},
        {{QString(), QStringLiteral("x")}, QStringLiteral("0 : \r\n1 : x\r\n")},
        {{QStringLiteral("two\r\nlines")}, QStringLiteral("0 : two\r\nlines\r\n")},
        {{QStringLiteral("\n\r\r\n\n\n"), QStringLiteral("x")}, QStringLiteral("0 : \n\r\r\n\n\n\r\n1 : x\r\n")},
        {{QStringLiteral("a\u2029b\u2028c\uFDD0d\uFDD1e\uFFFCf\u00A0g")},
         QStringLiteral("0 : a\u2029b\u2028c\uFDD0d\uFDD1e\uFFFCf\u00A0g\r\n")},
        {{nulAndLoneSurrogates}, QStringLiteral("0 : ") + nulAndLoneSurrogates + QStringLiteral("\r\n")},
        {{QStringLiteral("<b>&amp;</b><img src=\"x\">")}, QStringLiteral("0 : <b>&amp;</b><img src=\"x\">\r\n")},
        {{QStringLiteral("\U0001F600").repeated(9000), QStringLiteral("x")},
         QStringLiteral("0 : ") + QStringLiteral("\U0001F600").repeated(9000) + QStringLiteral("\r\n1 : x\r\n")},
    };
    for (const auto& [messages, text] : cases) {
        FakeMainWindow main;
        main.Widget()->show();
        for (const QString& message : messages) modMain::AddLog(message);
        QCoreApplication::processEvents(); // painted
        EXPECT_EQ(main.Log().Text(), text);
        EXPECT_EQ(main.Status(), QStringLiteral("Ready."));
        main.Log().selectAll();
        main.Log().copy();
        EXPECT_EQ(QGuiApplication::clipboard()->text(), text);
    }
}

TEST_F(Log, ShowsLongLinesInParts)
{
    Add({u'x' + QStringLiteral("\U0001F600").repeated(9000)});
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
    const QStringList screenful(200, QStringLiteral("line"));
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
    Add({QStringLiteral("newest")});
    EXPECT_TRUE(newestIsSeen());
    EXPECT_FALSE(Pane().textCursor().hasSelection());
}

TEST_F(Log, StaysWhereTheOperatorScrolledToWhenResized)
{
    m_Main.Widget()->show();
    Add(QStringList(200, QStringLiteral("line")));
    QCoreApplication::processEvents();
    Pane().verticalScrollBar()->setValue(3);
    m_Main.Widget()->resize(700, 600);
    QCoreApplication::processEvents();
    EXPECT_EQ(Pane().verticalScrollBar()->value(), 3);
}

TEST_F(Log, GoesOnBehindWhatTheOperatorTyped)
{
    Add({QStringLiteral("a")});
    QTest::keyClicks(&m_Main.Log(), QStringLiteral("note"));
    Add({QStringLiteral("b")});
    EXPECT_EQ(Text(), QStringLiteral("0 : a\r\nnote1 : b\r\n"));

    QTest::keyClick(&m_Main.Log(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Text(), QStringLiteral("0 : a\r\nnote1 : b\r\n")) << "Undoing must not take log lines back.";

    QTest::keyClick(&m_Main.Log(), Qt::Key_Return);
    Add({QStringLiteral("c")});
    EXPECT_EQ(Text(), QStringLiteral("0 : a\r\nnote1 : b\r\n\r\n2 : c\r\n"));
}

TEST_F(Log, EditedLinesReadAsTheyAreShown)
{
    const QString longLine(LogPane::LongestShownLine + 10, u'x');
    Add({QStringLiteral("one\ntwo"), longLine});
    Pane().moveCursor(QTextCursor::Start);
    QTest::keyClick(&m_Main.Log(), Qt::Key_Delete);
    EXPECT_EQ(Text(), QStringLiteral(" : one\r\ntwo\r\n1 : ") + longLine + QStringLiteral("\r\n"));

    m_Main.Log().moveCursor(QTextCursor::End);
    for (int i = 0; i < 2; ++i)
        QTest::keyClick(&m_Main.Log(), Qt::Key_Backspace); // joins with the long line's second part
    QTest::keyClicks(&m_Main.Log(), QStringLiteral("y"));
    Add({QStringLiteral("z")});
    EXPECT_EQ(Text(), QStringLiteral(" : one\r\ntwo\r\n1 : ") + longLine.chopped(1) + QStringLiteral("y2 : z\r\n"));
}

TEST_F(Log, NumbersGoOnAfterClearing)
{
    Add({QStringLiteral("a\nb"), QStringLiteral("c")});
    modMain::ClearTextBox(&m_Main.Log());
    EXPECT_EQ(Text(), QString());
    Add({QStringLiteral("d")});
    EXPECT_EQ(Text(), QStringLiteral("2 : d\r\n"));
}

TEST_F(Log, OverflowLeavesPaneAndCounterAsTheyWereUntilCleared)
{
    const QString lines = QStringLiteral("0 : a\r\nb\r\n1 : c\r\n");
    for (const qsizetype tooSmallBy : {0, 1}) {
        FakeMainWindow main;
        main.Log().SetCapacity(lines.size() - tooSmallBy);
        Add({QStringLiteral("a\r\nb"), QStringLiteral("c")});
        EXPECT_EQ(main.Log().Text(), tooSmallBy ? QStringLiteral("0 : a\r\nb\r\n") : lines);
        EXPECT_EQ(main.Status(), tooSmallBy ? QStringLiteral("Log buffer overflow.") : QStringLiteral("Ready."));

        const int next = tooSmallBy ? 1 : 2;
        EXPECT_EQ(modMain::LogLineCount, next);
        modMain::ClearTextBox(&main.Log());
        Add({QStringLiteral("d")});
        EXPECT_EQ(main.Log().Text(), QStringLiteral("%1 : d\r\n").arg(next));
        EXPECT_EQ(main.Status(), QStringLiteral("Ready."));
    }
}

TEST_F(Log, TheCounterNeverWraps)
{
    modMain::LogLineCount = 2147483646;
    Add({QStringLiteral("last"), QStringLiteral("none"), QStringLiteral("none")});
    EXPECT_EQ(Text(), QStringLiteral("2147483646 : last\r\n"));
    EXPECT_EQ(modMain::LogLineCount, 2147483647);
    EXPECT_EQ(m_Main.Status(), QStringLiteral("Log buffer overflow."));
}

TEST_F(Log, WithoutAMainWindowLoggingDoesNothing)
{
    modMain::SetMainWindow(nullptr);
    Add({QStringLiteral("a")});
    modMain::Announce(u"Engine", u"Start");
    modMain::SetMainWindow(&m_Main);
    EXPECT_EQ(Text(), QString());
    EXPECT_EQ(modMain::LogLineCount, 0);
}

} // namespace
