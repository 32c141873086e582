// What the entries of menus, pop-ups and toolbar do: bound by their names, so that their order is the form's alone.
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "mainwindow/frmMDI.h"
#include "mainwindow/LogMenu.h"
#include "mainwindow/PanesLayout.h"

#include <QFileInfo>
#include <QVersionNumber>

namespace {

void ShowVersion()
{
    const auto version = QVersionNumber::fromString(QStringLiteral(VELSQL_VERSION));
    modMain::ShowPlain(QStringLiteral("%1 version %2.%3.%4")
                           .arg(QFileInfo(QCoreApplication::applicationFilePath()).fileName())
                           .arg(version.majorVersion())
                           .arg(version.minorVersion())
                           .arg(version.microVersion()));
}

} // namespace

template <typename Command, typename... Arguments>
void frmMDI::Bind(QAction* entry, Command command, Arguments... arguments)
{
    connect(entry, &QAction::triggered, this, [=] { modMain::ReportErrors(command, arguments...); });
}

void frmMDI::BindCall(QAction* entry, QStringView object, QStringView operation, void (VelSQLEngine::*call)())
{
    connect(entry, &QAction::triggered, this, [=] { modMain::CallServer(object, operation, call, modMain::Engine); });
}

void frmMDI::ConnectMenus()
{
    Bind(mnuFile_0, &frmMDI::close, this);
    Bind(mnuEdit_0, &ObjectCommands::RemoveItem, &m_Commands);
    Bind(mnuEdit_2, modMain::ClearTextBox, txtLog);
    Bind(mnuEdit_4, modMain::EditCut);
    Bind(mnuEdit_5, modMain::EditCopy);
    Bind(mnuEdit_6, modMain::EditPaste);
    Bind(mnuView_0, &frmMDI::treeObject_DblClick, this);
    Bind(mnuView_2, [this] { m_Panes->ShowObjectPane(mnuView_2->isChecked()); });
    Bind(mnuView_3, [this] { m_Panes->ShowLogPane(mnuView_3->isChecked()); });
    Bind(mnuTool_0, &ObjectCommands::ShowScriptTool, &m_Commands);
    Bind(mnuWindow_0, &frmMDI::CascadeWindows, this);
    Bind(mnuWindow_1, &frmMDI::CloseWindows, this);
    Bind(mnuHelp_0, ShowVersion);
}

void frmMDI::ConnectPopups()
{
    Bind(mnuPopupEng_0, [this] { m_Commands.ShowCurrent({NodeTag::Engine}); });
    BindCall(mnuPopupEng_2, u"Engine", u"Start", &VelSQLEngine::Start);
    BindCall(mnuPopupEng_3, u"Engine", u"Stop", &VelSQLEngine::Stop);
    BindCall(mnuPopupEng_4, u"Engine", u"Snapshot", &VelSQLEngine::Snapshot);
    Bind(mnuPopupCtrl_0, [this] { m_Commands.ShowCurrent({NodeTag::Controller}); });
    // On purpose these drive the engine, not the controller: operators rely on it.
    BindCall(mnuPopupCtrl_2, u"Controller", u"Start", &VelSQLEngine::Start);
    BindCall(mnuPopupCtrl_3, u"Controller", u"Stop", &VelSQLEngine::Stop);
    BindCall(mnuPopupCtrl_4, u"Controller", u"Snapshot", &VelSQLEngine::Snapshot);
    Bind(mnuPopupCtrl_6, &ObjectCommands::AddItem, &m_Commands);
    Bind(mnuPopupCtrl_8, &ObjectCommands::BatchWrite, &m_Commands);
    Bind(mnuPopupItem_0, [this] { m_Commands.ShowCurrent({NodeTag::Item, NodeTag::AddItem}); });
    Bind(mnuPopupItem_2, &ObjectCommands::SnapshotItem, &m_Commands);
    Bind(mnuPopupItem_4, &ObjectCommands::RemoveItem, &m_Commands);
    Bind(mnuPopupHstry_0, [this] { m_Commands.Show(modMain::HistoryNode); }); // whatever node is current
}

void frmMDI::ConnectLogPopup()
{
    new LogMenu(txtLog, mnuPopupLog, {mnuPopupLog_0, mnuPopupLog_1, mnuPopupLog_2});
    Bind(mnuPopupLog_0, modMain::EditCut);
    Bind(mnuPopupLog_1, modMain::EditCopy);
    Bind(mnuPopupLog_2, modMain::EditPaste);
    Bind(mnuPopupLog_4, modMain::ClearTextBox, txtLog);
}

void frmMDI::ConnectToolbar()
{
    Bind(btnShow, [this] { m_Commands.Show(m_CurrentNode); });
    Bind(btnRemove, &ObjectCommands::RemoveItem, &m_Commands);
    Bind(btnCut, modMain::EditCut);
    Bind(btnCopy, modMain::EditCopy);
    Bind(btnPaste, modMain::EditPaste);
    for (QAction* action : tlbar->actions()) {
        QWidget* button = tlbar->widgetForAction(action);
        // On purpose the button for cutting has no caption.
        button->setAccessibleName(action->toolTip());
        // Pressing a button leaves the focus, and with it the selection, where it is.
        button->setFocusPolicy(Qt::NoFocus);
    }
}
