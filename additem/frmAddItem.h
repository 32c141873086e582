#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"
#include "ui_frmAddItem.h"

#include <QDialog>

/// The modal dialog in which the operator defines a new item and has a controller create it.
class frmAddItem : public QDialog, private Ui::frmAddItem
{
    Q_OBJECT

public:
    explicit frmAddItem(QWidget* parent);

    /// The controller that gets the item, and its node; set by the opener, dropped when the dialog closes.
    ControllerRef m_csCtrl;
    TreeNodeRef m_TreeNode;

    /// Every way of closing ends here.
    void done(int result) override;

private:
    void ConnectLists();
    void ConnectCheckBoxes();
    void ConnectFieldChecks();
    void Form_Load();

    void cmbItemType_Click();
    void cmbClass_Click();
    void cmbAttr_Click();
    void cmbCalc_Click();
    void cmbCalc2_Click();
    void chkVariable_Click();
    void chkInit_Click();
    void sstbAddItem_Click(int previousPage);
    bool txtItemName_Validate();
    void cmdOK_Click();

    void AddItem();

    int m_ShownPage = 0;
};

/// Opens a new dialog for a controller and returns when it is closed; the calling window may be gone by then.
void ShowAddItem(const ControllerRef& controller, const TreeNodeRef& node);
