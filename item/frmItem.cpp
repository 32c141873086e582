#include "item/frmItem.h"

#include "core/automation/NumberText.h"
#include "core/automation/SafeArray.h"
#include "core/ConsoleServices.h"
#include "core/FieldCheck.h"
#include "core/GridRefresher.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "core/ObjectTreeModel.h"
#include "item/ItemRows.h"
#include "item/Picture.h"
#include "perfcheck/frmPerfChk.h"

#include <QStringBuilder>

#include <cmath>

using namespace modMain;

namespace {

constexpr PropertyGrid::Layout GridLayout = {.CaptionTwips = 1300, .MarginTwips = 0, .ValueCharacters = 23};

/// A line of text takes about 70 bytes of memory per character and, from this length on, more than a second to lay out
/// and paint.
constexpr qsizetype MaxShownCharacters = 2 * 1024 * 1024;

[[noreturn]] void ThrowTooLong(qsizetype characters)
{
    throw DescribedError(QStringLiteral("The value is too long to be shown: %1 characters.").arg(characters));
}

/// The calls of InitActivation, with those of the rules that ticking the boxes runs.
void ForeseeActivation(VelSQLItem& item)
{
    if (item.get_Activation()) item.put_Activation(true);
    if (item.get_LinkActivation()) item.put_LinkActivation(true);
    item.get_LinkItem();
}

bool IsEmptyList(const Variant& names)
{
    return names.IsEmpty() || (names.IsArray() && names.Array().Count() == 0);
}

} // namespace

frmItem::frmItem()
{
    setupUi(this);
    fgItem->Follow(modMain::GetMainWindow()->Services().Presence);
    tmrItemProp = new GridRefresher(fgItem, modMain::GetMainWindow()->Services().Turns, this);
    ConnectFields();
    ConnectCommands();
}

void frmItem::ConnectFields()
{
    connect(cmbProperty, &ListBox::Click, this, &frmItem::cmbProperty_Click);
    connect(cmbType, &ListBox::Click, this, &frmItem::cmbType_Click);
    connect(chkDelay, &QCheckBox::stateChanged, this, &frmItem::chkDelay_Click);
    connect(chkActv, &QCheckBox::stateChanged, this, &frmItem::chkActv_Click);
    connect(chkLinkActv, &QCheckBox::stateChanged, this, &frmItem::chkLinkActv_Click);
    auto* check = new FieldCheck(this);
    check->Add(txtDelay, [this] { return txtDelay_Validate(); });
}

void frmItem::ConnectCommands()
{
    connect(cmdGet, &QPushButton::clicked, this, &frmItem::cmdGet_Click);
    connect(cmdPut, &QPushButton::clicked, this, &frmItem::cmdPut_Click);
    connect(cmdSnapshot, &QPushButton::clicked, this, &frmItem::cmdSnapshot_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmItem::cmdRemove_Click);
    connect(cmdPerfchk, &QPushButton::clicked, this, &frmItem::cmdPerfchk_Click);
    connect(cmdHide, &QPushButton::clicked, this, &frmItem::HideForm);
}

void frmItem::ShowForm()
{
    ChildWindow::ShowForm();
    if (!IsUnloading()) tmrItemProp->Start();
}

void frmItem::HideForm()
{
    tmrItemProp->Stop();
    ChildWindow::HideForm();
}

QSize frmItem::sizeHint() const
{
    const int beyondGrid = minimumSizeHint().width() - fgItem->minimumSizeHint().width();
    return {beyondGrid + fgItem->sizeHint().width(), ChildWindow::sizeHint().height()};
}

bool frmItem::Load()
{
    setWindowTitle(u"Item : " % m_TreeNode->Key());
    LookUpItem();
    FillPropertyList();
    FillTypeList(cmbType);
    DisableField(txtDelay);
    DisableField(txtElements);
    txtDelay->setText(QStringLiteral("0"));
    m_DelayTicked = CheckToBool(chkDelay);
    if (!InitItemGrid()) return false;
    cmdRemove->setEnabled(m_TreeNode->Tag() == NodeTag::AddItem);
    return true;
}

void frmItem::FormUnload()
{
    tmrItemProp->Stop();
    if (m_PerfChk) m_PerfChk->Unload();
    fgItem->Lay({}, GridLayout); // the rows refer to the item
    m_csItem.reset();
    m_csCtrl.reset();
}

void frmItem::LookUpItem()
{
    const TreeNodeRef parent = m_TreeNode->Parent();
    const FoundItem found = Engine->FindItem(parent ? parent->Text() : QString(), m_TreeNode->Text());
    m_csCtrl = found.Controller;
    m_csItem = found.Item;
}

void frmItem::FillPropertyList()
{
    cmbProperty->Clear();
    for (const ItemAccess& property : ItemAccesses) cmbProperty->AddItem(property.Name.toString());
    cmbProperty->SetListIndex(0);
}

/// False when the window was unloaded while the grid was laid out.
bool frmItem::InitItemGrid()
{
    fgItem->Lay(ItemRows(m_csItem), GridLayout);
    if (IsUnloading()) return false;
    tmrItemProp->RefreshNow(CallStep{[item = m_csItem] { ForeseeActivation(*item); }, [this] { InitActivation(); }});
    return true;
}

/// Intended: ticking a box runs its rule, so loading the window of an active item activates the item once more. An item
/// whose server does not answer counts as neither active nor linked; the window can be used anyway.
void frmItem::InitActivation()
{
    chkLinkActv->setEnabled(false);
    try {
        chkActv->setChecked(m_csItem->get_Activation());
        chkLinkActv->setChecked(m_csItem->get_LinkActivation());
        chkLinkActv->setEnabled(!IsEmptyList(m_csItem->get_LinkItem()));
    } catch (const DescribedError&) { // nothing is logged, as when the grid is read
    }
}

