#include "mainwindow/frmMDI.h"

#include "core/ChildWindow.h"
#include "core/ConsoleServices.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"
#include "core/WindowPlace.h"
#include "mainwindow/AccessKeys.h"
#include "mainwindow/CommandEntries.h"
#include "mainwindow/EditTarget.h"
#include "mainwindow/ErrorMark.h"
#include "mainwindow/HelpKey.h"
#include "mainwindow/ItemTip.h"
#include "mainwindow/LinePaste.h"
#include "mainwindow/NodeImages.h"
#include "mainwindow/ObjectTreeBuilder.h"
#include "mainwindow/PaneKeys.h"
#include "mainwindow/PanesLayout.h"
#include "mainwindow/ScrollToFocus.h"
#include "mainwindow/StatusPanels.h"
#include "mainwindow/TreeFind.h"

#include <QCloseEvent>
#include <QDialog>
#include <QPointer>
#include <QShortcut>

namespace {

constexpr int CheckIntervalMs = 100;

template <std::invocable Step>
void IgnoreFailure(Step&& step) noexcept
{
    try {
        std::forward<Step>(step)();
    } catch (...) { // nothing may keep the window open
    }
}

} // namespace

frmMDI::frmMDI(ConsoleServices& services, ObjectWindows windows)
    : MainWindow(services)
    , m_Commands(*this, std::move(windows))
    , m_Guide(services.System)
{
    setupUi(this);
    SetFirstSize(*this, {230 * fontMetrics().averageCharWidth(), 62 * fontMetrics().height()});
    m_Panels.emplace(stbrMain);
    LoadNodeImages(m_Tree);
    m_Panes = new PanesLayout({picFrame, lblObject, fraTree, picVBar, mdiChildren, picHBar, lblLog, txtLog});
    m_EditTarget = new EditTarget(this);
    new LinePaste(this);
    new AccessKeys(mnuBar);
    m_ErrorMark = new ErrorMark(txtLog, mdiChildren);
    new PaneKeys(this, fraTree, mdiChildren, m_ErrorMark, txtLog);
    new HelpKey(this, m_Guide);
    new ScrollToFocus(mdiChildren);
    ConnectTree();
    ConnectPresence();
    ConnectFindBar();
    ConnectMenus();
    ConnectPopups();
    ConnectLogPopup();
    ConnectErrorMark();
    ConnectToolbar();
    connect(&tmrObjChk, &QTimer::timeout, this, &frmMDI::tmrObjChk_Timer);
    modMain::SetMainWindow(this);
}

frmMDI::~frmMDI()
{
    Form_Unload();
    // If dropping the engine's name has failed, it is still there.
    modMain::ScriptTool.reset();
    modMain::SetMainWindow(nullptr);
}

void frmMDI::ConnectTree()
{
    treeObject->setModel(&m_Tree);
    treeObject->setFocus();
    treeObject->SetSayOfNode([this](const TreeNode& node) { return ReadItemTip(node, Services().Library); });
    connect(treeObject, &ObjectTreeView::MouseDown, this, &frmMDI::treeObject_MouseDown);
    connect(treeObject, &ObjectTreeView::NodeClick, this, &frmMDI::treeObject_NodeClick);
    connect(treeObject, &ObjectTreeView::NodeKey, this, &frmMDI::treeObject_NodeKey);
    connect(treeObject, &ObjectTreeView::NodeMenuKey, this, &frmMDI::ShowNodePopup);
    connect(treeObject, &ObjectTreeView::DblClick, this,
            [this] { modMain::ReportErrors(&frmMDI::treeObject_DblClick, this); });
    const auto* trend =
        new QShortcut(QKeySequence(QStringLiteral("Ctrl+T")), treeObject, nullptr, nullptr, Qt::WidgetShortcut);
    connect(trend, &QShortcut::activated, this,
            [this] { modMain::ReportErrors(&ObjectCommands::ShowTrend, &m_Commands); });
}

/// While the server is gone, the tree shows what was there.
void frmMDI::ConnectPresence()
{
    connect(&Services().Presence, &ServerPresence::Changed, this, [this] {
        const QString absence = Services().Presence.Absence();
        treeObject->SetDimmed(!absence.isEmpty());
        treeObject->setAccessibleDescription(absence);
    });
}

