#pragma once

#include "core/MainWindow.h"
#include "core/ObjectTreeModel.h"
#include "guide/Guide.h"
#include "mainwindow/ObjectCommands.h"
#include "mainwindow/StatusPanels.h"
#include "ui_frmMDI.h"

#include <QMainWindow>
#include <QTimer>

#include <optional>

class EditTarget;
class ErrorMark;
class PanesLayout;

/// The main window: start-up and shut-down, the object tree, and every command of menus, pop-ups and toolbar.
class frmMDI : public QMainWindow, public MainWindow, private Ui::frmMDI
{
    Q_OBJECT

public:
    explicit frmMDI(ConsoleServices& services, ObjectWindows windows = ConsoleWindows());
    ~frmMDI() override;

    /// Creates the engine and builds the tree. A failure is shown in one message box and skips the rest of the load.
    void Form_Load();
    /// Closes all child windows and releases the server's objects, whatever fails on the way; runs once.
    void Form_Unload();

    QWidget* Widget() override { return this; }
    QMdiArea& ChildArea() override { return *mdiChildren; }
    LogPane& Log() override { return *txtLog; }
    ObjectTreeModel& Tree() override { return m_Tree; }
    TreeNodeRef SelectedNode() const override { return treeObject->SelectedNode(); }
    void SelectNode(const TreeNodeRef& node) override { treeObject->SelectNode(node); }
    void SetStatusText(const QString& text) override;
    void PaintProgress() override;
    void RefreshStatusBar() override;
    void RefreshTlbar() override;
    void RefreshMenuBar() override;

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    /// Connects an entry or button to its command. An exception from the command ends in one log line, not in the event
    /// loop.
    template <typename Command, typename... Arguments>
    void Bind(QAction* entry, Command command, Arguments... arguments);
    /// Connects an entry to a call on the engine, which the log calls `object`.
    void BindCall(QAction* entry, QStringView object, QStringView operation, void (VelSQLEngine::*call)());
    void ConnectTree();
    void ConnectPresence();
    void ConnectFindBar();
    void ConnectMenus();
    void ConnectPopups();
    void ConnectLogPopup();
    void ConnectErrorMark();
    void ConnectToolbar();

    void treeObject_MouseDown(Qt::MouseButton button);
    void treeObject_NodeClick(const TreeNodeRef& node, const QPoint& position);
    void treeObject_NodeKey(const TreeNodeRef& node);
    /// Throws what loading the window throws.
    void treeObject_DblClick();
    void tmrObjChk_Timer();
    void LogVersionNote();
    void ShowNodePopup(const TreeNodeRef& node, const QPoint& position);
    void CascadeWindows();
    void CloseDialogs();
    void CloseWindows();

    ObjectTreeModel m_Tree;
    ObjectCommands m_Commands;
    Guide m_Guide;
    std::optional<StatusPanels> m_Panels;
    PanesLayout* m_Panes;
    EditTarget* m_EditTarget;
    ErrorMark* m_ErrorMark;
    QTimer tmrObjChk;
    Qt::MouseButton m_MouseButton = Qt::NoButton;
    QString m_VersionNote;
    bool m_NodeHit = false;
    bool m_Unloaded = false;
};