void frmItem::cmbProperty_Click()
{
    if (cmbProperty->ListIndex() < 0) return;
    m_Property = &ItemAccesses.at(static_cast<std::size_t>(cmbProperty->ListIndex()));
    if (m_Property == &ItemAccesses[0]) {
        chkDelay->setChecked(m_DelayTicked);
        chkDelay->setEnabled(true);
        chkDelay_Click();
        DisableField(txtElements);
        return;
    }
    // Intended: also from Tag to ID, where the box was cleared before.
    m_DelayTicked = CheckToBool(chkDelay);
    chkDelay->setChecked(false);
    chkDelay->setEnabled(false);
    cmdGet->setEnabled(true);
    DisableField(txtDelay);
    EnableFields(!m_Property->Get, {txtElements});
}

void frmItem::cmbType_Click()
{
    const VarType type = TypeIndexToVarType(static_cast<qint16>(cmbType->ListIndex()));
    EnableFields(type != VT_EMPTY && type != VT_NULL, {txtValue});
    cmdPut->setEnabled(cmbType->ListIndex() != UnknownTypeIndex);
}

/// A delayed write has no corresponding read.
void frmItem::chkDelay_Click()
{
    EnableFields(CheckToBool(chkDelay), {txtDelay});
    cmdGet->setEnabled(!CheckToBool(chkDelay));
}

bool frmItem::txtDelay_Validate()
{
    const QString text = txtDelay->text().isEmpty() ? QStringLiteral("0") : txtDelay->text();
    const std::optional<double> number = ParseNumber(text);
    if (!number) return false;
    try {
        txtDelay->setText(QString::number(RoundToInt32(std::abs(*number))));
        return true;
    } catch (const ValueError& error) {
        ShowExclamation(error.Description());
        return false;
    }
}

void frmItem::cmdGet_Click()
{
    ReportErrors([this] {
        Announce(u"Item", QString(u"get_" % m_Property->Name));
        const auto get = m_Property->Get;
        const Variant value = get ? (*m_csItem.*get)() : GetElements(*m_csItem, txtElements->text());
        AddLog(QStringLiteral("Succeeded."));
        ShowValue(value);
    });
}

void frmItem::ShowValue(const Variant& value)
{
    const QString text = ValueTextOf(ValueToTypedText(value));
    if (text.size() > MaxShownCharacters) ThrowTooLong(text.size());
    cmbType->SetListIndex(VarTypeToTypeIndex(value.Type()));
    txtValue->setText(text);
    imgThumbnail->Clear();
    if (value.Type() == ArrayOf(VT_UI1)) ShowThumbnail(value.Array().Of<quint8>());
}

void frmItem::ShowThumbnail(const QList<quint8>& bytes)
{
    WritePictureFile(bytes);
    // Loaded from the bytes, not from the file: pictures from files are cached by name and second.
    imgThumbnail->SetPicture(ReadPicture(bytes));
}

void frmItem::cmdPut_Click()
{
    ReportErrors([this] {
        const Variant value = ToValue(cmbType->ListIndex(), txtValue->text()); // a refused text: nothing is announced
        const bool isDelayed = CheckToBool(chkDelay);
        Announce(u"Item", QString(u"put_" % m_Property->Name % QStringView(isDelayed ? u"Ex" : u"")));
        if (isDelayed) PutDelayed(*m_csItem, txtDelay->text(), value);
        else (*m_csItem.*m_Property->Put)(value);
        AddLog(QStringLiteral("Succeeded."));
    });
}

void frmItem::chkActv_Click()
{
    ReportErrors([this] { m_csItem->put_Activation(CheckToBool(chkActv)); });
}

void frmItem::chkLinkActv_Click()
{
    ReportErrors([this] { m_csItem->put_LinkActivation(CheckToBool(chkLinkActv)); });
}

void frmItem::cmdSnapshot_Click()
{
    // Operators know this line as "Controller", although the snapshot is the item's.
    CallServer(u"Controller", u"Snapshot", &VelSQLItem::Snapshot, m_csItem);
}

void frmItem::cmdRemove_Click()
{
    const KeepLoaded keepLoaded(this);
    if (AskSure() && !IsUnloading()) ReportErrors(&frmItem::RemoveItem, this);
}

/// The window reads nothing while the check is open, so that only the check's own calls are measured.
void frmItem::cmdPerfchk_Click()
{
    const QPointer<frmItem> self(this);
    tmrItemProp->Stop();
    const QPointer<frmPerfChk> dialog = new frmPerfChk(GetMainWindow()->Widget());
    m_PerfChk = dialog;
    dialog->m_csItem = m_csItem;
    dialog->exec();
    // Null when the main window has gone meanwhile and taken the dialog with it.
    delete dialog.data();
    if (self && !IsUnloading()) tmrItemProp->Start();
}

void frmItem::RemoveItem()
{
    Announce(u"Controller", u"RemoveItem");
    m_csCtrl->RemoveItem(m_csItem->get_Name());
    AddLog(QStringLiteral("Succeeded."));
    MainWindow* mainWindow = GetMainWindow();
    mainWindow->Tree().Remove(m_TreeNode);
    mainWindow->m_CurrentNode = mainWindow->SelectedNode();
    mainWindow->RefreshStatusBar();
    Unload();
}
