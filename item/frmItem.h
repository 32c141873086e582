#pragma once

#include "core/automation/ServerObjects.h"
#include "core/ChildWindow.h"
#include "item/ItemAccess.h"
#include "ui_frmItem.h"

#include <QPointer>

class frmPerfChk;
class GridRefresher;

/// The console of one item: shows its properties, gets and puts single properties as typed values, and switches the
/// item, takes a snapshot of it or removes it.
class frmItem : public ChildWindow, private Ui::frmItem
{
    Q_OBJECT

public:
    frmItem();

    /// Also starts the grid's refresh.
    void ShowForm() override;
    /// Also stops the grid's refresh.
    void HideForm() override;

    /// As wide as its fields need, so that as many windows as possible stand side by side.
    QSize sizeHint() const override;

protected:
    bool Load() override;
    void FormUnload() override;

private:
    void ConnectFields();
    void ConnectCommands();

    void LookUpItem();
    void FillPropertyList();
    bool InitItemGrid();
    void InitActivation();

    void cmbProperty_Click();
    void cmbType_Click();
    void chkDelay_Click();
    bool txtDelay_Validate();
    void cmdGet_Click();
    void cmdPut_Click();
    void chkActv_Click();
    void chkLinkActv_Click();
    void cmdSnapshot_Click();
    void cmdRemove_Click();
    void cmdPerfchk_Click();

    void ShowValue(const Variant& value);
    void ShowThumbnail(const QList<quint8>& bytes);
    void RemoveItem();

    ControllerRef m_csCtrl;
    ItemRef m_csItem;
    GridRefresher* tmrItemProp;
    /// The dialog that is measuring this window's item, if it is open.
    QPointer<frmPerfChk> m_PerfChk;
    const ItemAccess* m_Property = &ItemAccesses[0];
    /// Whether chkDelay was ticked when a property other than Value was last chosen.
    bool m_DelayTicked = false;
};
