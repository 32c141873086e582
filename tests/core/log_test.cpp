#include "core/modFields.h"
#include "tests/support/WindowTest.h"

#include <QTextBlock>

namespace {

class LogLines : public WindowTest<QWidget>
{
protected:
    /// With all lines in its document.
    LogPane& Pane()
    {
        m_Main.Log().ShowAppended();
        return m_Main.Log();
    }
    QString Text() { return m_Main.Log().Text(); }
    static void Add(const QStringList& messages)
    {
        for (const QString& message : messages) modMain::AddLog(message);
    }
    static void Fail(const QString& description)
    {
        modMain::ReportErrors([&] { throw ServerError(description); });
    }
    /// All that is shown in a colour of its own, each piece in brackets, and nothing else.
    QString Coloured()
    {
        QString text;
        for (QTextBlock block = Pane().document()->begin(); block.isValid(); block = block.next()) {
            for (auto part = block.begin(); !part.atEnd(); ++part)
                if (part.fragment().charFormat().foreground().style() != Qt::NoBrush)
                    text += u'[' + part.fragment().text() + u']';
        }
        return text;
    }
};

TEST_F(LogLines, HoldsNumberedLinesWithTheMessagesAsGivenAndShowsLongOnesInParts)
{
    const QString nulAndLoneSurrogates = u"a"_s + QChar(0) + QChar(0xD83D) + u"b"_s + QChar(0xDE00);
    const QStringList messages = {u""_s,
                                  u"two\r\nlines"_s,
                                  u"\n\r\r\n\n\n"_s,
                                  u"a\u2029b\u2028c\uFDD0d\uFDD1e\uFFFCf\u00A0g"_s,
                                  nulAndLoneSurrogates,
                                  u"<b>&amp;</b><img src=\"x\">"_s,
                                  u"\U0001F600"_s.repeated(9000),
                                  u'x' + u"\U0001F600"_s.repeated(9000)};
    QString text;
    for (qsizetype line = 0; line < messages.size(); ++line)
        text += QString::number(line) + u" : "_s + messages[line] + u"\r\n"_s;
    m_Main.Widget()->show();
    Add(messages);
    QCoreApplication::processEvents(); // painted
    EXPECT_EQ(Text(), text);
    for (QTextBlock block = Pane().document()->begin(); block.isValid(); block = block.next()) {
        EXPECT_LE(block.length() - 1, LogPane::LongestShownLine);
        EXPECT_FALSE(block.length() > 1000 && block.text().endsWith(QChar(0xD83D))) << "a character is torn";
    }
}

TEST_F(LogLines, GoesOnBehindWhatTheOperatorTypedAndReadsAsItIsShown)
{
    Add({u"a\nb"_s});
    QTest::keyClicks(&m_Main.Log(), u"note"_s);
    Add({u"c"_s});
    const QString lines = u"0 : a\nb\r\nnote1 : c\r\n"_s;
    EXPECT_EQ(Text(), lines);
    QTest::keyClick(&m_Main.Log(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Text(), lines) << "undoing must not take log lines back";

    QTest::keyClick(&m_Main.Log(), Qt::Key_Return);
    Pane().moveCursor(QTextCursor::Start);
    QTest::keyClick(&m_Main.Log(), Qt::Key_Delete);
    Add({u"d"_s});
    EXPECT_EQ(Text(), u" : a\r\nb\r\nnote1 : c\r\n\r\n2 : d\r\n"_s);
}

TEST_F(LogLines, ErrorsStandOutByColourAndReadAsPlainText)
{
    modMain::AddLog(u"Calling"_s);
    Fail(u"first\r\nsecond"_s);
    Fail(u"third"_s);
    modMain::AddLog(u"Succeeded."_s);
    EXPECT_EQ(Coloured(), u"[1 : first][second][2 : third]"_s);
    EXPECT_EQ(Pane().Text(), u"0 : Calling\r\n1 : first\r\nsecond\r\n2 : third\r\n3 : Succeeded.\r\n"_s);

    Pane().selectAll();
    const QString text = Pane().SelectedText();
    Pane().ReplaceSelection(text);
    EXPECT_EQ(Coloured() + Pane().Text(), text) << "what is cut and pasted is text";
}

TEST_F(LogLines, OverflowLeavesPaneAndCounterAsTheyWereUntilCleared)
{
    const QString lines = u"0 : a\r\nb\r\n1 : c\r\n"_s;
    m_Main.Log().SetCapacity(lines.size());
    Add({u"a\r\nb"_s, u"c"_s});
    EXPECT_EQ(Text() + m_Main.Status(), lines + u"Ready."_s);
    Add({u""_s});
    EXPECT_EQ(Text() + m_Main.Status(), lines + u"Log buffer overflow."_s);
    modMain::ClearTextBox(&m_Main.Log());
    Add({u"d"_s});
    EXPECT_EQ(Text() + m_Main.Status(), u"2 : d\r\nReady."_s) << "numbers go on";

    modMain::ClearTextBox(&m_Main.Log());
    m_Main.Log().SetCapacity(1000);
    modMain::LogLineCount = 2147483646;
    Add({u"last"_s, u"none"_s, u"none"_s});
    EXPECT_EQ(Text() + m_Main.Status(), u"2147483646 : last\r\nLog buffer overflow."_s) << "nor do they wrap";
    EXPECT_EQ(modMain::LogLineCount, 2147483647);
}

using ServerCall = WindowTest<QWidget>;

TEST_F(ServerCall, IsAnnouncedCalledAndAnsweredByOneLineAlsoWhenItFails)
{
    QStringList seenByTheCall;
    const QString announced = u"Calling Item:Snapshot..."_s;
    const std::pair<std::function<void()>, QString> answers[] = {
        {[&] { seenByTheCall = Log() << m_Main.Status() << m_Main.m_PaintedStatus; }, u"Succeeded."_s},
        {[] { throw ServerError(u"PLC1 does not answer"_s); }, u"PLC1 does not answer"_s},
        {[] { throw ServerError(QString()); }, QString()},
        {[] { throw ValueError::TypeMismatch(); }, u"Type mismatch"_s},
        {[] { throw std::runtime_error("bad things"); }, u"bad things"_s},
        {[] { throw std::bad_alloc(); }, u"Out of memory"_s},
        {[] { throw 1; }, u"Unknown error"_s},
    };
    for (const auto& [call, answer] : answers) {
        EXPECT_EQ(modMain::CallServer(u"Item", u"Snapshot", call), answer == u"Succeeded.");
        EXPECT_EQ(TakeLog(), QStringList({announced, answer}));
        EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, u"Snapshot..."_s, u"Ready."_s}));
        if (answer == u"Succeeded.") continue;
        EXPECT_FALSE(modMain::ReportErrors(call)); // a command is not announced
        EXPECT_EQ(TakeLog(), QStringList{answer});
        TakeStatus();
    }
    EXPECT_EQ(seenByTheCall, QStringList({announced, u"Snapshot..."_s, u"Snapshot..."_s}));

    m_Main.Log().SetCapacity(0);
    bool called = false;
    EXPECT_TRUE(modMain::CallServer(u"Engine", u"Stop", [&] { called = true; }));
    EXPECT_TRUE(called) << "also when the log is full";
}

} // namespace
