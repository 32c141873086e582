#include "core/modMain.h"
#include "tests/batchwrite/BatchWindow.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTest>
#include <QTimer>

namespace {

const QString Look = u"Engine.get_Controller(PLC1)"_s;

QStringList LineCalls(const QString& item, const QString& value)
{
    return {u"Controller(PLC1).get_Item(%1)"_s.arg(item), u"Item(%1).put_Value(%2)"_s.arg(item, value)};
}

struct PaintCount : QObject
{
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) ++Count;
        return false;
    }
    int Count = 0;
};

} // namespace

TEST_F(BatchWindow, WritesLineByLine)
{
    EnterFile("D100,3,-7\r\nD200,8,a,b, \"c\" \nD100,0\nD100,1\r\nD200,8,");
    Run();
    EXPECT_EQ(TakeCalls(), QStringList(Look) + LineCalls(u"D100"_s, u"3,-7"_s) +
                               LineCalls(u"D200"_s, u"8,a,b, \"c\" "_s) + LineCalls(u"D100"_s, u"0,"_s) +
                               LineCalls(u"D100"_s, u"1"_s) + LineCalls(u"D200"_s, u"8,"_s));
    EXPECT_EQ(TakeLog(),
              LineLog(u"D100"_s) + LineLog(u"D200"_s) + LineLog(u"D100"_s) + LineLog(u"D100"_s) + LineLog(u"D200"_s));
    EXPECT_TRUE(m_Main->m_StatusTexts.contains(u"put_Value..."_s));
    EXPECT_EQ(m_Main->Status(), u"Ready."_s);
    EXPECT_EQ(m_Server.m_LiveObjects, 1); // the engine
}

