#include "additem/frmAddItem.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"
#include "tests/additem/DefinitionSample.h"
#include "tests/system/SystemConsole.h"

#include <QAction>
#include <QTimer>

#include <signal.h>

#include <thread>

namespace {

const QString PLC1 = u"VelSQLEngine\\PLC1"_s;
const QStringList AddLog = {u"Calling Controller:AddItem..."_s, u"Succeeded."_s};
const QStringList RemoveLog = {u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s};

class AddItemSystem : public SystemConsole
{
protected:
    AddItemSystem()
    {
        modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
            m_Boxes << box.text();
            return QMessageBox::Yes;
        });
    }

    /// Opens the dialog from the pop-up of a controller and hands it to `fill`, then presses OK; cancels when it stays open.
    template <std::invocable<frmAddItem&> Fill>
    void AddItem(const TreeNodeRef& controller, Fill&& fill)
    {
        m_Main->m_CurrentNode = controller;
        QTimer::singleShot(0, m_Main.get(), [&] {
            auto* dialog = qobject_cast<frmAddItem*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog);
            fill(*dialog);
            if (!dialog->isVisible()) return;
            Press(*dialog, "cmdOK");
            m_StayedOpen = dialog->isVisible();
            dialog->reject();
        });
        Control<QAction>(*m_Main, "mnuPopupCtrl_6").trigger();
    }
    void AddItem(const TreeNodeRef& controller, const QString& name)
    {
        AddItem(controller, [&](frmAddItem& dialog) { Control<QLineEdit>(dialog, "txtItemName").setText(name); });
    }
    void Execute(const QString& command) { modMain::Engine->Execute(command); }
    QString Names(const TreeNodeRef& node)
    {
        QStringList names;
        for (int row = 0; row < node->ChildCount(); ++row) names << node->Child(row)->Text();
        return names.join(u'/');
    }

    bool m_StayedOpen = false;
};

} // namespace

TEST_F(AddItemSystem, ANewItemStandsWhereTheServerListsIt)
{
    StartBoth();
    const TreeNodeRef plc = Node(PLC1);
    const QString before = Names(plc);
    AddItem(plc, u"New"_s);
    EXPECT_EQ(TakeLog(), AddLog);
    EXPECT_EQ(Names(plc), before + u"/New"_s);
    EXPECT_EQ(m_Main->m_CurrentNode, Node(PLC1 + u"\\New"_s));
    EXPECT_EQ(m_Main->SelectedNode(), m_Main->m_CurrentNode);
    EXPECT_EQ(QStringList({Panel(1), Panel(2), Panel(3)}), QStringList({u"Ready."_s, u"New"_s, u"0"_s}));
    EXPECT_EQ(Cell(ShowItem(PLC1 + u"\\New"_s), u"Name"_s), u"New");

    Execute(u"list PLC1 reordered"_s); // the newest first
    AddItem(plc, u"Newer"_s);
    EXPECT_EQ(Names(plc), u"Newer/"_s + before + u"/New"_s);
    Execute(u"list PLC1 missing"_s); // without the newest, which then stands behind the last one listed
    AddItem(plc, u"Newest"_s);
    EXPECT_EQ(Names(plc), u"Newer/Newest/"_s + before + u"/New"_s);
    EXPECT_EQ(TakeLog(), AddLog + AddLog);

    Execute(u"list PLC1 renamed"_s); // behind one that the tree does not have
    AddItem(plc, u"Lost"_s);
    EXPECT_TRUE(m_StayedOpen);
    EXPECT_EQ(TakeLog(), AddLog + QStringList{u"The object tree has no node \"%1\\Lost renamed\"."_s.arg(PLC1)});
    Execute(u"list PLC1 right"_s);
    AddItem(plc, u"Lost"_s);
    EXPECT_TRUE(m_StayedOpen);
    EXPECT_EQ(TakeLog().size(), 2) << "the server has it already";
    EXPECT_EQ(Names(plc), u"Newer/Newest/"_s + before + u"/New"_s);

    const TreeNodeRef empty = Node(u"VelSQLEngine\\Archive");
    AddItem(empty, u"Only"_s);
    AddItem(empty, u"Last"_s);
    EXPECT_EQ(Names(empty), u"Only/Last");
    EXPECT_EQ(TakeLog(), AddLog + AddLog);
}

