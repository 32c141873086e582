#include "mainwindow/frmMDI.h"

#include "core/ChildWindow.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "mainwindow/AccessKeys.h"
#include "mainwindow/CommandStates.h"
#include "mainwindow/EditTarget.h"
#include "mainwindow/LinePaste.h"
#include "mainwindow/LogMenu.h"
#include "mainwindow/ObjectTreeBuilder.h"
#include "mainwindow/PaneKeys.h"
#include "mainwindow/PanesLayout.h"
#include "mainwindow/ScrollToFocus.h"
#include "mainwindow/StatusPanels.h"

#include <QCloseEvent>
#include <QDialog>
#include <QFileInfo>
#include <QPointer>
#include <QScreen>
#include <QVersionNumber>

/// A static library brings its resources in only when asked, and not from inside a namespace.
static void InitImages()
{
    Q_INIT_RESOURCE(mainwindow);
}

namespace {

constexpr NodeTag AllTags[] = {NodeTag::Engine, NodeTag::Controller, NodeTag::Item, NodeTag::AddItem, NodeTag::History};

constexpr int CheckIntervalMs = 100;

void ShowVersion()
{
    const auto version = QVersionNumber::fromString(QStringLiteral(VELSQL_VERSION));
    modMain::ShowPlain(QStringLiteral("%1 version %2.%3.%4")
                           .arg(QFileInfo(QCoreApplication::applicationFilePath()).fileName())
                           .arg(version.majorVersion())
                           .arg(version.minorVersion())
                           .arg(version.microVersion()));
}

template <std::invocable Step>
void IgnoreFailure(Step&& step) noexcept
{
    try {
        std::forward<Step>(step)();
    } catch (...) { // Nothing keeps the window open.
    }
}

} // namespace

frmMDI::frmMDI(ConsoleServices& services, ObjectWindows windows)
    : MainWindow(services)
    , m_Commands(*this, std::move(windows))
{
    InitImages();
    setupUi(this);
    SetFirstSize();
    m_Panels.emplace(stbrMain);
    LoadImages();
    m_Panes = new PanesLayout({picFrame, lblObject, treeObject, picVBar, mdiChildren, picHBar, lblLog, txtLog});
    m_EditTarget = new EditTarget(this);
    new LinePaste(this);
    new LogMenu(txtLog, mnuPopupLog);
    new AccessKeys(mnuBar);
    new PaneKeys(this, treeObject, mdiChildren, txtLog);
    new ScrollToFocus(mdiChildren);
    ConnectTree();
    ConnectMenus();
    ConnectPopups();
    ConnectToolbar();
    connect(&tmrObjChk, &QTimer::timeout, this, &frmMDI::tmrObjChk_Timer);
    modMain::SetMainWindow(this);
}

frmMDI::~frmMDI()
{
    Form_Unload();
    modMain::ScriptTool.reset(); // Where dropping the engine's name failed it is still there.
    modMain::SetMainWindow(nullptr);
}

void frmMDI::SetFirstSize()
{
    const QSize available = screen()->availableSize();
    resize(QSize(1100, 750).boundedTo(available * 9 / 10));
}

void frmMDI::LoadImages()
{
    for (const NodeTag tag : AllTags) {
        const QString file = QStringLiteral(":/mainwindow/%1.svg").arg(TagText(tag));
        QIcon image(file);
        image.addFile(file, {}, QIcon::Selected); // its own colours on a selected row, too
        m_Tree.SetImage(tag, image);
    }
}

void frmMDI::ConnectTree()
{
    treeObject->setModel(&m_Tree);
    treeObject->setFocus();
    connect(treeObject, &ObjectTreeView::MouseDown, this, &frmMDI::treeObject_MouseDown);
    connect(treeObject, &ObjectTreeView::NodeClick, this, &frmMDI::treeObject_NodeClick);
    connect(treeObject, &ObjectTreeView::NodeKey, this, &frmMDI::treeObject_NodeKey);
    connect(treeObject, &ObjectTreeView::NodeMenuKey, this, &frmMDI::ShowNodePopup);
    connect(treeObject, &ObjectTreeView::DblClick, this, &frmMDI::treeObject_DblClick);
}

void frmMDI::ConnectMenus()
{
    const MenuEntries edit = {
        {0, [this] { m_Commands.RemoveItem(); }},
        {2, [this] { modMain::ClearTextBox(txtLog); }},
        {4, modMain::EditCut},
        {5, modMain::EditCopy},
        {6, modMain::EditPaste},
    };
    const MenuEntries view = {
        {0, [this] { treeObject_DblClick(); }},
        {2, [this] { m_Panes->ShowObjectPane(mnuView_2->isChecked()); }},
        {3, [this] { m_Panes->ShowLogPane(mnuView_3->isChecked()); }},
    };
    ConnectEntries(mnuFile, {{0, [this] { close(); }}});
    ConnectEntries(mnuEdit, edit);
    ConnectEntries(mnuView, view);
    ConnectEntries(mnuTool, {{0, [this] { m_Commands.ShowScriptTool(); }}});
    ConnectEntries(mnuWindow, {{0, [this] { CascadeWindows(); }}, {1, [this] { CloseWindows(); }}});
    ConnectEntries(mnuHelp, {{0, ShowVersion}});
}

void frmMDI::ConnectPopups()
{
    const MenuEntries log = {
        {0, modMain::EditCut},
        {1, modMain::EditCopy},
        {2, modMain::EditPaste},
        {4, [this] { modMain::ClearTextBox(txtLog); }},
    };
    ConnectEntries(mnuPopupEng, m_Commands.EngineEntries());
    ConnectEntries(mnuPopupCtrl, m_Commands.ControllerEntries());
    ConnectEntries(mnuPopupItem, m_Commands.ItemEntries());
    ConnectEntries(mnuPopupHstry, m_Commands.HistoryEntries());
    ConnectEntries(mnuPopupLog, log);
}

void frmMDI::ConnectToolbar()
{
    const MenuEntries buttons = {
        {0, [this] { m_Commands.Show(); }},
        {1, [this] { m_Commands.RemoveItem(); }},
        {2, modMain::EditCut},
        {3, modMain::EditCopy},
        {4, modMain::EditPaste},
    };
    ConnectEntries(tlbar, buttons);
    for (QAction* action : tlbar->actions()) {
        QWidget* button = tlbar->widgetForAction(action);
        button->setAccessibleName(action->toolTip()); // The one for cutting has no caption: it is meant.
        button->setFocusPolicy(Qt::NoFocus); // Pressing one leaves the focus, and with it the selection, where it is.
    }
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
    // The panels are not for the tips of menu entries.
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
    CommandStates::Of(m_CurrentNode, modMain::ActiveEditBox).ApplyTo({btnShow, btnRemove, btnCut, btnCopy, btnPaste});
}

void frmMDI::RefreshMenuBar()
{
    CommandStates::Of(m_CurrentNode, modMain::ActiveEditBox)
        .ApplyTo({mnuView_0, mnuEdit_0, mnuEdit_4, mnuEdit_5, mnuEdit_6});
}

void frmMDI::tmrObjChk_Timer()
{
    m_EditTarget->FollowFocus();
    RefreshTlbar();
    RefreshMenuBar();
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
    if (m_NodeHit) modMain::ReportErrors([&] { m_Commands.Show(); });
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

/// Those that stand while the console is closed. Closing one may take another with it.
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
