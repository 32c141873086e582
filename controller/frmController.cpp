#include "controller/frmController.h"

#include "additem/frmAddItem.h"
#include "controller/ControllerRows.h"
#include "core/automation/PlainText.h"
#include "core/ConsoleServices.h"
#include "core/GridRefresher.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/modValues.h"

#include <QStringBuilder>

using namespace modMain;

namespace {

constexpr PropertyGrid::Layout GridLayout = {.CaptionTwips = 1300, .MarginTwips = 280, .ValueCharacters = 38};
constexpr qint32 LastNamedState = 4;

/// EMPTY and NULL take no text.
bool TakesText(const ListBox* types)
{
    const VarType type = TypeIndexToVarType(static_cast<qint16>(types->ListIndex()));
    return type != VT_EMPTY && type != VT_NULL;
}

} // namespace

frmController::frmController()
{
    setupUi(this);
    fgCtrl->Follow(modMain::GetMainWindow()->Services().Presence);
    tmrCtrlProp = new GridRefresher(fgCtrl, modMain::GetMainWindow()->Services().Turns, this);
    ConnectFields();
    ConnectCommands();
}

void frmController::ConnectFields()
{
    connect(cmbType, &ListBox::Click, this, &frmController::cmbType_Click);
    connect(cmbExecType, &ListBox::Click, this, &frmController::cmbExecType_Click);
    connect(chkEvent_0, &QCheckBox::stateChanged, this, &frmController::UpdateEventSubscription);
    connect(chkEvent_1, &QCheckBox::stateChanged, this, &frmController::UpdateEventSubscription);
    connect(tmrCtrlProp, &GridRefresher::Refreshed, this, &frmController::KeepSubscribed);
}

void frmController::ConnectCommands()
{
    connect(cmdStart, &QPushButton::clicked, this, &frmController::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmController::cmdStop_Click);
    connect(cmdSnapshot, &QPushButton::clicked, this, &frmController::cmdSnapshot_Click);
    connect(cmdAddItem, &QPushButton::clicked, this, &frmController::cmdAddItem_Click);
    connect(cmdExecute, &QPushButton::clicked, this, &frmController::cmdExecute_Click);
    connect(cmdPut, &QPushButton::clicked, this, [this] { PutTag(cmbType->ListIndex()); });
    connect(cmdClear, &QPushButton::clicked, this, &frmController::cmdClear_Click);
    connect(cmdHide, &QPushButton::clicked, this, &frmController::HideForm);
}

void frmController::ShowForm()
{
    if (IsUnloading()) return;
    ChildWindow::ShowForm();
    tmrCtrlProp->Start();
    UpdateEventSubscription();
}

void frmController::HideForm()
{
    m_csCtrlEvt.reset();
    tmrCtrlProp->Stop();
    ChildWindow::HideForm();
}

/// Intended: a window that cannot be loaded disappears without a log line.
bool frmController::Load()
{
    try {
        m_csCtrl = Engine->get_Controller(Variant(m_TreeNode->Text()));
        FillTypeLists();
        return LayoutControllerGrid();
    } catch (...) {
        return false;
    }
}

void frmController::FormUnload()
{
    m_csCtrlEvt.reset();
    tmrCtrlProp->Stop();
    fgCtrl->Lay({}, GridLayout); // the rows refer to the controller
    m_csCtrl.reset();
}

void frmController::FillTypeLists()
{
    FillTypeList(cmbExecType);
    FillTypeList(cmbType);
    cmbType->RemoveItem(UnknownTypeIndex);
}

/// False when the window was unloaded while the grid was laid out.
bool frmController::LayoutControllerGrid()
{
    if (!m_csCtrl) return true;
    fgCtrl->Lay(ControllerRows(m_csCtrl), GridLayout);
    if (IsUnloading()) return false;
    tmrCtrlProp->RefreshNow();
    return true;
}

void frmController::cmbType_Click()
{
    EnableFields(TakesText(cmbType), {txtValue});
}

void frmController::cmbExecType_Click()
{
    EnableFields(TakesText(cmbExecType), {txtExecPara});
    cmdExecute->setEnabled(cmbExecType->ListIndex() != UnknownTypeIndex);
}

void frmController::cmdStart_Click()
{
    CallServer(u"Controller", u"Start", &VelSQLController::Start, m_csCtrl);
}

void frmController::cmdStop_Click()
{
    CallServer(u"Controller", u"Stop", &VelSQLController::Stop, m_csCtrl);
}