TEST_F(BatchWindow, AFaultyLineEndsTheRunWithItsDescription)
{
    const QString cut = u"Invalid procedure call or argument"_s;
    const struct
    {
        const char* Title;
        QByteArray Line;
        QStringList Log;
        int Calls; ///< in the faulty line
    } rows[] = {
        {"no comma", "Item1", {cut}, 0},
        {"blank", "", {cut}, 0},
        {"only a comma", ",", {u"Calling Item():put_Value..."_s, u"Item not found: "_s}, 1},
        {"unknown item", "D300,3,1", {u"Calling Item(D300):put_Value..."_s, u"Item not found: D300"_s}, 1},
        {"unknown type code", "D100,99,1", {u"Calling Item(D100):put_Value..."_s, {}}, 1},
        {"text that does not fit", "D100,3,x", {u"Calling Item(D100):put_Value..."_s, {}}, 1},
        {"binary", QByteArray("\x7f\x45\0\x01\xff\n\0", 7), {cut}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        EnterFile("D100,3,1\n" + row.Line + "\nD100,3,2\n");
        Run();
        EXPECT_EQ(TakeCalls().size(), 3 + row.Calls);
        QStringList log = TakeLog();
        QStringList expected = LineLog(u"D100"_s) + row.Log;
        if (expected.constLast().isNull()) { // the converter's own words
            EXPECT_FALSE(log.constLast().isEmpty());
            expected.last() = log.value(log.size() - 1);
        }
        EXPECT_EQ(log, expected);
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
    }
}

TEST_F(BatchWindow, AFailingCallEndsTheRunWithTheServersDescription)
{
    EnterFile("D100,3,1\nD200,8,x\n");
    for (int call = 1; call <= 5; ++call) {
        SCOPED_TRACE(call);
        m_Server.FailCall(call, u"refused\r\n<b>here</b>"_s);
        Run();
        EXPECT_EQ(TakeCalls().size(), call);
        const QStringList whole = LineLog(u"D100"_s) + LineLog(u"D200"_s);
        EXPECT_EQ(TakeLog(),
                  whole.first(call == 1 ? 0 : (call - 2) / 2 * 2 + 1) + QStringList({u"refused"_s, u"<b>here</b>"_s}));
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
        EXPECT_EQ(m_Main->Status(), u"Ready."_s);
    }
}

TEST_F(BatchWindow, FilesThatCannotBeReadAreDescribed)
{
    m_Form->SetTargetController(u"PLC9"_s);
    EnterFile("D100,3,1");
    Run();
    EXPECT_EQ(TakeLog(), QStringList({u"Controller not found: PLC9"_s}));
    TakeCalls();
    for (const QString& path : {m_Folder.filePath(u"none.txt"_s), m_Folder.path(), u"/dev/zero"_s}) {
        Filename().setText(path);
        Run();
        EXPECT_EQ(TakeCalls(), QStringList());
        const QStringList log = TakeLog();
        EXPECT_EQ(log.size(), 1);
        EXPECT_TRUE(log.value(0).startsWith(u"The file cannot be read: "_s + path)) << log.value(0).toStdString();
    }
    Filename().clear();
    Run();
    m_Form->SetTargetController(u"PLC1"_s);
    EnterFile("");
    Run();
    EXPECT_EQ(TakeCalls(), QStringList({Look}));
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(BatchWindow, StopEndsTheRunAfterTheLine)
{
    EnterFile(QByteArray("D100,3,1\n").repeated(5));
    BetweenLines([this] { Control("cmdStop").click(); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s));
    Run(); // starts anew
    EXPECT_EQ(TakeLog().size(), 10);
}

TEST_F(BatchWindow, ARunInsideARunFinishesFirst)
{
    const QByteArray outer = "D100,3,1\nD100,3,2\n";
    const QByteArray inner = "D200,8,a\nD200,8,b\n";
    for (const bool stops : {false, true}) {
        EnterFile(outer);
        BetweenLines([&] {
            EnterFile(inner);
            if (stops) BetweenLines([this] { Control("cmdStop").click(); });
            Run();
        });
        Run();
        const QStringList first = LineLog(u"D100"_s);
        const QStringList nested = LineLog(u"D200"_s);
        EXPECT_EQ(TakeLog(), stops ? first + nested : first + nested + nested + first);
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
    }
}

TEST_F(BatchWindow, RunsNestEightDeepAndNoDeeper)
{
    EnterFile("D100,3,1\n");
    int presses = 0;
    std::function<void()> press = [&] {
        ++presses;
        if (presses < 20) BetweenLines(press);
        Run();
    };
    press();
    EXPECT_EQ(TakeLog().size(), 2 * frmBatchWrite::DeepestRun);
    while (presses < 20) QCoreApplication::processEvents();
}

TEST_F(BatchWindow, ClosingDuringARunEndsItSafely)
{
    EnterFile(QByteArray("D100,3,1\n").repeated(5));
    BetweenLines([this] { m_Form->HideForm(); });
    Run();
    EXPECT_EQ(TakeLog().size(), 10); // hidden, it goes on
    BetweenLines([this] { BetweenLines([this] { ChildWindow::UnloadAll(); }), Run(); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + LineLog(u"D100"_s));
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
    m_Form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
    m_Form->SetTargetController(u"PLC1"_s);
    EnterFile(QByteArray("D100,3,1\n").repeated(5));
    TakeCalls();
    BetweenLines([this] { BetweenLines([this] { m_Main.reset(); }), Run(); });
    Run();
    EXPECT_FALSE(m_Form);
    EXPECT_EQ(TakeCalls().size(), 6);
    EXPECT_EQ(m_Server.m_LiveObjects, 0);
}

TEST_F(BatchWindow, WhatStandsWhileTheRunWaitsIsPainted)
{
    EnterFile("D100,3,1\n");
    PaintCount paints;
    BetweenLines([&] {
        QLabel box(u"a"_s); // as a message box that another window opens
        box.installEventFilter(&paints);
        box.show();
        QTest::qWait(50);
        for (const QString& text : {u"b"_s, u"c"_s}) {
            paints.Count = 0;
            box.setText(text);
            QTest::qWait(1);
        }
        QTest::qWait(100);
    });
    Run();
    EXPECT_EQ(paints.Count, 1);
}

TEST_F(BatchWindow, PaintsAtMostOnceAFrameWhileEventsAreServed)
{
    PaintCount paints;
    m_Main->Widget()->show();
    QTest::qWait(50);
    m_Main->Log().viewport()->installEventFilter(&paints);
    EnterFile(QByteArray("D100,3,1\n").repeated(2000));
    int ticks = 0;
    QTimer other;
    QObject::connect(&other, &QTimer::timeout, &other, [&] { ++ticks; });
    other.start(1);
    QElapsedTimer running;
    running.start();
    Run();
    const auto frames = static_cast<int>(running.elapsed() / 16 + 2);
    EXPECT_LE(paints.Count, frames);
    EXPECT_GE(paints.Count, frames / 4);
    EXPECT_GE(ticks, frames);
    const int during = paints.Count;
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > during; }, 1000)); // the last lines
}