void frmMDI::ConnectFindBar()
{
    fraTree->setFocusProxy(treeObject);
    fraFind->MakeNarrow();
    fraFind->SetTarget(std::make_unique<TreeFind>(treeObject, m_Tree, fraFind));
    fraFind->AddKeys(fraTree);
    auto* escape = new QShortcut(Qt::Key_Escape, fraTree, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(escape, &QShortcut::activated, fraFind, [this] {
        if (fraFind->isVisible()) fraFind->Close();
    });
}

void frmMDI::ConnectErrorMark()
{
    setTabOrder(mdiChildren, m_ErrorMark);
    connect(m_ErrorMark, &ErrorMark::clicked, this, [this] {
        const bool hadFocus = m_ErrorMark->hasFocus();
        mnuView_3->trigger();
        if (hadFocus) txtLog->setFocus();
    });
}

void frmMDI::Form_Load()
{
    try {
        BuildObjectTree(*this);
        SelectNode(modMain::HistoryNode);
        SelectNode(modMain::EngineNode);
        m_Panes->Place();
        m_NodeHit = false;
        tmrObjChk.start(CheckIntervalMs);
        modMain::SetStatus(QStringLiteral("Ready."));
    } catch (...) {
        modMain::ShowPlain(CurrentErrorDescription());
    }
}

void frmMDI::Form_Unload()
{
    if (std::exchange(m_Unloaded, true)) return;
    IgnoreFailure([&] { modMain::SetStatus(QStringLiteral("Closing VelSQLTester...")); });
    IgnoreFailure([&] { CloseWindows(); });
    IgnoreFailure([&] { m_Guide.Close(); });
    IgnoreFailure([&] {
        if (!modMain::ScriptTool) return;
        modMain::ScriptTool->RemoveObject(QStringLiteral("Vlx"));
        modMain::ScriptTool.reset();
    });
    IgnoreFailure([&] { modMain::History.reset(); });
    IgnoreFailure([&] { modMain::Engine.reset(); });
    modMain::HistoryNode.reset();
    modMain::EngineNode.reset();
    tmrObjChk.stop();
}

bool frmMDI::event(QEvent* event)
{
    // The panels do not show the tips of menu entries.
    return event->type() == QEvent::StatusTip || QMainWindow::event(event);
}

void frmMDI::closeEvent(QCloseEvent* event)
{
    Form_Unload();
    event->accept();
}

void frmMDI::SetStatusText(const QString& text)
{
    m_Panels->SetStatus(text);
}

void frmMDI::PaintProgress()
{
    txtLog->ShowAppended();
    txtLog->viewport()->repaint();
    m_Panels->PaintStatus();
}

void frmMDI::RefreshStatusBar()
{
    if (m_CurrentNode) m_Panels->ShowNode(m_CurrentNode, m_Tree.Image(m_CurrentNode->Tag()));
}

void frmMDI::RefreshTlbar()
{
    ObjectEntries{btnShow, btnRemove}.EnableFor(m_CurrentNode);
    EditEntries{btnCut, btnCopy, btnPaste}.EnableFor(modMain::ActiveEditBox);
}

void frmMDI::RefreshMenuBar()
{
    ObjectEntries{mnuView_0, mnuEdit_0}.EnableFor(m_CurrentNode);
    EditEntries{mnuEdit_4, mnuEdit_5, mnuEdit_6}.EnableFor(modMain::ActiveEditBox);
}

void frmMDI::tmrObjChk_Timer()
{
    m_EditTarget->FollowFocus();
    RefreshTlbar();
    RefreshMenuBar();
    LogVersionNote();
}

/// Once for each server of another version; it is known only some time after the server is.
void frmMDI::LogVersionNote()
{
    const QString note = Services().Library.VersionNote();
    if (std::exchange(m_VersionNote, note) != note && !note.isEmpty()) IgnoreFailure([&] { modMain::AddLog(note); });
}

void frmMDI::treeObject_MouseDown(Qt::MouseButton button)
{
    m_MouseButton = button;
    m_NodeHit = false;
}

void frmMDI::treeObject_NodeClick(const TreeNodeRef& node, const QPoint& position)
{
    treeObject_NodeKey(node);
    if (m_MouseButton == Qt::RightButton) ShowNodePopup(node, position);
}

void frmMDI::treeObject_NodeKey(const TreeNodeRef& node)
{
    m_CurrentNode = node;
    m_NodeHit = true;
    RefreshStatusBar();
}

void frmMDI::treeObject_DblClick()
{
    if (m_NodeHit) m_Commands.Show(m_CurrentNode);
}

void frmMDI::ShowNodePopup(const TreeNodeRef& node, const QPoint& position)
{
    switch (node->Tag()) {
    case NodeTag::Engine: return mnuPopupEng->popup(position);
    case NodeTag::Controller: return mnuPopupCtrl->popup(position);
    case NodeTag::Item:
    case NodeTag::AddItem:
        mnuPopupItem_4->setEnabled(node->Tag() == NodeTag::AddItem);
        return mnuPopupItem->popup(position);
    case NodeTag::History: return mnuPopupHstry->popup(position);
    }
}

void frmMDI::CascadeWindows()
{
    modMain::SetStatus(QStringLiteral("Windows Cascade..."));
    mdiChildren->cascadeSubWindows();
    modMain::SetStatus(QStringLiteral("Ready."));
}

/// The dialogs that are open when the console is closed. Closing one may delete another.
void frmMDI::CloseDialogs()
{
    const auto found = findChildren<QDialog*>();
    for (const QPointer<QDialog>& dialog : QList<QPointer<QDialog>>(found.begin(), found.end()))
        if (dialog) dialog->close();
}

void frmMDI::CloseWindows()
{
    modMain::SetStatus(QStringLiteral("Close Window..."));
    CloseDialogs();
    ChildWindow::UnloadAll();
    modMain::SetStatus(QStringLiteral("Ready."));
}