TEST_F(AddItemSystem, TheServerGetsEveryElementInItsType)
{
    StartBoth();
    for (const int ticked : QList<int>{-1} + Flags()) {
        SCOPED_TRACE(ticked);
        AddItem(Node(PLC1), [ticked](frmAddItem& dialog) { EnterSample(dialog, ticked); });
        const Variant report = modMain::Engine->Execute(u"definition"_s);
        const Variant arrived = m_Library->CreateValueConverter()->TextToValue(report.Get<QString>());
        EXPECT_EQ(TypedTexts(arrived), SampleDefinition(ticked));
    }
}

TEST_F(AddItemSystem, AnAddedItemIsRemovedInFourWays)
{
    StartBoth();
    const QString key = PLC1 + u"\\New"_s;
    const QString before = Names(Node(PLC1));
    const auto held = [] { return modMain::Engine->Execute(u"references"_s).Get<QString>(); };
    const QString heldBefore = held();
    const std::function<void()> ways[] = {
        [this] { Control<QAction>(*m_Main, "mnuPopupItem_4").trigger(); },
        [this] { Control<QAction>(*m_Main, "mnuEdit_0").trigger(); },
        [this] { Control<QAction>(*m_Main, "btnRemove").trigger(); },
        [&] { Press(ShowItem(key), "cmdRemove"); },
    };
    for (const auto& remove : ways) {
        AddItem(Node(PLC1), u"New"_s);
        ShowItem(key);
        m_Main->RefreshTlbar();
        m_Main->RefreshMenuBar();
        EXPECT_EQ(TakeLog(), AddLog);
        remove();
        EXPECT_EQ(std::exchange(m_Boxes, {}), QStringList{u"Are you sure ?"_s});
        EXPECT_EQ(TakeLog(), RemoveLog);
        EXPECT_EQ(Names(Node(PLC1)), before);
        EXPECT_TRUE(ChildWindow::Forms().isEmpty());
        EXPECT_EQ(m_Main->m_CurrentNode, m_Main->SelectedNode());
        EXPECT_EQ(Panel(2), m_Main->m_CurrentNode->Text());
        EXPECT_TRUE(QTest::qWaitFor([&] { return held() == heldBefore; })) << held().toStdString();
    }
    m_Main->m_CurrentNode = Node(PLC1 + u"\\D100"_s);
    m_Main->RefreshTlbar();
    m_Main->RefreshMenuBar();
    EXPECT_FALSE(Control<QAction>(*m_Main, "mnuEdit_0").isEnabled()) << "an item of the configuration";
    EXPECT_FALSE(Control<QAction>(*m_Main, "btnRemove").isEnabled());
}

TEST_F(AddItemSystem, AServerThatDiesDuringTheCallLeavesTheDialogOpen)
{
    StartBoth();
    const QString before = Names(Node(PLC1));
    Execute(u"disturb Controller(PLC1).AddItem slow 20000"_s);
    std::thread killer([pid = static_cast<pid_t>(m_Server.ProcessId())] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        kill(pid, SIGKILL);
    });
    AddItem(Node(PLC1), u"New"_s);
    killer.join();
    EXPECT_TRUE(m_StayedOpen);
    EXPECT_EQ(TakeLog(), QStringList({AddLog[0], u"The connection to the server was lost; the call may still have "
                                                 u"taken effect."_s}));
    EXPECT_EQ(Names(Node(PLC1)), before);
}

TEST_F(AddItemSystem, ClosingEverythingClosesTheDialogToo)
{
    StartBoth();
    for (const bool wholeConsole : {false, true}) {
        bool stayed = true;
        AddItem(Node(PLC1), [&](frmAddItem& dialog) {
            if (wholeConsole) m_Main->close();
            else Control<QAction>(*m_Main, "mnuWindow_1").trigger();
            stayed = dialog.isVisible();
        });
        EXPECT_FALSE(stayed);
    }
    EXPECT_FALSE(modMain::Engine);
    EXPECT_EQ(TakeLog(), QStringList());
}
