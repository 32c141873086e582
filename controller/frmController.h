#pragma once

#include "core/automation/ServerObjects.h"
#include "core/ChildWindow.h"
#include "ui_frmController.h"

class GridRefresher;

/// The console of one controller: shows its properties, starts, stops and snapshots it, executes commands, writes its
/// tag, adds items to it, and logs its events.
class frmController : public ChildWindow, private Ui::frmController, private ControllerEvents
{
    Q_OBJECT

public:
    frmController();

    /// Also starts the grid's refresh and the events that are ticked.
    void ShowForm() override;
    /// Also ends the events and the grid's refresh.
    void HideForm() override;

protected:
    bool Load() override;
    void FormUnload() override;

private:
    void ConnectFields();
    void ConnectCommands();

    void FillTypeLists();
    bool LayoutControllerGrid();
    void UpdateEventSubscription();
    void KeepSubscribed();
    bool PutTag(int typeIndex);
    void ShowExecuteResult(const Variant& result);

    void cmbType_Click();
    void cmbExecType_Click();
    void cmdStart_Click();
    void cmdStop_Click();
    void cmdSnapshot_Click();
    void cmdAddItem_Click();
    void cmdExecute_Click();
    void cmdClear_Click();

    // The events that arrive through m_csCtrlEvt.
    void OnChangeState(qint32 lNewVal) override { m_csCtrlEvt_OnChangeState(lNewVal); }
    void OnChangeItem(const ItemRef& pICSItem) override { m_csCtrlEvt_OnChangeItem(pICSItem); }
    void ForeseeChangeItem(const ItemRef& item) override;
    void m_csCtrlEvt_OnChangeState(qint32 lNewVal);
    void m_csCtrlEvt_OnChangeItem(const ItemRef& pICSItem);
    void LogEvent(const QString& line);
    void SetOverflow();

    ControllerRef m_csCtrl;
    /// The only subscription; empty while no event is wanted.
    EventSubscriptionRef m_csCtrlEvt;
    /// Subscribing has failed and was logged, since it last succeeded or the events were last wanted.
    bool m_SubscribingFails = false;
    GridRefresher* tmrCtrlProp;
    bool m_ItemEventsWanted = false;
    bool m_StateEventsWanted = false;
    bool m_EventLogOverflowed = false;
};
