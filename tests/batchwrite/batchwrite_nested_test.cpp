#include "batchwrite/FramePacer.h"
#include "item/frmItem.h"
#include "tests/batchwrite/BatchWindow.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTimer>

namespace {

struct PaintCount : QObject
{
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) ++Count;
        return false;
    }
    int Count = 0;
};

/// What other events do while a run lets them.
class BatchMeanwhile : public BatchWindow
{
};

} // namespace

TEST_F(BatchMeanwhile, StopEndsTheRunAfterTheLineAndTheNextRunStartsAnew)
{
    EnterFiveLines();
    BetweenLines([this] { Press("cmdStop"); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s));
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 5));
}

TEST_F(BatchMeanwhile, ARunInsideARunFinishesFirstAndStopEndsBoth)
{
    for (const bool stops : {false, true}) {
        EnterFile("D100,3,1\nD100,3,2\n");
        BetweenLines([&] {
            EnterFile("D200,8,a\nD200,8,b\n");
            if (stops) BetweenLines([this] { Press("cmdStop"); });
            Run();
        });
        Run();
        const QStringList first = LineLog(u"D100"_s);
        const QStringList nested = LineLog(u"D200"_s);
        EXPECT_EQ(TakeLog(), stops ? first + nested : first + nested + nested + first);
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
    }
}

TEST_F(BatchMeanwhile, RunsNestEightDeepAndNoDeeper)
{
    EnterFile("D100,3,1\n");
    int presses = 0;
    std::function<void()> press = [&] {
        if (++presses < 20) BetweenLines(press);
        Run();
    };
    press();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 8));
    while (presses < 20) QCoreApplication::processEvents();
}

TEST_F(BatchMeanwhile, AHiddenRunGoesOnAndAClosedOneEndsWithoutATrace)
{
    EnterFiveLines();
    BetweenLines([this] { Press("cmdClose"); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 5));
    for (const bool atOnce : {false, true}) {
        if (!m_Form) m_Form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
        m_Form->SetTargetController(u"PLC1"_s);
        EnterFiveLines();
        BetweenLines([&] {
            BetweenLines([&] { atOnce ? delete m_Form.data() : ChildWindow::UnloadAll(); });
            Run();
        });
        Run();
        EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 2));
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_FALSE(m_Form);
    }
}

TEST_F(BatchMeanwhile, TheItemBeingWrittenMayBeRemoved)
{
    m_Main.Tree().Remove(m_Controller->Child(0));
    m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
    m_Answer = QMessageBox::Yes; // "Are you sure ?"
    const QPointer<frmItem> item = ChildWindow::Open<frmItem>(m_Controller->Child(0));
    EnterFiveLines();
    BetweenLines([&] { item->findChild<QPushButton*>(u"cmdRemove"_s)->click(); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + QStringList({u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s,
                                                           LineLog(u"D100"_s)[0], u"Item not found: D100"_s}));
    EXPECT_EQ(m_Controller->ChildCount(), 1);
    EXPECT_EQ(ChildWindow::Forms(), QList<ChildWindow*>{m_Form});
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(BatchMeanwhile, WhatStandsWhileTheRunWaitsIsPainted)
{
    EnterFile("D100,3,1\n");
    PaintCount paints;
    BetweenLines([&] {
        QLabel box(u"a"_s); // as a message box that another window opens
        box.installEventFilter(&paints);
        box.show();
        EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > 0; }, 10'000));
        paints.Count = 0;
        box.setText(u"b"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > 0; }, 10'000));
    });
    Run();
}

TEST_F(BatchMeanwhile, TheLogIsPaintedOnceAFrame)
{
    PaintCount paints;
    m_Main.Widget()->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_Main.Widget(), 10'000));
    m_Main.Log().viewport()->installEventFilter(&paints);
    EnterFile(QByteArray("D100,3,1\n").repeated(100'000));
    QTimer stop;
    stop.callOnTimeout([&] {
        if (paints.Count == 5) Press("cmdStop");
    });
    stop.start(1);
    QElapsedTimer running;
    running.start();
    Run();
    const int during = paints.Count;
    EXPECT_GE(during, 5);
    EXPECT_LE(during, running.elapsed() / FramePacer::FrameMs + 2);
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > during; }, 10'000)) << "the last lines";
}
