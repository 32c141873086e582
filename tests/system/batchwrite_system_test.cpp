#include "batchwrite/frmBatchWrite.h"
#include "core/LogPane.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "tests/system/SystemConsole.h"

#include <QAction>
#include <QTemporaryFile>
#include <QTextBlock>
#include <QTimer>

namespace {

const QString PLC1 = u"VelSQLEngine\\PLC1"_s;
const QByteArray EndlessLine = "D100,3,120\n";

class BatchSystem : public SystemConsole
{
protected:
    /// By the entry of the controller's pop-up menu.
    void OpenFor(const QString& controller)
    {
        m_Main->m_CurrentNode = Node(controller);
        Control<QAction>(*m_Main, "mnuPopupCtrl_8").trigger();
        m_Form = dynamic_cast<frmBatchWrite*>(ChildWindow::Forms().last());
        ASSERT_TRUE(m_Form);
    }
    void EnterFile(const QByteArray& content)
    {
        m_File.emplace();
        ASSERT_TRUE(m_File->open());
        m_File->write(content);
        m_File->flush();
        Control<QLineEdit>(*m_Form, "txtFilename").setText(m_File->fileName());
    }
    void EnterLongFile() { EnterFile(EndlessLine.repeated(200'000)); }
    void Run() { Press(*m_Form, "cmdStart"); }
    template <typename Action>
    void After(int milliseconds, Action action)
    {
        QTimer::singleShot(milliseconds, m_Main.get(), action);
    }
    static QStringList LineLog(const QString& item)
    {
        return {u"Calling Item(%1):put_Value..."_s.arg(item), u"Succeeded."_s};
    }
    static QString Ask(const QString& command) { return modMain::Engine->Execute(command).Get<QString>(); }
    bool NewestLineIsSeen()
    {
        m_Main->Log().ShowAppended();
        return m_Main->Log().viewport()->rect().contains(m_Main->Log().cursorRect());
    }
    QString ValueOf(const QString& item)
    {
        const ItemRef object = modMain::Engine->get_Controller(u"PLC1"_s)->get_Item(item);
        return modMain::Converter().ValueToText(object->get_Value(), 0);
    }

    QPointer<frmBatchWrite> m_Form;
    std::optional<QTemporaryFile> m_File;
};

TEST_F(BatchSystem, WritesTheItemsOfTheControllerItWasOpenedForLast)
{
    StartBoth();
    OpenFor(u"VelSQLEngine\\Archive"_s);
    const frmBatchWrite* first = m_Form;
    OpenFor(PLC1);
    EXPECT_EQ(m_Form, first);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (PLC1)"_s);
    EXPECT_TRUE(m_Form->isVisible());

    EnterFile("D100,3,-7\r\nRecipe,8,N\xC3\xBCrnberg, \"1\"\nRecipe,8,N\xFCrnberg\nD100,5,2.5");
    Ask(u"calls"_s);
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + LineLog(u"Recipe"_s) + LineLog(u"Recipe"_s) + LineLog(u"D100"_s));
    EXPECT_EQ(Ask(u"calls"_s), u"Engine.get_Controller(8)\r\n"
                               "Controller(PLC1).get_Item(8)\r\nItem(PLC1\\D100).put_Value(3)\r\n"
                               "Controller(PLC1).get_Item(8)\r\nItem(PLC1\\Recipe).put_Value(8)\r\n"
                               "Controller(PLC1).get_Item(8)\r\nItem(PLC1\\Recipe).put_Value(8)\r\n"
                               "Controller(PLC1).get_Item(8)\r\nItem(PLC1\\D100).put_Value(5)\r\nEngine.Execute(8)"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }, 5000));
    EXPECT_EQ(ValueOf(u"D100"_s), u"3,2"_s);
    EXPECT_EQ(ValueOf(u"Recipe"_s), u"8,Nürnberg"_s);
}

TEST_F(BatchSystem, OtherWindowsLiveOnAndStopIsHeard)
{
    StartBoth();
    ChildWindow& controller = Show(PLC1);
    QPointer<frmItem> closed = &ShowItem(PLC1 + u"\\Recipe"_s);
    frmItem& item = ShowItem(PLC1 + u"\\D100"_s);
    OpenFor(PLC1);
    EnterLongFile();
    QString value, status;
    bool newestIsSeen = false;
    After(300, [&] {
        controller.Unload();
        closed->close();
    });
    After(1500, [&] {
        value = Cell(item, u"Value"_s);
        status = Panel(1);
        newestIsSeen = NewestLineIsSeen();
        QTest::mouseClick(&Control<QPushButton>(*m_Form, "cmdStop"), Qt::LeftButton);
    });
    Run();
    EXPECT_EQ(value, u"120 (I4)"_s) << "read meanwhile";
    EXPECT_EQ(status, u"Ready."_s);
    EXPECT_TRUE(newestIsSeen);
    EXPECT_EQ(ChildWindow::Forms().size(), 2);
    const QStringList log = TakeLog();
    EXPECT_GT(log.size(), 20);
    EXPECT_LT(log.size(), 400'000);
    EXPECT_EQ(log.last(2), LineLog(u"D100"_s));
}

TEST_F(BatchSystem, ALineIsSeenInTheLogBeforeItsCallBlocks)
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
    StartBoth();
    modMain::Engine->Execute(u"disturb Item(PLC1\\D100).put_Value slow 100"_s);
    OpenFor(PLC1);
    EnterFile(EndlessLine.repeated(3));
    m_Main->Log().viewport()->installEventFilter(&seen);
    Run();
    for (int line : {0, 2, 4})
        EXPECT_TRUE(seen.NewestLines.contains(u"%1 : Calling Item(D100):put_Value..."_s.arg(line))) << line;
}

TEST_F(BatchSystem, AServerThatRefusesDiesOrHangsEndsTheRunAndServesTheNext)
{
    StartBoth();
    RemoteLibrary library(m_Server.SocketPath(), QString());
    const EngineRef other = library.CreateEngine();
    const struct
    {
        std::function<void()> Disturb, Restore;
        QString Description;
    } rows[] = {
        {[&] { other->Execute(u"disturb Item(PLC1\\D100).put_Value fail Refused."_s); },
         [] { modMain::Engine->Execute(u"restore"_s); }, u"Refused."_s},
        {[&] { m_Server.Kill(); }, [&] { m_Server.Start(); },
         u"The connection to the server was lost; the call may still have taken effect."_s},
        {[&] { m_Server.Suspend(); }, [&] { m_Server.Resume(); },
         u"The server does not answer; the call was given up and may still take effect."_s},
    };
    OpenFor(PLC1);
    for (const auto& row : rows) {
        EnterLongFile();
        After(200, row.Disturb);
        Run();
        const QStringList log = TakeLog();
        EXPECT_GT(log.size(), 2);
        EXPECT_EQ(log.last(2), QStringList({LineLog(u"D100"_s)[0], row.Description}));
        row.Restore();
        EnterFile("D100,3,1");
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                Run();
                return TakeLog() == LineLog(u"D100"_s);
            },
            8000));
    }
}

TEST_F(BatchSystem, TheConsoleClosesFromARunInsideARun)
{
    StartBoth();
    OpenFor(PLC1);
    EnterLongFile();
    QStringList log;
    After(100, [&] {
        After(100, [&] {
            log = TakeLog();
            m_Main->close();
        });
        Run();
        EXPECT_FALSE(modMain::Engine);
    });
    Run();
    EXPECT_EQ(log.last(2), LineLog(u"D100"_s));
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    m_Main.reset();
    EXPECT_EQ(m_Boxes, QStringList());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Form && m_Server.Answer(u"references"_s) == NothingHeld; }, 5000));
}

} // namespace