void frmController::cmdSnapshot_Click()
{
    CallServer(u"Controller", u"Snapshot", &VelSQLController::Snapshot, m_csCtrl);
}

void frmController::cmdAddItem_Click()
{
    ReportErrors(ShowAddItem, m_csCtrl, m_TreeNode);
}

void frmController::cmdExecute_Click()
{
    ReportErrors([this] {
        const Variant parameter = ToValue(cmbExecType->ListIndex(), txtExecPara->text());
        Announce(u"Controller", u"Execute");
        ShowExecuteResult(m_csCtrl->Execute(txtExecCmd->text(), parameter));
        AddLog(QStringLiteral("Succeeded."));
    });
}

/// Throws when the result's typed text has no value text; the list shows the result's type anyway.
void frmController::ShowExecuteResult(const Variant& result)
{
    const QString typedText = ValueToTypedText(result);
    cmbExecType->SetListIndex(VarTypeToTypeIndex(result.Type()));
    if (!typedText.contains(u',')) throw ValueError::SubscriptOutOfRange();
    txtExecResult->setText(ValueTextOf(typedText));
    // A long result is shown from its beginning.
    txtExecResult->setCursorPosition(0);
}

/// True when the tag was written; any failure is logged.
bool frmController::PutTag(int typeIndex)
{
    return ReportErrors([&] {
        const Variant value = ToValue(typeIndex, txtValue->text()); // a refused text: nothing is announced
        Announce(u"Controller", u"put_Tag");
        m_csCtrl->put_Tag(value);
        AddLog(QStringLiteral("Succeeded."));
    });
}

void frmController::UpdateEventSubscription()
{
    m_ItemEventsWanted = CheckToBool(chkEvent_0);
    m_StateEventsWanted = CheckToBool(chkEvent_1);
    if (!m_ItemEventsWanted && !m_StateEventsWanted) {
        m_csCtrlEvt.reset();
        m_SubscribingFails = false;
    }
    KeepSubscribed();
}

/// A ticked box stays in force while the window is shown: a failed subscription is tried again with each refresh of the
/// grid.
void frmController::KeepSubscribed()
{
    if (!tmrCtrlProp->IsRunning() || (!m_ItemEventsWanted && !m_StateEventsWanted)) return;
    if (m_csCtrlEvt && m_csCtrlEvt->IsOpen()) return;
    m_csCtrlEvt.reset();
    try {
        m_csCtrlEvt = m_csCtrl->Subscribe(*this);
        m_SubscribingFails = false;
    } catch (...) {
        if (!std::exchange(m_SubscribingFails, true)) LogErrorDescription();
    }
}

void frmController::m_csCtrlEvt_OnChangeState(qint32 lNewVal)
{
    if (m_EventLogOverflowed || !m_StateEventsWanted) return;
    // Intended: unlike in the grid, a state without a name is left blank here.
    const bool hasName = lNewVal >= 0 && lNewVal <= LastNamedState;
    LogEvent(u"OnChangeState: State=" % (hasName ? StateName(lNewVal) : QString()));
}

void frmController::ForeseeChangeItem(const ItemRef& item)
{
    if (m_EventLogOverflowed || !m_ItemEventsWanted) return;
    item->get_Name();
    item->get_Value();
}

void frmController::m_csCtrlEvt_OnChangeItem(const ItemRef& pICSItem)
{
    if (m_EventLogOverflowed || !m_ItemEventsWanted) return;
    QString name, value;
    try {
        name = pICSItem->get_Name();
        value = ToPlainText(pICSItem->get_Value());
    } catch (...) {
        // Removed meanwhile, or its value has no plain text.
        return;
    }
    LogEvent(u"OnChangeItem: Name=" % name % u", Value=" % value);
}

void frmController::LogEvent(const QString& line)
{
    try {
        lstLogEvent->AddLine(line);
    } catch (...) {
        SetOverflow();
    }
}

void frmController::SetOverflow()
{
    m_EventLogOverflowed = true;
    QString text = QStringLiteral("Message buffer overflow.");
    try {
        if (m_csCtrl) text += u" : " % m_csCtrl->get_Name();
    } catch (...) { // the server is gone, and so is the name
    }
    SetStatus(text);
}

void frmController::cmdClear_Click()
{
    lstLogEvent->Clear();
    SetStatus(QStringLiteral("Ready."));
    m_EventLogOverflowed = false;
}
