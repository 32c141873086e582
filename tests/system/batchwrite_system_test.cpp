#include "core/LogPane.h"
#include "tests/system/SystemConsole.h"

#include <QTextBlock>

namespace {

class BatchSystem : public SystemConsole
{
protected:
    void SetUp() override { StartBoth(); }
    void Open(const QByteArray& content) { m_Form = &OpenBatch(content); }
    void OpenLong() { Open(QByteArray("D100,3,120\n").repeated(200'000)); }
    void Run() { Press(*m_Form, "cmdStart"); }
    static QStringList LineLog(const QString& item) { return Called(u"Item(%1):put_Value"_s.arg(item)); }
    bool NewestLineIsSeen()
    {
        m_Main->Log().ShowAppended();
        return m_Main->Log().viewport()->rect().contains(m_Main->Log().cursorRect());
    }

    QPointer<ChildWindow> m_Form;
};

TEST_F(BatchSystem, WritesTheItemsOfTheControllerItWasOpenedForLastAndKeepsNone)
{
    const ChildWindow& first = OpenBatch(QByteArray(), u"VelSQLEngine\\Archive");
    Open("D100,3,-7\r\nRecipe,8,N\xFCrnberg\nD100,5,2.5");
    EXPECT_EQ(m_Form, &first);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (PLC1)"_s);
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + LineLog(u"Recipe"_s) + LineLog(u"D100"_s));
    EXPECT_TRUE(WaitUntilNothingIsHeld());
    EXPECT_EQ(Item(u"D100"_s)->get_Value(), Variant(qint32{2}));
    EXPECT_EQ(Item(u"Recipe"_s)->get_Value(), Variant(u"Nürnberg"_s));
}

TEST_F(BatchSystem, OtherWindowsLiveOnAndStopIsHeard)
{
    ChildWindow& controller = Show(PLC1);
    const QPointer<ChildWindow> closed = &Show(PLC1 + u"\\Recipe"_s);
    ChildWindow& item = Show(D100);
    OpenLong();
    After(300, [&] {
        controller.Unload();
        closed->close();
    });
    bool newestIsSeen = false;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
        if (closed || Cell(item, u"Value"_s) != u"120 (I4)") return; // it is read meanwhile
        newestIsSeen = NewestLineIsSeen();
        QTest::mouseClick(&Control<QPushButton>(*m_Form, "cmdStop"), Qt::LeftButton);
    });
    watch.start(50);
    Run();
    watch.stop();
    EXPECT_TRUE(newestIsSeen);
    EXPECT_EQ(Panel(1), u"Ready."_s);
    EXPECT_EQ(ChildWindow::Forms().size(), 2);
    const QStringList log = TakeLog();
    EXPECT_LT(log.size(), 400'000) << "stopped before its end";
    EXPECT_EQ(log.last(2), LineLog(u"D100"_s));
}

TEST_F(BatchSystem, ALineIsSeenInTheLogWhileItsCallBlocks)
{
    struct Seen : QObject
    {
        bool eventFilter(QObject* viewport, QEvent* event) override
        {
            const auto* log = static_cast<LogPane*>(viewport->parent());
            if (event->type() == QEvent::Paint) NewestLines << log->document()->lastBlock().previous().text();
            return false;
        }
        QStringList NewestLines;
    } seen;
    Ask(u"disturb Item(PLC1\\Recipe).put_Value slow 100"_s);
    Open((QByteArray("D100,3,120\n").repeated(4) + "Recipe,8,x\n").repeated(5)); // most after a line just painted
    m_Main->Log().viewport()->installEventFilter(&seen);
    Run();
    for (int line = 8; line < 50; line += 10)
        EXPECT_TRUE(seen.NewestLines.contains(u"%1 : Calling Item(Recipe):put_Value..."_s.arg(line))) << line;
}

TEST_F(BatchSystem, AServerThatDiesOrHangsEndsTheRunAndServesTheNext)
{
    const std::tuple<void (RealServer::*)(), QString, std::function<void()>> ends[] = {
        {&RealServer::Kill, Lost, [this] { m_Server.Start(); }},
        {&RealServer::Suspend, GivenUp, [this] { m_Server.Resume(); }},
    };
    for (const auto& [end, description, restore] : ends) {
        OpenLong();
        After(200, [&, end = end] { (m_Server.*end)(); });
        Run();
        EXPECT_EQ(TakeLog().last(2), QStringList({LineLog(u"D100"_s)[0], description}));
        restore();
        EXPECT_TRUE(WaitUntilItAnswers());
        Open("D100,3,1");
        Run();
        EXPECT_EQ(TakeLog(), LineLog(u"D100"_s));
    }
}

} // namespace
